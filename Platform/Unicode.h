// UTF-8, UTF-16 and ranges of code points.
#pragma once
#include <algorithm>
#include <concepts>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform {

/// The length (1 to 4) of the valid UTF-8 sequence at the start of `text`; 0 if there is none.
/// Overlong forms, surrogates and values above U+10FFFF are invalid.
[[nodiscard]] std::size_t utf8SequenceLength(std::string_view text) noexcept;

/// The offset of the first byte that isn't part of a valid UTF-8 sequence; `npos` if there is none.
[[nodiscard]] std::size_t findInvalidUTF8(std::string_view text) noexcept;

/// The first `length` bytes of `text`, up to three fewer if they would end within a character.
[[nodiscard]] std::string_view wholeCharacters(std::string_view text, std::size_t length) noexcept;

/// The code point of one valid sequence.
[[nodiscard]] char32_t decodeUTF8(std::string_view sequence) noexcept;

/// A character of a text, or a byte that isn't part of valid UTF-8.
struct Character {
  std::string_view bytes;
  std::optional<char32_t> codePoint;  ///< Absent for an invalid byte.
};
/// Removes the first character of a text, which must not be empty.
[[nodiscard]] Character takeCharacter(std::string_view& text) noexcept;

/// Appends one code point, which must not be a surrogate or above U+10FFFF.
void appendUTF8(std::string& out, char32_t codePoint);

/// Converts valid UTF-8 to UTF-16.
[[nodiscard]] std::u16string toUTF16(std::string_view text);

[[nodiscard]] constexpr bool isHighSurrogate(char32_t unit) noexcept {
  return unit >= 0xD800 && unit < 0xDC00;
}
[[nodiscard]] constexpr bool isLowSurrogate(char32_t unit) noexcept {
  return unit >= 0xDC00 && unit < 0xE000;
}
/// The code point encoded by a surrogate pair.
[[nodiscard]] constexpr char32_t joinSurrogates(char32_t high, char32_t low) noexcept {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// The code points from `first` to `last`.
struct CodePointRange {
  char32_t first;
  char32_t last;
};
[[nodiscard]] constexpr bool isInAny(std::span<const CodePointRange> ranges,
                                     char32_t codePoint) noexcept {
  return std::ranges::any_of(ranges, [&](const CodePointRange& range) {
    return codePoint >= range.first && codePoint <= range.last;
  });
}

/// Converts UTF-16 to UTF-8. Each unpaired surrogate is replaced by what `replacement` returns.
template <std::invocable Replacement>
[[nodiscard]] std::string toUTF8(std::u16string_view units, const Replacement& replacement) {
  std::string text;
  for (std::size_t index = 0; index < units.size(); ++index) {
    const char32_t unit = units[index];
    const char32_t next = index + 1 < units.size() ? units[index + 1] : U'\0';
    if (isHighSurrogate(unit) && isLowSurrogate(next)) {
      appendUTF8(text, joinSurrogates(unit, next));
      ++index;
    } else {
      appendUTF8(text, isHighSurrogate(unit) || isLowSurrogate(unit) ? replacement() : unit);
    }
  }
  return text;
}

}  // namespace platform
