// Writes JSON strings.
#pragma once
#include <string>
#include <string_view>

namespace FileCodec {

/// `text` as a quoted JSON string. Quotes, backslashes and unprintable characters (see
/// `platform::isUnprintable`) are escaped, so that the string is safe to show on a terminal;
/// invalid UTF-8 sequences become U+FFFD.
[[nodiscard]] std::string jsonString(std::string_view text);
/// Appends `jsonString(text)`: at most 6 bytes per byte of `text`, plus 2.
void appendJSONString(std::string& out, std::string_view text);

/// Appends the escape of a character below U+10000, such as `\"`, `\n` or `\u001b`.
void appendJSONEscape(std::string& out, char32_t codePoint);

}  // namespace FileCodec
