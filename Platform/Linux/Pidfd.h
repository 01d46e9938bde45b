// Process descriptors, which are immune to reuse of process ids.
#pragma once
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include "Platform/Descriptor.h"

// System calls, because this glibc's header declares the functions for C only.
namespace platform {

/// Close-on-exec; becomes readable when the process exits. Empty, with errno set, when there is no
/// such process.
[[nodiscard]] inline Descriptor openPidfd(pid_t pid) {
  return aboveStandard(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

/// Returns 0, or -1 with errno set.
inline int sendPidfdSignal(const Descriptor& pidfd, int signal) {
  return static_cast<int>(::syscall(SYS_pidfd_send_signal, pidfd.get(), signal, nullptr, 0));
}

}  // namespace platform
