// Repeats system calls that a signal has interrupted.
#pragma once
#include <cerrno>

namespace platform {

/// Repeats the call as long as it returns -1 with errno EINTR. Returns its last result.
template <typename Call>
auto uninterrupted(const Call& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

}  // namespace platform
