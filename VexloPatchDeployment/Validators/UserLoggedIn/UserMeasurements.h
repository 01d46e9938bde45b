// What the checks of users measure.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.h"

namespace vexlo {

struct VEXLO_EXPORT ConsoleUserMeasurement {
  static constexpr std::string_view kind = "consoleUser";
  std::optional<std::string> user;  ///< Short name; absent when nobody is at the console.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const ConsoleUserMeasurement&, const ConsoleUserMeasurement&) = default;
};

struct VEXLO_EXPORT LoggedOnUsersMeasurement {
  static constexpr std::string_view kind = "loggedOnUsers";
  std::vector<std::string> users;  ///< Short names; empty when nobody is logged on.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const LoggedOnUsersMeasurement&,
                         const LoggedOnUsersMeasurement&) = default;
};

}  // namespace vexlo
