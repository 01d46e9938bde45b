#include "Tests/Faults/FailingCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>  // NOLINT
#include <spawn.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

namespace {

Fault armed;
bool lasts = false;
std::atomic<bool> isArmed = false;
std::atomic<long> callsLeft = 0;
std::array<const char*, 100> calls;  // not a vector, since `operator new` is one of the functions
std::size_t callCount = 0;
std::atomic<int> longestWait = 0;

bool strikes(const char* call) {
  if (!isArmed ||
      (*armed.call == '*' ? std::strcmp(call, "new") == 0 : std::strcmp(armed.call, call) != 0)) {
    return false;
  }
  if (*armed.call == '*' && callCount < calls.size()) {
    calls[callCount++] = call;
  }
  const long left = --callsLeft;
  if (left > 0 || (left < 0 && !lasts)) {
    return false;
  }
  if (armed.kind == Fault::Kind::kills) {
    kill(getpid(), SIGKILL);
  }
  if (armed.kind == Fault::Kind::isPreceded) {
    armed.before();
    return false;
  }
  errno = armed.error;
  return true;
}

/// The C library's function of this name, looked up at the first call. Not a guarded static:
/// threads that contend for the guard call `syscall`, which is one of these functions.
template <typename Function>
class Next {
 public:
  constexpr explicit Next(const char* name) : name_(name) {}
  operator Function*() {  // NOLINT(*-explicit-*): to be called like the function
    Function* function = function_;
    if (function == nullptr) {
      function_ = function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name_));
    }
    return function;
  }

 private:
  const char* name_;
  std::atomic<Function*> function_ = nullptr;
};

}  // namespace

void armFault(const Fault& fault, long number, bool forGood) {
  armed = fault;
  lasts = forGood;
  callsLeft = number;
  callCount = 0;
  isArmed = true;
}

const Fault& armedFault() { return armed; }

int longestPoll() { return longestWait; }

std::string callsMade() {
  std::string names;
  for (std::size_t index = 0; index < callCount; ++index) {
    names.append(calls[index]).append(" ");
  }
  return names;
}

bool disarmFault() {
  isArmed = false;
  return callsLeft <= 0;
}

// NOLINTBEGIN: the C library's own declarations
#define FAILING(RESULT, NAME, PARAMETERS, ARGUMENTS, FAILED)   \
  extern "C" RESULT NAME PARAMETERS {                          \
    static constinit Next<RESULT PARAMETERS> real(#NAME);      \
    return strikes(#NAME) ? (RESULT)(FAILED) : real ARGUMENTS; \
  }
#define MOVING(NAME, PARAMETERS, ARGUMENTS, SHORT)               \
  extern "C" ssize_t NAME PARAMETERS {                           \
    static constinit Next<ssize_t PARAMETERS> real(#NAME);       \
    if (!strikes(#NAME)) return real ARGUMENTS;                  \
    return armed.kind == Fault::Kind::isShort ? real SHORT : -1; \
  }

MOVING(read, (int fd, void* to, size_t size), (fd, to, size), (fd, to, size ? 1 : 0))
MOVING(write, (int fd, const void* from, size_t size), (fd, from, size), (fd, from, size ? 1 : 0))
MOVING(recv, (int fd, void* to, size_t size, int flags), (fd, to, size, flags), (fd, to, 1, flags))
MOVING(send, (int fd, const void* from, size_t size, int flags), (fd, from, size, flags),
       (fd, from, size ? 1 : 0, flags))
FAILING(int, fsync, (int fd), (fd), -1)
FAILING(int, rename, (const char* from, const char* to) noexcept, (from, to), -1)
FAILING(int, renameat, (int a, const char* from, int b, const char* to) noexcept, (a, from, b, to),
        -1)
FAILING(int, linkat, (int a, const char* from, int b, const char* to, int flags) noexcept,
        (a, from, b, to, flags), -1)
FAILING(int, unlink, (const char* path) noexcept, (path), -1)
FAILING(int, fchmod, (int fd, mode_t mode) noexcept, (fd, mode), -1)
FAILING(int, flock, (int fd, int operation) noexcept, (fd, operation), -1)
FAILING(int, pipe2, (int* ends, int flags) noexcept, (ends, flags), -1)
FAILING(int, socket, (int domain, int type, int protocol) noexcept, (domain, type, protocol), -1)
FAILING(int, connect, (int fd, const sockaddr* address, socklen_t size), (fd, address, size), -1)
FAILING(int, bind, (int fd, const sockaddr* address, socklen_t size) noexcept, (fd, address, size),
        -1)
FAILING(int, listen, (int fd, int backlog) noexcept, (fd, backlog), -1)
FAILING(int, accept4, (int fd, sockaddr* address, socklen_t* size, int flags),
        (fd, address, size, flags), -1)
FAILING(int, posix_spawn,
        (pid_t * pid, const char* path, const posix_spawn_file_actions_t* actions,
         const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
        (pid, path, actions, attributes, arguments, environment), armed.error)
FAILING(int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*start)(void*),
         void* argument) noexcept,
        (thread, attributes, start, argument), armed.error)

// ECHILD means that other code has reaped the child.
extern "C" int waitid(idtype_t type, id_t id, siginfo_t* info, int options) {
  static constinit Next<int(idtype_t, id_t, siginfo_t*, int)> real("waitid");
  if (!strikes("waitid")) return real(type, id, info, options);
  if (armed.error != ECHILD) return -1;
  const int answer = real(type, id, info, options & ~WNOWAIT);
  if (answer != 0 || ((options & WNOHANG) != 0 && info->si_pid == 0)) return answer;
  errno = ECHILD;
  return -1;
}
extern "C" int poll(pollfd* fds, nfds_t count, int timeout) {
  static constinit Next<int(pollfd*, nfds_t, int)> real("poll");
  longestWait = std::max<int>(longestWait, timeout);
  return strikes("poll") ? -1 : real(fds, count, timeout);
}
extern "C" int open(const char* path, int flags, ...) {
  static constinit Next<int(const char*, int, ...)> real("open");
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return strikes("open") ? -1 : real(path, flags, mode);
}
extern "C" int openat(int directory, const char* path, int flags, ...) {
  static constinit Next<int(int, const char*, int, ...)> real("openat");
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return strikes("openat") ? -1 : real(directory, path, flags, mode);
}
extern "C" int fcntl(int fd, int command, ...) {
  static constinit Next<int(int, int, ...)> real("fcntl");
  va_list list;
  va_start(list, command);
  void* const argument = va_arg(list, void*);
  va_end(list);
  // Other commands can't fail on a valid descriptor.
  return (command == F_DUPFD_CLOEXEC || command == F_SETFL) && strikes("fcntl")
             ? -1
             : real(fd, command, argument);
}
extern "C" long syscall(long number, ...) noexcept {
  static constinit Next<long(long, ...)> real("syscall");
  va_list list;
  va_start(list, number);
  long a[6];
  for (long& argument : a) argument = va_arg(list, long);
  va_end(list);
  return strikes("syscall") ? -1 : real(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}
extern "C" int nanosleep(const timespec* time, timespec* left) {
  static constinit Next<int(const timespec*, timespec*)> real("nanosleep");
  return isArmed ? 0 : real(time, left);
}

void* operator new(size_t size) {
  void* const memory = strikes("new") ? nullptr : std::malloc(size ? size : 1);
  return memory ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
// NOLINTEND
