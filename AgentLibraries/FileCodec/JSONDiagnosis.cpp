#include "AgentLibraries/FileCodec/JSONDiagnosis.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "Platform/PrintableText.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace FileCodec {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kPunctuation = ",:[]{}";
constexpr std::string_view kDigits = "0123456789";
constexpr std::size_t kLongestQuote = 24;

constexpr std::string_view kValue = "a value";
constexpr std::string_view kFirstElement = R"(a value or "]")";
constexpr std::string_view kName = "a member name";
constexpr std::string_view kFirstName = R"(a member name or "}")";
constexpr std::string_view kColon = R"(":" after the member name)";
constexpr std::string_view kEndOfString = "a quotation mark that ends the string";

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
  return platform::takeCharacter(text).codePoint.value_or(U'\uFFFD');
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

/// Whether nothing is missing at the end of a word that begins a number, true, false or null.
bool isWhole(std::string_view word) {
  return word == "true" || word == "false" || word == "null" ||
         (!word.empty() && kDigits.contains(word.back()));
}

/// The value of the escape `\uXXXX` at the start of `text`; absent if there is none.
std::optional<std::uint32_t> unicodeEscape(std::string_view text) {
  return text.size() >= 6 && text.starts_with("\\u")
             ? platform::wholeNumber<std::uint32_t>(text.substr(2, 4), 16)
             : std::nullopt;
}

JSONReading problemAt(std::size_t offset, std::string_view expected, std::string found) {
  return {.expected = std::string(expected), .found = std::move(found), .offset = offset};
}

/// What is at `offset`: «"}"», «"nul"», «a string», «the end of the text».
std::string describeAt(std::string_view text, std::size_t offset) {
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

/// Scans tokens and tracks what may come next.
class Walk {
 public:
  Walk(std::string_view text, std::size_t failure) : text_(text), failure_(failure) {}

  JSONReading problem() {
    while (true) {
      at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
      if (at_ >= failure_ || at_ == text_.size()) {
        return problemHere();
      }
      const char c = text_[at_];
      if (c == '"') {
        if (std::optional<JSONReading> inString = skipString()) {
          return *std::move(inString);
        }
      } else if (kPunctuation.contains(c)) {
        takePunctuation(c);
      } else {
        const std::string_view word = wordAt(text_, at_);
        if (at_ + word.size() > failure_ || !isWhole(word)) {
          return problemHere();
        }
        at_ += word.size();
        expected_ = afterValue();
      }
    }
  }

 private:
  /// Names what other readers accept: comments, trailing commas, other quotes or none.
  [[nodiscard]] JSONReading problemHere() const {
    const std::string_view rest = text_.substr(at_);
    if (rest.starts_with("//") || rest.starts_with("/*") || rest.starts_with('#')) {
      return problemAt(at_, "JSON, which has no comments", "a comment");
    }
    const std::string_view before =
        text_.substr(0, text_.substr(0, at_).find_last_not_of(kBlanks) + 1);
    if (before.ends_with(',') && (rest.starts_with('}') || rest.starts_with(']'))) {
      return problemAt(before.size() - 1, std::string("no comma before \"") + rest.front() + '"',
                       "a trailing comma");
    }
    const char32_t character = characterAt(text_, at_);
    if (isOtherQuote(character)) {
      return problemAt(at_, R"(the quotation mark ")",
                       std::string(rest.substr(0, platform::utf8SequenceLength(rest))));
    }
    std::string expected(expected_);
    if (const std::string_view word = wordAt(text_, at_);
        !word.empty() && !isInvisible(character) && expected_.starts_with(kName)) {
      expected.insert(kName.size(), " in double quotes");
      return problemAt(at_, expected, startOf(word) + " without quotes");
    }
    return problemAt(at_, expected, describeAt(text_, at_));
  }

  [[nodiscard]] std::string_view afterValue() const {
    return open_.empty()          ? "the end of the text"
           : open_.ends_with('{') ? R"("," or "}")"
                                  : R"("," or "]")";
  }

  void takePunctuation(char c) {
    ++at_;
    if (c == '{' || c == '[') {
      open_ += c;
      expected_ = c == '{' ? kFirstName : kFirstElement;
    } else if (c == ':') {
      expected_ = kValue;
    } else if (c == ',') {
      expected_ = open_.ends_with('{') ? kName : kValue;
    } else {
      open_.resize(open_.size() - std::min<std::size_t>(open_.size(), 1));
      expected_ = afterValue();
    }
  }

  /// Skips the current string, or returns what is wrong with it.
  std::optional<JSONReading> skipString() {
    const std::size_t start = at_;
    while (++at_ < text_.size()) {
      const char c = text_[at_];
      if (c == '"') {
        ++at_;
        expected_ = expected_.starts_with(kName) ? kColon : afterValue();
        return std::nullopt;
      }
      if (c == '\n' || c == '\r') {
        return problemAt(start, kEndOfString, "the end of its line");
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        return problemAt(at_, "control characters of a string to be escaped",
                         describeAt(text_, at_));
      }
      if (c == '\\') {
        if (std::optional<JSONReading> inEscape = skipEscape()) {
          return inEscape;
        }
      }
    }
    return problemAt(at_, kEndOfString, "the end of the text");
  }

  /// Moves to the last character of the current escape, or returns what is wrong with it.
  std::optional<JSONReading> skipEscape() {
    const std::string_view rest = text_.substr(at_);
    const char kind = rest.size() > 1 ? rest[1] : '\0';
    const std::optional<std::uint32_t> unit = unicodeEscape(rest);
    const std::optional<std::uint32_t> next = unit ? unicodeEscape(rest.substr(6)) : std::nullopt;
    const char* expected = "a pair of surrogates";
    if (kind != 'u') {
      if (std::string_view(R"("\/bfnrt)").contains(kind)) {
        ++at_;
        return std::nullopt;
      }
      expected = "an escape sequence";
    } else if (!unit) {
      expected = R"(four hexadecimal digits after "\u")";
    } else if (!platform::isHighSurrogate(*unit) && !platform::isLowSurrogate(*unit)) {
      at_ += 5;
      return std::nullopt;
    } else if (platform::isHighSurrogate(*unit) && next && platform::isLowSurrogate(*next)) {
      at_ += 11;
      return std::nullopt;
    }
    std::string_view escape = rest.substr(0, kind == 'u' ? 6 : 2);
    escape = escape.substr(0, escape.find('"', 1));
    return problemAt(at_, expected,
                     escape.size() == rest.size() ? "the end of the text" : quoted(escape));
  }

  std::string_view text_;
  std::size_t failure_;
  std::size_t at_ = 0;
  std::string open_;                    // the open brackets
  std::string_view expected_ = kValue;  // what may come next
};

}  // namespace

JSONReading diagnoseJSON(std::string_view text, std::size_t failure) {
  if (text.starts_with(kByteOrderMark)) {
    return problemAt(0, "text without a byte order mark", "one");
  }
  if (const std::size_t at = platform::findInvalidUTF8(text); at <= failure) {
    const auto byte = static_cast<unsigned char>(text[at]);
    return problemAt(at, "UTF-8",
                     "the byte 0x" + platform::hexadecimal(byte, 2, platform::kCapitalDigits));
  }
  return Walk(text, failure).problem();
}

}  // namespace FileCodec
