// The system-specific parts of running a child process. Internal to runProcess.
#pragma once
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <spawn.h>
#include <sys/types.h>

#include <string>

#include "Platform/Descriptor.h"

namespace platform {

/// Makes the child close every descriptor from `first` on. Returns 0 or an errno value.
[[nodiscard]] int closeFrom(posix_spawn_file_actions_t& actions, int first);

/// Whether a program didn't start because its file is damaged or for another processor; the
/// system's own errors beside ENOEXEC.
[[nodiscard]] bool isBadExecutable(int error);

/// Flags for `posix_spawnattr_setflags` that start the child in a new session, without a
/// controlling terminal and, where supported, without inherited descriptors.
[[nodiscard]] short ownSessionFlags();

/// The process's environment as a null-terminated array; may be null.
[[nodiscard]] char** environmentVariables();

/// The system's temporary directory, without a trailing slash.
[[nodiscard]] std::string temporaryDirectory();

/// Detects when a child exits, without reaping it.
class ChildEnd {
 public:
  /// `pid` must be an unreaped child of this process.
  explicit ChildEnd(pid_t pid);

  /// Becomes readable when the child exits; empty if the system can't tell and the child must be
  /// polled.
  [[nodiscard]] const Descriptor& descriptor() const { return descriptor_; }
  /// Whether the child no longer exists, for example because the process ignores SIGCHLD.
  [[nodiscard]] bool wasGone() const { return wasGone_; }
  /// Forgets the descriptor, which other code has closed.
  void abandonDescriptor() { (void)descriptor_.release(); }
  /// waitid() for the child with WEXITED and these options, retried after signals. Returns 0, or -1
  /// with errno set if other code in the process has waited for the child.
  int wait(siginfo_t& information, int options);

 private:
  pid_t pid_;
  Descriptor descriptor_;
  bool wasGone_ = false;
};

}  // namespace platform
