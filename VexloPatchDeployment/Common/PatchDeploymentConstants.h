// Process-wide constants of the module.
#pragma once
#include <chrono>
#include <cstdint>
#include <string_view>

namespace vexlo {

struct PatchDeploymentConstants {
  PatchDeploymentConstants() = delete;

  /// The running macOS major version, read once per process; 12 if it can't be read. Thread-safe.
  [[nodiscard]] static std::int64_t macOSMajorVersion();

  /// The time-out for an answer of the agent's service.
  static constexpr std::chrono::seconds agentServiceTimeoutSeconds{10};
};

/// Parses the major version; 12, with an error line, if it isn't an integer.
[[nodiscard]] std::int64_t macOSMajorVersionFrom(std::string_view majorOSVersion);

}  // namespace vexlo
