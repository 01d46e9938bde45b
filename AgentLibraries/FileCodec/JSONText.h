// Writes texts as JSON strings.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace FileCodec {

/// `text` as a JSON string, in quotation marks: those, backslashes and control characters are
/// escaped; every ill-formed UTF-8 sequence becomes U+FFFD.
[[nodiscard]] std::string jsonString(std::string_view text);
/// Appends `jsonString(text)`, at most 6 bytes for each byte of `text` and 2 more.
void appendJSONString(std::string& out, std::string_view text);

/// The length of the well-formed UTF-8 sequence (1 to 4 bytes) that `text` begins with; 0 when it
/// begins with none.
[[nodiscard]] std::size_t utf8SequenceLength(std::string_view text) noexcept;

}  // namespace FileCodec
