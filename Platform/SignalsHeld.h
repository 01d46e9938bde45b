// Blocks signals in a thread.
#pragma once
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C

namespace platform {

/// Blocks all signals in the calling thread, and in threads that it starts, for its lifetime.
/// Pending signals are delivered afterwards.
class SignalsHeld {
 public:
  SignalsHeld() noexcept {
    sigset_t all;
    sigfillset(&all);  // a macro on macOS
    ::pthread_sigmask(SIG_SETMASK, &all, &former_);
  }
  ~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t former_{};
};

}  // namespace platform
