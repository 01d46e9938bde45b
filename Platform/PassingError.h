// Tells errors of a bad moment from errors that stay.
#pragma once
#include <algorithm>
#include <array>
#include <system_error>

namespace platform {

/// Whether the same call may well succeed a moment later: no free descriptor or process, no memory,
/// a signal, a failing disk.
[[nodiscard]] inline bool isPassing(const std::error_code& error) noexcept {
  constexpr std::array kPassing{
      std::errc::too_many_files_open, std::errc::too_many_files_open_in_system,
      std::errc::not_enough_memory,   std::errc::resource_unavailable_try_again,
      std::errc::interrupted,         std::errc::io_error,
  };
  return std::ranges::any_of(kPassing, [&](std::errc passing) { return error == passing; });
}

}  // namespace platform
