#include "Tests/Faults/FailingCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>  // NOLINT
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

Fault armed;
bool lasts = false;
std::atomic<bool> isArmed = false;
std::atomic<long> callsLeft = 0;
std::atomic<int> longestWait = 0;

bool strikes(const char* call) {
  if (!isArmed ||
      (*armed.call == '*' ? std::strcmp(call, "new") == 0 : std::strcmp(armed.call, call) != 0)) {
    return false;
  }
  const long left = --callsLeft;
  if (left > 0 || (left < 0 && !lasts)) {
    return false;
  }
  if (armed.before != nullptr) {
    armed.before(call);
    return false;
  }
  errno = armed.error;
  return true;
}

// The functions replaced here take at most seven arguments, all integers or pointers, which the ABI
// passes like as many longs; a function ignores those that it doesn't have.
using Function = long(long, long, long, long, long, long, long);

/// The C library's function of this name, looked up at the first call. Not a guarded static:
/// threads that contend for the guard call `syscall`, which is one of these functions.
Function* original(std::atomic<Function*>& known, const char* name) {
  if (known == nullptr) {
    known = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
  }
  return known;
}

/// Makes a successful `waitid` answer that other code has reaped the child.
long reapedByOthers(long answer, long child, long options) {
  const bool isReaped =
      (options & WNOHANG) == 0 ||
      reinterpret_cast<const siginfo_t*>(child)->si_pid != 0;  // NOLINT(*-int-to-ptr)
  if (static_cast<int>(answer) != 0 || !isReaped) {
    return answer;
  }
  errno = ECHILD;
  return -1;
}

}  // namespace

void armFault(const Fault& fault, long number, bool forGood) {
  armed = fault;
  lasts = forGood;
  callsLeft = number;
  isArmed = true;
}

const Fault& armedFault() { return armed; }

int longestPoll() { return longestWait; }

bool disarmFault() {
  isArmed = false;
  return callsLeft <= 0;
}

// NOLINTBEGIN: stands for the C library's own definitions
/// Defines the function NAME, which returns ANSWER. `real` is the C library's, with another third
/// and fourth argument.
#define REPLACE(NAME, ANSWER)                                                                   \
  long replacing_##NAME(long a, long b, long c, long d, long e, long f, long g) __asm__(#NAME); \
  long replacing_##NAME(long a, long b, long c, long d, long e, long f, long g) {               \
    static constinit std::atomic<Function*> known = nullptr;                                    \
    const auto real = [&](long third, long fourth) {                                            \
      return original(known, #NAME)(a, b, third, fourth, e, f, g);                              \
    };                                                                                          \
    return ANSWER;                                                                              \
  }
#define FAILING(NAME, FAILED) REPLACE(NAME, strikes(#NAME) ? (FAILED) : real(c, d))
#define MOVING(NAME) FAILING(NAME, armed.error == kMovesOneByte ? real(std::min(c, 1L), d) : -1)

MOVING(read)
MOVING(write)
MOVING(recv)
MOVING(send)
FAILING(open, -1)
FAILING(openat, -1)
FAILING(fsync, -1)
FAILING(rename, -1)
FAILING(renameat, -1)
FAILING(linkat, -1)
FAILING(unlink, -1)
FAILING(fchmod, -1)
FAILING(flock, -1)
FAILING(pipe2, -1)
FAILING(socket, -1)
FAILING(connect, -1)
FAILING(bind, -1)
FAILING(listen, -1)
FAILING(accept4, -1)
FAILING(syscall, -1)
FAILING(posix_spawn, armed.error)
FAILING(pthread_create, armed.error)
FAILING(waitid, armed.error == ECHILD ? reapedByOthers(real(c, d & ~WNOWAIT), c, d) : -1)
REPLACE(nanosleep, isArmed ? 0 : real(c, d))
REPLACE(poll, (longestWait = std::max<int>(longestWait, c), strikes("poll") ? -1 : real(c, d)))
// Other commands can't fail on a valid descriptor.
REPLACE(fcntl,
        (int(b) == F_DUPFD_CLOEXEC || int(b) == F_SETFL) && strikes("fcntl") ? -1 : real(c, d))

void* operator new(size_t size) {
  void* const memory = strikes("new") ? nullptr : std::malloc(size ? size : 1);
  return memory ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
// NOLINTEND
