// Waiting for several descriptors, and the pipe that wakes such a wait.
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

/// A pipe whose ends are close-on-exec and above the standard descriptors, even if those are
/// closed.
[[nodiscard]] std::expected<Pipe, std::error_code> makePipe();

/// One descriptor to wait for.
struct Awaited {
  enum class Until : std::uint8_t { readable, writable };

  int descriptor;  ///< Negative entries are ignored.
  Until until = Until::readable;
  bool ready = false;  ///< Set by the wait; true, too, if the peer has disconnected.
};

/// Waits until a descriptor is ready, `timeout` has passed (absent means no limit) or a signal
/// handler has run.
void waitForAny(std::span<Awaited> awaited,
                std::optional<std::chrono::milliseconds> timeout = std::nullopt);

}  // namespace platform
