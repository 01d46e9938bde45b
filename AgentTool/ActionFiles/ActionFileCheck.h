// Finds errors and likely mistakes in an action file.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace agent_tool {

enum class FindingKind : std::uint8_t {
  // Errors: the file is unusable.
  unreadable,  ///< the file can't be read
  syntax,      ///< the text is not JSON
  wrongType,   ///< a value of the wrong type
  // Warnings: the file is usable but probably not what its author meant.
  byteOrderMark,         ///< the file starts with one
  noActions,             ///< no action applies to any patch
  repeatedName,          ///< duplicate member; the last one counts
  ignoredMember,         ///< a member of the document that is not read
  suspiciousName,        ///< an ID that looks like something else or has extra spaces
  unknownAction,         ///< an unknown action code
  actionWithoutEffect,   ///< a known action that does nothing
  missingArgument,       ///< an action has fewer arguments than it needs
  unusableArgument,      ///< an argument that the action can't parse
  questionableArgument,  ///< an argument that is valid but makes no sense
  unreadArgument,        ///< an argument that the action doesn't read
  repeatedArgument,      ///< a duplicate argument
  exemptWithoutActions,  ///< an exempt patch for which nothing is run
  differentVersions,     ///< actions of one patch name different macOS versions
  restartBeforeAction,   ///< the Mac restarts before another action of the patch
};
[[nodiscard]] std::string_view name(FindingKind kind);
[[nodiscard]] constexpr bool isError(FindingKind kind) { return kind <= FindingKind::wrongType; }

/// An error or a warning, and where.
struct Finding {
  FindingKind kind;
  std::size_t offset = 0;                   ///< In the text, without a byte order mark.
  std::size_t line = 1;                     ///< From 1.
  std::size_t column = 1;                   ///< In bytes, from 1.
  std::optional<std::string> pointer = {};  ///< JSON Pointer (RFC 6901); absent without a value.
  std::string place = {};  ///< "PatchActions › 310872 › 2005 › [0]"; empty: the document.
  std::string text;        ///< The problem and its consequence.
};

/// All errors and likely mistakes in an action file's text, in order. A syntax error is the only
/// one of its kind; there may be several wrong types.
[[nodiscard]] std::vector<Finding> checkActionFile(std::string_view text);

}  // namespace agent_tool
