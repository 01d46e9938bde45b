// Converts the console user's name to the agent's convention.
#pragma once
#include <optional>
#include <string>

namespace vxutils {

/// The name; "NOUSERNAME" if it is absent or doesn't belong to a person.
[[nodiscard]] std::string consoleUserOrNobody(std::optional<std::string> name);

}  // namespace vxutils
