// Converts session names to the agent's conventions.
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vxutils {

/// The name; "NOUSERNAME" if it is absent or doesn't belong to a person.
[[nodiscard]] std::string consoleUserOrNobody(std::optional<std::string> name);

/// The names separated by ","; absent when there are none.
[[nodiscard]] std::optional<std::string> joinedNames(const std::vector<std::string>& names);

}  // namespace vxutils
