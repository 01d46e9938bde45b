// Quoting of untrusted strings in shell command lines.
#pragma once
#include <string>
#include <string_view>

namespace vexlo {

/// The shell that the quoting is made for.
inline constexpr const char* kShell = "/bin/sh";

/// Escapes `text` for use between double quotes: the characters that are special there (`"`, `$`, a
/// backquote, a backslash) get a backslash, so that the program receives `text` unchanged.
[[nodiscard]] std::string insideDoubleQuotes(std::string_view text);

/// Quotes `text` as one word. Words of letters, digits, non-ASCII bytes and `_ - . , : = + @ % /`
/// are unchanged; others are put in single quotes.
[[nodiscard]] std::string shellWord(std::string_view text);

}  // namespace vexlo
