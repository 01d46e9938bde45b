#include "Platform/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace platform {
namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080;

}  // namespace

std::size_t utf8SequenceLength(std::string_view text) noexcept {
  const auto byte = [&](std::size_t index) -> unsigned {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
  };
  const auto continues = [&](std::size_t index) { return (byte(index) & 0xC0) == 0x80; };
  if (text.empty()) {
    return 0;
  }
  const unsigned lead = byte(0);
  const unsigned next = byte(1);
  if (lead < 0x80) {
    return 1;
  }
  if (lead >= 0xC2 && lead <= 0xDF) {
    return continues(1) ? 2 : 0;
  }
  if (lead >= 0xE0 && lead <= 0xEF) {
    const bool overlong = lead == 0xE0 && next < 0xA0;
    const bool surrogate = lead == 0xED && next > 0x9F;
    return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const bool overlong = lead == 0xF0 && next < 0x90;
    const bool tooHigh = lead == 0xF4 && next > 0x8F;
    return continues(1) && continues(2) && continues(3) && !overlong && !tooHigh ? 4 : 0;
  }
  return 0;
}

std::size_t findInvalidUTF8(std::string_view text) noexcept {
  std::size_t position = 0;
  while (position < text.size()) {
    std::uint64_t eight = 0;
    while (text.size() - position >= sizeof eight) {  // plain ASCII, eight bytes at a time
      std::memcpy(&eight, text.data() + position, sizeof eight);
      if ((eight & kHighBits) != 0) {
        break;
      }
      position += sizeof eight;
    }
    if (position == text.size()) {
      break;
    }
    const std::size_t length = utf8SequenceLength(text.substr(position));
    if (length == 0) {
      return position;
    }
    position += length;
  }
  return std::string_view::npos;
}

std::string_view wholeCharacters(std::string_view text, std::size_t length) noexcept {
  constexpr std::size_t kLongestCharacter = 4;
  for (std::size_t end = length; end < text.size() && length - end < kLongestCharacter; --end) {
    if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80) {
      return text.substr(0, end);
    }
  }
  return text.substr(0, length);  // the whole text, or not UTF-8
}

char32_t decodeUTF8(std::string_view sequence) noexcept {
  const auto lead = static_cast<unsigned char>(sequence.front());
  if (sequence.size() == 1) {
    return lead;
  }
  char32_t codePoint = lead & (0x7FU >> sequence.size());
  for (const char next : sequence.substr(1)) {
    codePoint = codePoint << 6 | (static_cast<unsigned char>(next) & 0x3FU);
  }
  return codePoint;
}

Character takeCharacter(std::string_view& text) noexcept {
  const std::size_t length = utf8SequenceLength(text);
  const std::string_view bytes = text.substr(0, std::max<std::size_t>(length, 1));
  text.remove_prefix(bytes.size());
  return {.bytes = bytes,
          .codePoint = length == 0 ? std::nullopt : std::optional(decodeUTF8(bytes))};
}

std::u16string toUTF16(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  while (!text.empty()) {
    const char32_t codePoint = takeCharacter(text).codePoint.value_or(U'\uFFFD');
    if (codePoint < 0x10000) {
      units += static_cast<char16_t>(codePoint);
    } else {
      units += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
      units += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
    }
  }
  return units;
}

void appendUTF8(std::string& out, char32_t codePoint) {
  const auto append = [&](char32_t byte) { out += static_cast<char>(byte); };
  if (codePoint < 0x80) {
    append(codePoint);
  } else if (codePoint < 0x800) {
    append(0xC0 | codePoint >> 6);
    append(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    append(0xE0 | codePoint >> 12);
    append(0x80 | (codePoint >> 6 & 0x3F));
    append(0x80 | (codePoint & 0x3F));
  } else {
    append(0xF0 | codePoint >> 18);
    append(0x80 | (codePoint >> 12 & 0x3F));
    append(0x80 | (codePoint >> 6 & 0x3F));
    append(0x80 | (codePoint & 0x3F));
  }
}

}  // namespace platform
