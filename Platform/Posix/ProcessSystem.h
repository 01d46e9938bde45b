// What running a child process needs of each system in its own way. Internal to runProcess.
#pragma once
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <spawn.h>
#include <sys/types.h>

#include <string>

#include "Platform/Descriptor.h"

namespace platform {

/// Has the child close every descriptor from `first` on. 0, or the error.
[[nodiscard]] int closeFrom(posix_spawn_file_actions_t& actions, int first);

/// Has the child start in the directory. 0, or the error.
[[nodiscard]] int startIn(posix_spawn_file_actions_t& actions, const char* directory);

/// Flags of `posix_spawnattr_setflags` that give the child a session of its own, with no
/// controlling terminal, and no descriptor that it isn't given.
[[nodiscard]] short ownSessionFlags();

/// The process's environment variables, ended by a null; null when there are none.
[[nodiscard]] char** environmentVariables();

/// The system's folder for temporary files, without a slash at its end.
[[nodiscard]] std::string temporaryDirectory();

/// Tells when a child ends. The child stays unreaped until `wait` without WNOHANG or WNOWAIT.
class ChildEnd {
 public:
  /// For a child of this process that nobody has reaped.
  explicit ChildEnd(pid_t pid);

  /// Becomes readable when the child ends; empty where the system can't tell, so that the child
  /// must be looked at now and then.
  [[nodiscard]] const Descriptor& descriptor() const { return descriptor_; }
  /// Whether there was no such child any more: the process ignores SIGCHLD, say.
  [[nodiscard]] bool wasGone() const { return wasGone_; }
  /// waitid() for the child with WEXITED and these options, again after a signal. 0, or -1 with
  /// errno set.
  int wait(siginfo_t& information, int options) const;

 private:
  pid_t pid_;
  Descriptor descriptor_;
  bool wasGone_ = false;
};

}  // namespace platform
