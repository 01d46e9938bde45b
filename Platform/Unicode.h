// Checks and makes UTF-8.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

/// The length of the well-formed UTF-8 sequence (1 to 4 bytes) that `text` begins with; 0 when it
/// begins with none. Overlong forms, surrogates and values above U+10FFFF are none.
[[nodiscard]] std::size_t utf8SequenceLength(std::string_view text) noexcept;

/// The offset of the first byte that belongs to no well-formed UTF-8 sequence; `npos` when the
/// whole text is UTF-8.
[[nodiscard]] std::size_t findInvalidUTF8(std::string_view text) noexcept;

/// The code point of one well-formed sequence.
[[nodiscard]] char32_t decodeUTF8(std::string_view sequence) noexcept;

/// Appends one code point, which is neither a surrogate nor above U+10FFFF.
void appendUTF8(std::string& out, char32_t codePoint);

/// The UTF-16 units of a text that is UTF-8.
[[nodiscard]] std::u16string toUTF16(std::string_view text);

[[nodiscard]] constexpr bool isHighSurrogate(char32_t unit) noexcept {
  return unit >= 0xD800 && unit < 0xDC00;
}
[[nodiscard]] constexpr bool isLowSurrogate(char32_t unit) noexcept {
  return unit >= 0xDC00 && unit < 0xE000;
}
/// The code point that a high and a low surrogate stand for together.
[[nodiscard]] constexpr char32_t joinSurrogates(char32_t high, char32_t low) noexcept {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

}  // namespace platform
