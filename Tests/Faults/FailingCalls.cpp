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

bool strikes(const char* call) {
  if (!isArmed || (std::strcmp(armed.call, call) != 0 && *armed.call != '*')) {
    return false;
  }
  const long left = --callsLeft;
  if (left > 0 || (left < 0 && !lasts)) {
    return false;
  }
  if (armed.kind == Fault::Kind::kills) {
    kill(getpid(), SIGKILL);
  }
  errno = armed.error;
  return true;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void armFault(const Fault& fault, long number, bool forGood) {
  armed = fault;
  lasts = forGood;
  callsLeft = number;
  isArmed = true;
}

const Fault& armedFault() { return armed; }

bool disarmFault() {
  isArmed = false;
  return callsLeft <= 0;
}

// NOLINTBEGIN: the C library's own declarations
#define FAILING(RESULT, NAME, PARAMETERS, ARGUMENTS, FAILED)   \
  extern "C" RESULT NAME PARAMETERS {                          \
    static auto* const real = next<RESULT PARAMETERS>(#NAME);  \
    return strikes(#NAME) ? (RESULT)(FAILED) : real ARGUMENTS; \
  }
#define MOVING(NAME, PARAMETERS, ARGUMENTS, SHORT)               \
  extern "C" ssize_t NAME PARAMETERS {                           \
    static auto* const real = next<ssize_t PARAMETERS>(#NAME);   \
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
FAILING(int, poll, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout), -1)
FAILING(int, waitid, (idtype_t type, id_t id, siginfo_t* info, int options),
        (type, id, info, options), -1)
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

extern "C" int open(const char* path, int flags, ...) {
  static auto* const real = next<int(const char*, int, ...)>("open");
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return strikes("open") ? -1 : real(path, flags, mode);
}
extern "C" int openat(int directory, const char* path, int flags, ...) {
  static auto* const real = next<int(int, const char*, int, ...)>("openat");
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(list, mode_t) : 0;
  va_end(list);
  return strikes("openat") ? -1 : real(directory, path, flags, mode);
}
extern "C" int fcntl(int fd, int command, ...) {
  static auto* const real = next<int(int, int, ...)>("fcntl");
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
  static auto* const real = next<long(long, ...)>("syscall");
  va_list list;
  va_start(list, number);
  long a[6];
  for (long& argument : a) argument = va_arg(list, long);
  va_end(list);
  return strikes("syscall") ? -1 : real(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}
extern "C" int nanosleep(const timespec* time, timespec* left) {
  static auto* const real = next<int(const timespec*, timespec*)>("nanosleep");
  return isArmed ? 0 : real(time, left);
}

void* operator new(size_t size) {
  void* const memory = strikes("new") ? nullptr : std::malloc(size ? size : 1);
  return memory ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
// NOLINTEND
