// Reads the old-style text format: { key = value; } ( a, b ) "text" token <0fbd77>, with comments.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

#include "Platform/PropertyListReaders.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace platform {
namespace {

constexpr std::string_view kEndOfText = "the end of the text";

/// Octal escapes from \200 on are in this older character set; 0 marks unassigned codes.
constexpr std::array<char16_t, 128> kNextStepCharacters{
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0x0000, 0x0000};

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool isUnquoted(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || c == '/' || c == ':' || c == '.' || c == '-';
}

/// A recursive-descent parser with limited depth.
class OldStyleReader {
 public:
  OldStyleReader(std::string_view text, ValueBudget budget) : text_(text), budget_(budget) {}

  PropertyList read() {
    accept("\xEF\xBB\xBF");
    skipBlanks();
    PropertyList value = readValue(1);
    skipBlanks();
    if (!atEnd()) {
      fail(std::string(kEndOfText));
    }
    return value;
  }

 private:
  [[nodiscard]] bool atEnd() const { return position_ == text_.size(); }
  /// The next character; NUL at the end, which no rule accepts.
  [[nodiscard]] char peek() const { return atEnd() ? '\0' : text_[position_]; }

  bool accept(std::string_view expected) {
    const bool there = text_.substr(position_).starts_with(expected);
    position_ += there ? expected.size() : 0;
    return there;
  }

  /// Reads as many digits as there are, at most `most`; absent if there is none.
  std::optional<unsigned> readDigits(std::size_t most, int base) {
    unsigned number = 0;
    const char* const first = text_.data() + position_;
    const char* const last = first + std::min(most, text_.size() - position_);
    const auto [stop, error] = std::from_chars(first, last, number, base);
    position_ += static_cast<std::size_t>(stop - first);
    return error == std::errc{} ? std::optional(number) : std::nullopt;
  }

  [[nodiscard]] std::size_t lineOf(std::size_t offset) const {
    std::size_t line = 1;
    for (std::size_t at = 0; at < offset; ++at) {
      const bool firstOfTwo = text_[at] == '\r' && at + 1 < text_.size() && text_[at + 1] == '\n';
      line += text_[at] == '\n' || (text_[at] == '\r' && !firstOfTwo) ? 1 : 0;
    }
    return line;
  }

  [[noreturn]] void fail(const std::string& expected) const {
    std::string found(kEndOfText);
    if (!atEnd()) {
      const char next = text_[position_];
      if (next > ' ' && next < 0x7F) {
        found = std::string{'\'', next, '\''};
      } else {
        const auto byte = static_cast<unsigned char>(next);
        found = "the byte 0x" + hexadecimal(byte, 2, kCapitalDigits);
      }
    }
    throw PropertyListError{"line " + std::to_string(lineOf(position_)) + ": expected " + expected +
                            ", found " + found};
  }

  /// Skips white space and comments.
  void skipBlanks() {
    for (;;) {
      while (!atEnd() && isBlank(text_[position_])) {
        ++position_;
      }
      const std::size_t start = position_;
      if (accept("//")) {
        position_ = std::min(text_.find_first_of("\n\r", position_), text_.size());
      } else if (accept("/*")) {
        const std::size_t end = text_.find("*/", position_);
        if (end == std::string_view::npos) {
          position_ = text_.size();
          fail("*/ to close the comment of line " + std::to_string(lineOf(start)));
        }
        position_ = end + 2;
      } else {
        return;
      }
    }
  }

  PropertyList readValue(std::size_t depth) {
    if (!budget_.take()) {
      fail(budget_.expected());
    }
    switch (peek()) {
      case '{':
      case '(':
        if (depth > kMaximumPropertyListDepth) {
          fail("at most " + std::to_string(kMaximumPropertyListDepth) + " levels of nesting");
        }
        return peek() == '{' ? readDictionary(depth) : readArray(depth);
      case '<':
        return readData();
      default:
        return readText("a value");
    }
  }

  PropertyList readDictionary(std::size_t depth) {
    PropertyList::Dictionary dictionary;
    ++position_;
    for (skipBlanks(); !accept("}"); skipBlanks()) {
      std::string key = readText("a key or '}'");
      skipBlanks();
      if (!accept("=")) {
        fail("'=' after the key " + quotedExcerpt(key));
      }
      skipBlanks();
      PropertyList value = readValue(depth + 1);
      skipBlanks();
      if (!accept(";")) {
        fail("';' after the value of " + quotedExcerpt(key));
      }
      dictionary.insert_or_assign(std::move(key), std::move(value));
    }
    return dictionary;
  }

