#include "AgentLibraries/FileCodec/JSONDiagnosis.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "AgentLibraries/FileCodec/JSONReader.h"
#include "Platform/PrintableText.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace FileCodec {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kPunctuation = ",:[]{}";
constexpr std::string_view kDigits = "0123456789";
constexpr std::size_t kLongestQuote = 24;

/// The start of `text`, as far as it fits on one line.
std::string startOf(std::string_view text) {
  std::string out;
  while (out.size() < kLongestQuote) {
    const std::size_t length = platform::utf8SequenceLength(text);
    if (length == 0 || static_cast<unsigned char>(text.front()) < 0x20) {
      break;
    }
    out += text.substr(0, length);
    text.remove_prefix(length);
  }
  return out;
}

std::string quoted(std::string_view text) { return '"' + startOf(text) + '"'; }

/// The word at `offset`: everything up to a space, a control character, punctuation or a string.
std::string_view wordAt(std::string_view text, std::size_t offset) {
  const std::string_view rest = text.substr(offset);
  const auto* const end = std::ranges::find_if(rest, [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '"' || kPunctuation.contains(c);
  });
  return {rest.begin(), end};
}

/// The character at `offset`, which must be in the text; U+FFFD for an invalid one.
char32_t characterAt(std::string_view text, std::size_t offset) {
  text.remove_prefix(offset);
  const std::size_t length = platform::utf8SequenceLength(text);
  return length == 0 ? U'\uFFFD' : platform::decodeUTF8(text.substr(0, length));
}

/// Single and curly quotes, which word processors write.
bool isOtherQuote(char32_t character) {
  return character == U'\'' || (character >= 0x2018 && character <= 0x201F);
}

/// Characters that a message can't show: controls, marks, and spaces that JSON doesn't allow.
bool isInvisible(char32_t character) {
  return platform::isUnprintable(character) || character == 0xA0 || character == 0x1680 ||
         (character >= 0x2000 && character <= 0x200A) || character == 0x202F ||
         character == 0x205F || character == 0x3000;
}

bool skipDigits(std::string_view& text) {
  const std::size_t count = std::min(text.find_first_not_of(kDigits), text.size());
  text.remove_prefix(count);
  return count > 0;
}

bool isNumber(std::string_view word) {
  if (word.starts_with('-')) {
    word.remove_prefix(1);
  }
  if (word.starts_with('0')) {
    word.remove_prefix(1);
  } else if (!skipDigits(word)) {
    return false;
  }
  if (word.starts_with('.')) {
    word.remove_prefix(1);
    if (!skipDigits(word)) {
      return false;
    }
  }
  if (word.starts_with('e') || word.starts_with('E')) {
    word.remove_prefix(1);
    if (word.starts_with('+') || word.starts_with('-')) {
      word.remove_prefix(1);
    }
    if (!skipDigits(word)) {
      return false;
    }
  }
  return word.empty();
}

bool isPlainValue(std::string_view word) {
  return word == "true" || word == "false" || word == "null" || isNumber(word);
}

/// The value of the escape `\uXXXX` at `offset`; absent if there is none.
std::optional<std::uint32_t> unicodeEscapeAt(std::string_view text, std::size_t offset) {
  const std::string_view escape = text.substr(std::min(offset, text.size())).substr(0, 6);
  return escape.size() == 6 && escape.starts_with("\\u")
             ? platform::wholeNumber<std::uint32_t>(escape.substr(2), 16)
             : std::nullopt;
}

/// Scans tokens and tracks what may come next.
class Walk {
 public:
  Walk(std::string_view text, std::size_t failure) : text_(text), failure_(failure) {}

  JSONProblem problem() {
    while (true) {
      at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
      if (at_ >= failure_ || at_ == text_.size()) {
        return problemHere(expected());
      }
      const char c = text_[at_];
      if (c == '"') {
        if (std::optional<JSONProblem> inString = skipString()) {
          return *std::move(inString);
        }
      } else if (kPunctuation.contains(c)) {
        takePunctuation(c);
      } else {
        const std::string_view word = wordAt(text_, at_);
        if (!isPlainValue(word)) {
          return problemHere(expected());
        }
        at_ += word.size();
        comma_.reset();
        next_ = Next::separator;
      }
    }
  }

 private:
  enum class Next : std::uint8_t { value, firstElement, firstName, name, colon, separator };

