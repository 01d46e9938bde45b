// How the names of sessions become the agent's answers.
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vxutils {

/// The name as it is; "NOUSERNAME" for an absent one and for one that is nobody's session.
[[nodiscard]] std::string consoleUserOrNobody(std::optional<std::string> name);

/// The names separated by ","; absent when there are none.
[[nodiscard]] std::optional<std::string> joinedNames(const std::vector<std::string>& names);

}  // namespace vxutils