  PropertyList readArray(std::size_t depth) {
    PropertyList::Array array;
    ++position_;
    for (skipBlanks(); !accept(")"); skipBlanks()) {
      array.push_back(readValue(depth + 1));
      skipBlanks();
      if (!accept(",") && peek() != ')') {
        fail("',' or ')' after an element");
      }
    }
    return array;
  }

  PropertyList readData() {
    PropertyList::Data data;
    std::optional<unsigned> pending;  // the first digit of a byte
    for (++position_; !accept(">");) {
      if (isBlank(peek())) {
        ++position_;
        continue;
      }
      const std::optional<unsigned> digit = readDigits(1, 16);
      if (!digit) {
        fail("a hexadecimal digit or '>' in data");
      }
      if (!pending) {
        pending = digit;
      } else {
        data.push_back(static_cast<std::byte>(*pending * 16 + *digit));
        pending.reset();
      }
    }
    if (pending) {
      --position_;
      fail("an even number of hexadecimal digits in data");
    }
    return PropertyList::Value(std::move(data));
  }

  std::string readText(const char* expected) {
    if (peek() == '"' || peek() == '\'') {
      return readQuotedText();
    }
    const std::size_t start = position_;
    while (!atEnd() && isUnquoted(text_[position_])) {
      ++position_;
    }
    if (position_ == start) {
      fail(expected);
    }
    return std::string(text_.substr(start, position_ - start));
  }

  std::string readQuotedText() {
    const std::size_t opening = position_++;
    const char quote = text_[opening];
    std::string out;
    for (;;) {
      const std::size_t start = position_;
      while (!atEnd() && text_[position_] != quote && text_[position_] != '\\') {
        ++position_;
      }
      const std::string_view piece = text_.substr(start, position_ - start);
      if (const std::size_t invalid = findInvalidUTF8(piece); invalid != std::string_view::npos) {
        position_ = start + invalid;
        fail("UTF-8 in a string");
      }
      out += piece;
      if (atEnd()) {
        fail(std::string{quote} + " to close the text of line " + std::to_string(lineOf(opening)));
      }
      if (text_[position_++] == quote) {
        return out;
      }
      readEscape(out);
    }
  }

  /// Reads what follows a backslash.
  void readEscape(std::string& out) {
    constexpr std::string_view kLetters = "abfnrtv";
    constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v";
    const std::size_t start = position_;
    if (const std::optional<unsigned> octal = readDigits(3, 8)) {
      appendUTF8(out, octalCharacter(*octal, start));
    } else if (accept("U")) {
      appendUTF8(out, readUnicodeEscape());
    } else if (const std::size_t index = kLetters.find(peek()); index != std::string_view::npos) {
      out += kMeanings[index];
      ++position_;
    } else if (!atEnd() && static_cast<unsigned char>(peek()) < 0x80) {
      out += text_[position_++];  // any other character stands for itself
    }
  }

  /// The character of the octal escape whose digits are at `start`.
  char32_t octalCharacter(unsigned code, std::size_t start) {
    if (code < 0x80) {
      return code;
    }
    const char32_t character = code <= 0xFF ? kNextStepCharacters.at(code - 0x80) : 0;
    if (character == 0) {
      position_ = start;
      fail("an octal escape up to \\375");
    }
    return character;
  }

  char32_t readUnicodeEscape() {
    const char32_t unit = readUTF16Unit();
    if (isHighSurrogate(unit)) {
      const std::size_t second = position_;
      if (accept("\\U")) {
        const char32_t low = readUTF16Unit();
        if (isLowSurrogate(low)) {
          return joinSurrogates(unit, low);
        }
      }
      position_ = second;
    }
    if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      fail("both halves of a surrogate pair in \\U escapes");
    }
    return unit;
  }

  char32_t readUTF16Unit() {
    const std::optional<unsigned> unit = readDigits(4, 16);
    if (!unit) {
      fail("1 to 4 hexadecimal digits after \\U");
    }
    return *unit;
  }

  std::string_view text_;
  ValueBudget budget_;
  std::size_t position_ = 0;
};

}  // namespace

PropertyList readOldStylePropertyList(std::string_view bytes, ValueBudget budget) {
  return OldStyleReader(bytes, budget).read();
}

}  // namespace platform
