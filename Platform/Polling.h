// Waits for several descriptors at a time; the pipe that wakes such a wait.
#pragma once
#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <system_error>

#include "Platform/Descriptor.h"

namespace platform {

struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

/// A pipe whose ends are close-on-exec and lie above the three standard descriptors, which the
/// process may have closed.
[[nodiscard]] std::expected<Pipe, std::error_code> makePipe();

/// One descriptor that is waited for.
struct Awaited {
  enum class Until : std::uint8_t { readable, writable };

  int descriptor;  ///< Negative: nothing is waited for in this place.
  Until until = Until::readable;
  bool ready = false;  ///< Set by the wait: it is so, or its peer has gone.
};

/// Waits until one of them is ready, `timeout` is over (absent: without limit) or a signal handler
/// has run.
void waitForAny(std::span<Awaited> awaited,
                std::optional<std::chrono::milliseconds> timeout = std::nullopt);

}  // namespace platform
