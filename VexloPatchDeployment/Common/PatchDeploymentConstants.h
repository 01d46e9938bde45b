// Process-wide constants of the module.
#pragma once
#include <chrono>
#include <cstdint>
#include <string_view>

namespace vexlo {

namespace PatchDeploymentConstants {
/// The running macOS major version, read once per process; 12 if it can't be read. Thread-safe.
[[nodiscard]] std::int64_t macOSMajorVersion();

/// The time-out for an answer of the agent's service.
inline constexpr std::chrono::seconds agentServiceTimeoutSeconds{10};
}  // namespace PatchDeploymentConstants

/// Parses the major version; 12, with an error line, if it isn't an integer.
[[nodiscard]] std::int64_t macOSMajorVersionFrom(std::string_view majorOSVersion);

}  // namespace vexlo
