// Looks through a usable action file for what its author can't have meant.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

enum class OddityKind : std::uint8_t {
  byteOrderMark,         ///< the text begins with one
  repeatedName,          ///< a member occurs twice in its object; the last one counts
  ignoredMember,         ///< a member of the document that is not read
  suspiciousName,        ///< an ID that looks like something else, or has spaces around it
  unknownAction,         ///< an action code that names no action
  actionWithoutEffect,   ///< a known action that does nothing
  missingArgument,       ///< an action has fewer arguments than it needs
  unusableArgument,      ///< an argument that the action can't read
  questionableArgument,  ///< an argument that can be read but can't be meant
  unreadArgument,        ///< an argument beyond those that the action reads
  repeatedArgument,      ///< an argument that stands in the list already
  exemptWithoutActions,  ///< an exempt patch for which nothing is run
};
[[nodiscard]] std::string_view name(OddityKind kind);

/// Something odd, and where. Texts are as in the file, not made printable.
struct Oddity {
  OddityKind kind;
  std::string place;  ///< Such as "PatchActions › 310872 › 2005 › [0]"; empty: the document.
  std::string text;   ///< What is odd and what comes of it.
};

/// All that is odd in the file with this text, of which `group` is the decoded form: first what
/// concerns the document's members, then product actions and patch actions in the file's order.
[[nodiscard]] std::vector<Oddity> findOddities(const vexlo::PatchActionGroup& group,
                                               std::string_view text);

/// How the check writes a place: the members from the document down, joined by " › ".
[[nodiscard]] std::string placeOf(const std::vector<std::string>& members);

}  // namespace agent_tool
