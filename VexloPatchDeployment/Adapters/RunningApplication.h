// One running application.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "Platform/RunningApplications.h"

namespace vexlo {

/// An evaluation of recorded facts replaces it.
class RunningApplication {
 public:
  virtual ~RunningApplication() = default;
  /// The display name; absent if it has none.
  [[nodiscard]] virtual std::optional<std::string> localizedName() const = 0;
  [[nodiscard]] virtual std::int32_t processIdentifier() const = 0;
  /// The file-system path of the executable; absent if unknown.
  [[nodiscard]] virtual std::optional<std::string> executableURL() const = 0;
  /// Asks the system to kill the application. Returns whether the request was accepted, which
  /// doesn't mean that the process has already exited.
  virtual bool forceTerminate() = 0;
};

/// The platform's running application.
class SystemRunningApplication final : public RunningApplication {
 public:
  explicit SystemRunningApplication(platform::ApplicationProcess process)
      : process_(std::move(process)) {}
  [[nodiscard]] std::optional<std::string> localizedName() const override {
    return process_.localizedName;
  }
  [[nodiscard]] std::int32_t processIdentifier() const override {
    return process_.processIdentifier;
  }
  [[nodiscard]] std::optional<std::string> executableURL() const override {
    return process_.executablePath;
  }
  bool forceTerminate() override { return process_.forceTerminate(); }

 private:
  platform::ApplicationProcess process_;
};

}  // namespace vexlo
