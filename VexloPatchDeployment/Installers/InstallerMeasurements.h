// What installations measure.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Export.h"

namespace vexlo {

/// One run of `softwareupdate` or `startosinstall` that has ended.
struct VEXLO_EXPORT ToolRunMeasurement {
  static constexpr std::string_view kind = "toolRun";
  enum class Step : std::uint8_t { download, installation, upgrade };
  Step step = Step::download;
  std::string subject;  ///< The update's label, or the path of the InstallAssistant application.
  std::int32_t exitCode = 0;
  std::string lastLine;  ///< The last non-blank line of output, if any; truncated if long.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const ToolRunMeasurement&, const ToolRunMeasurement&) = default;
};

/// There was no second attempt, because `softwareupdate` doesn't list the build.
struct VEXLO_EXPORT UpdateNotListed {
  static constexpr std::string_view kind = "updateNotListed";
  std::string build;  ///< «14.4.1-23E224»
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const UpdateNotListed&, const UpdateNotListed&) = default;
};

}  // namespace vexlo
