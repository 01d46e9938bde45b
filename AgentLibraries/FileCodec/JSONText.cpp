#include "AgentLibraries/FileCodec/JSONText.h"

#include <algorithm>

#include "Platform/PrintableText.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace FileCodec {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

/// Whether it needs no escape in a string, as most characters.
constexpr bool isPlain(char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; }

/// The escape of a code point below U+10000: `\u009b`.
std::string unicodeEscape(char32_t codePoint) {
  return "\\u" + platform::hexadecimal(codePoint, 4);
}

}  // namespace

void appendJSONEscape(std::string& out, char control) {
  constexpr std::string_view kWithLetters = "\b\t\n\f\r";
  constexpr std::string_view kLetters = "btnfr";
  const std::size_t index = kWithLetters.find(control);
  if (index == std::string_view::npos) {
    out += unicodeEscape(static_cast<unsigned char>(control));
  } else {
    out.append({'\\', kLetters[index]});
  }
}

std::string jsonString(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  appendJSONString(out, text);
  return out;
}

void appendJSONString(std::string& out, std::string_view text) {
  out += '"';
  for (;;) {
    const auto* const special = std::ranges::find_if_not(text, isPlain);
    const auto plain = static_cast<std::size_t>(special - text.begin());
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) {
      break;
    }
    const std::size_t length = platform::utf8SequenceLength(text);
    const char first = text.front();
    if (length == 0) {
      out += kReplacementCharacter;
    } else if (first == '"' || first == '\\') {
      out += '\\';
      out += first;
    } else if (static_cast<unsigned char>(first) < 0x20) {
      appendJSONEscape(out, first);
    } else {
      const std::string_view character = text.substr(0, length);
      const char32_t codePoint = platform::decodeUTF8(character);
      if (platform::isUnprintable(codePoint)) {
        out += unicodeEscape(codePoint);
      } else {
        out += character;
      }
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  out += '"';
}

}  // namespace FileCodec