  [[nodiscard]] std::string expected() const {
    switch (next_) {
      case Next::value:
        return "a value";
      case Next::firstElement:
        return R"(a value or "]")";
      case Next::firstName:
        return R"(a member name or "}")";
      case Next::name:
        return "a member name";
      case Next::colon:
        return R"(":" after the member name)";
      case Next::separator:
        return open_.empty()         ? "the end of the text"
               : open_.back() == '{' ? R"("," or "}")"
                                     : R"("," or "]")";
    }
    std::unreachable();
  }

  /// Names what other readers accept: comments, trailing commas, other quotes or none.
  [[nodiscard]] JSONProblem problemHere(std::string expected) const {
    const std::string_view rest = text_.substr(at_);
    if (rest.starts_with("//") || rest.starts_with("/*") || rest.starts_with('#')) {
      return {.offset = at_, .expected = "JSON, which has no comments", .found = "a comment"};
    }
    if (comma_ && (rest.starts_with('}') || rest.starts_with(']'))) {
      return {.offset = *comma_,
              .expected = std::string("no comma before \"") + rest.front() + '"',
              .found = "a trailing comma"};
    }
    const char32_t character = rest.empty() ? U'\0' : characterAt(text_, at_);
    if (isOtherQuote(character)) {
      return {.offset = at_,
              .expected = R"(the quotation mark ")",
              .found = std::string(rest.substr(0, platform::utf8SequenceLength(rest)))};
    }
    if (const std::string_view word = wordAt(text_, at_);
        !word.empty() && !isInvisible(character) &&
        (next_ == Next::name || next_ == Next::firstName)) {
      expected.insert(std::string_view("a member name").size(), " in double quotes");
      return {.offset = at_,
              .expected = std::move(expected),
              .found = startOf(word) + " without quotes"};
    }
    return {.offset = at_, .expected = std::move(expected), .found = describeJSONAt(text_, at_)};
  }

  void takePunctuation(char c) {
    comma_ = c == ',' ? std::optional(at_) : std::nullopt;
    ++at_;
    if (c == '{' || c == '[') {
      open_ += c;
      next_ = c == '{' ? Next::firstName : Next::firstElement;
    } else if (c == ':') {
      next_ = Next::value;
    } else if (c == ',') {
      next_ = open_.ends_with('{') ? Next::name : Next::value;
    } else {
      open_.resize(open_.size() - std::min<std::size_t>(open_.size(), 1));
      next_ = Next::separator;
    }
  }

  /// Skips the current string, or returns what is wrong with it.
  std::optional<JSONProblem> skipString() {
    const std::size_t start = at_;
    for (++at_; at_ < text_.size(); ++at_) {
      const char c = text_[at_];
      if (c == '"') {
        ++at_;
        comma_.reset();
        next_ = next_ == Next::firstName || next_ == Next::name ? Next::colon : Next::separator;
        return std::nullopt;
      }
      if (c == '\n' || c == '\r') {
        return JSONProblem{.offset = start,
                           .expected = "a quotation mark that ends the string",
                           .found = "the end of its line"};
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        return JSONProblem{.offset = at_,
                           .expected = "control characters of a string to be escaped",
                           .found = describeJSONAt(text_, at_)};
      }
      if (c == '\\') {
        if (std::optional<JSONProblem> inEscape = skipEscape()) {
          return inEscape;
        }
      }
    }
    return problemHere("a quotation mark that ends the string");
  }

  /// Moves to the last character of the current escape, or returns what is wrong with it.
  std::optional<JSONProblem> skipEscape() {
    const auto problemInEscape = [&](const char* expected, std::size_t length) {
      const std::string_view rest = text_.substr(at_);
      const std::string_view escape = rest.substr(0, std::min(length, rest.find('"', 1)));
      return JSONProblem{
          .offset = at_,
          .expected = expected,
          .found = escape.size() == rest.size() ? "the end of the text" : quoted(escape)};
    };
    const char kind = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
    if (kind != 'u') {
      if (!std::string_view(R"("\/bfnrt)").contains(kind)) {
        return problemInEscape("an escape sequence", 2);
      }
      ++at_;
      return std::nullopt;
    }
    const std::optional<std::uint32_t> unit = unicodeEscapeAt(text_, at_);
    if (!unit) {
      return problemInEscape(R"(four hexadecimal digits after "\u")", 6);
    }
    if (!platform::isHighSurrogate(*unit) && !platform::isLowSurrogate(*unit)) {
      at_ += 5;
      return std::nullopt;
    }
    const std::optional<std::uint32_t> second = unicodeEscapeAt(text_, at_ + 6);
    if (!platform::isHighSurrogate(*unit) || !second || !platform::isLowSurrogate(*second)) {
      return problemInEscape("a pair of surrogates", 6);
    }
    at_ += 11;
    return std::nullopt;
  }

  std::string_view text_;
  std::size_t failure_;
  std::size_t at_ = 0;
  std::string open_;                  // the open brackets
  std::optional<std::size_t> comma_;  // where the last token is, if that is a comma
  Next next_ = Next::value;
};

}  // namespace

std::string describeJSONAt(std::string_view text, std::size_t offset) {
  if (offset >= text.size()) {
    return "the end of the text";
  }
  if (text[offset] == '"') {
    return "a string";
  }
  if (const char32_t character = characterAt(text, offset); isInvisible(character)) {
    return "U+" + platform::hexadecimal(character, 4, platform::kCapitalDigits);
  }
  const std::string_view word = wordAt(text, offset);
  return quoted(word.empty() ? text.substr(offset, 1) : word);
}

JSONProblem diagnoseJSON(std::string_view text, std::size_t failure) {
  if (text.starts_with(kByteOrderMark)) {
    return {.offset = 0, .expected = "text without a byte order mark", .found = "one"};
  }
  for (std::size_t offset = 0; offset < text.size() && offset <= failure;) {
    const std::size_t length = platform::utf8SequenceLength(text.substr(offset));
    if (length == 0) {
      const auto byte = static_cast<unsigned char>(text[offset]);
      return {.offset = offset,
              .expected = "UTF-8",
              .found = "the byte 0x" + platform::hexadecimal(byte, 2, platform::kCapitalDigits)};
    }
    offset += length;
  }
  return Walk(text, failure).problem();
}

}  // namespace FileCodec
