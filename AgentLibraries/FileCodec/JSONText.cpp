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

}  // namespace

void appendJSONEscape(std::string& out, char32_t codePoint) {
  constexpr std::u32string_view kWithLetters = U"\"\\\b\t\n\f\r";
  constexpr std::string_view kLetters = "\"\\btnfr";
  const std::size_t index = kWithLetters.find(codePoint);
  if (index == std::string_view::npos) {
    out += "\\u" + platform::hexadecimal(codePoint, 4);
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
    const auto [bytes, codePoint] = platform::takeCharacter(text);
    if (!codePoint) {
      out += kReplacementCharacter;
    } else if (codePoint == U'"' || codePoint == U'\\' || platform::isUnprintable(*codePoint)) {
      appendJSONEscape(out, *codePoint);
    } else {
      out += bytes;
    }
  }
  out += '"';
}

}  // namespace FileCodec
