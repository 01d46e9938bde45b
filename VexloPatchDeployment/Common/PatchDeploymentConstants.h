// Process-wide constants of the module.
#pragma once
#include <chrono>
#include <cstdint>
#include <string_view>

namespace vexlo {

struct PatchDeploymentConstants {
  PatchDeploymentConstants() = delete;

  /// The running macOS major version, read once per process; 12 when it can't be read. Safe from
  /// any thread.
  [[nodiscard]] static std::int64_t macOSMajorVersion();

  /// How long one answer of the agent's service is waited for.
  static constexpr std::chrono::seconds agentServiceTimeoutSeconds{10};
};

/// Reads the major version's text; 12, with an error line, when it is no integer.
[[nodiscard]] std::int64_t macOSMajorVersionFrom(std::string_view majorOSVersion);

}  // namespace vexlo
