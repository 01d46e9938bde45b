// Facts about the running system.
#pragma once
#include <cstdint>

namespace vexlo {

/// The system for which a command is run.
class SystemEnvironment {
 public:
  virtual ~SystemEnvironment() = default;
  /// The major version of the running macOS: 12 for macOS 12.
  [[nodiscard]] virtual std::int64_t macOSMajorVersion() const = 0;
};

}  // namespace vexlo
