// Writes texts as JSON strings.
#pragma once
#include <string>
#include <string_view>

namespace FileCodec {

/// `text` as a JSON string, in quotation marks: those, backslashes and control characters are
/// escaped; every ill-formed UTF-8 sequence becomes U+FFFD.
[[nodiscard]] std::string jsonString(std::string_view text);
/// Appends `jsonString(text)`, at most 6 bytes for each byte of `text` and 2 more.
void appendJSONString(std::string& out, std::string_view text);

/// Appends the escape of a control character, such as `\n` or `\u001b`.
void appendJSONEscape(std::string& out, char control);

}  // namespace FileCodec
