// Distinguishes transient errors from permanent ones.
#pragma once
#include <algorithm>
#include <array>
#include <system_error>

namespace platform {

/// Whether a retry may succeed: out of descriptors, processes or memory, a signal, an I/O error.
[[nodiscard]] inline bool isTransient(const std::error_code& error) noexcept {
  constexpr std::array kTransient{
      std::errc::too_many_files_open, std::errc::too_many_files_open_in_system,
      std::errc::not_enough_memory,   std::errc::resource_unavailable_try_again,
      std::errc::interrupted,         std::errc::io_error,
  };
  return std::ranges::any_of(kTransient, [&](std::errc each) { return error == each; });
}

}  // namespace platform
