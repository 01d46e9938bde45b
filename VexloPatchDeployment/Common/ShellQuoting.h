// Puts outside texts into shell command lines so that they stay texts.
#pragma once
#include <string>
#include <string_view>

namespace vexlo {

/// The shell that the texts are made for.
inline constexpr const char* kShell = "/bin/sh";

/// `text` for a place between double quotation marks: what the shell would read there as more
/// than a character (`"`, `$`, a backquote, a backslash) gets a backslash; the program receives
/// `text` itself. Ordinary text stays as it is.
[[nodiscard]] std::string insideDoubleQuotes(std::string_view text);

/// `text` as one word for a place without quotation marks. A word of letters, digits, bytes
/// beyond ASCII and `_ - . , : = + @ % /` stays as it is; any other is put in single ones.
[[nodiscard]] std::string shellWord(std::string_view text);

}  // namespace vexlo
