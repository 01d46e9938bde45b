// Keeps signals away from a thread for a while.
#pragma once
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C

namespace platform {

/// While it lives, no signal handler runs on the calling thread, nor on threads that it starts,
/// which take its signal mask over. What comes meanwhile is delivered afterwards.
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
