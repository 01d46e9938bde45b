// What the check of an action file finds.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace agent_tool {

enum class FindingKind : std::uint8_t {
  // Errors: the file can't be used.
  unreadable,  ///< the file can't be read
  syntax,      ///< the text is not JSON
  wrongType,   ///< a value of another type than its place asks for
  // Oddities: the file can be used, but its author can't have meant that.
  byteOrderMark,         ///< the text begins with one
  noActions,             ///< no action applies to any patch
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
  differentVersions,     ///< actions of one patch name different macOS versions
  restartBeforeAction,   ///< the Mac restarts before another action of the patch
};
[[nodiscard]] std::string_view name(FindingKind kind);
[[nodiscard]] constexpr bool isError(FindingKind kind) { return kind <= FindingKind::wrongType; }

/// Something wrong or odd, and where.
struct Finding {
  FindingKind kind;
  std::size_t offset = 0;              ///< In the text, without a byte order mark.
  std::optional<std::string> pointer;  ///< JSON Pointer (RFC 6901); absent without a value.
  std::string place;  ///< "PatchActions › 310872 › 2005 › [0]"; empty: the document.
  std::string text;   ///< What is wrong or odd and what comes of it.
};

}  // namespace agent_tool
