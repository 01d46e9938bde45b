#include "AgentLibraries/FileCodec/JSONText.h"

#include <algorithm>

namespace FileCodec {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

void appendControlCharacter(std::string& out, char control) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  switch (control) {
    case '\b':
      out += "\\b";
      return;
    case '\t':
      out += "\\t";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\f':
      out += "\\f";
      return;
    case '\r':
      out += "\\r";
      return;
    default:
      out += "\\u00";
      out += kHexDigits[static_cast<unsigned char>(control) >> 4];
      out += kHexDigits[static_cast<unsigned char>(control) & 0xF];
  }
}

}  // namespace

std::size_t utf8SequenceLength(std::string_view text) noexcept {
  const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  if (text.empty()) {
    return 0;
  }
  const unsigned char lead = byteAt(0);
  if (lead < 0x80) {
    return 1;
  }
  if (lead < 0xC2 || lead > 0xF4) {
    return 0;
  }
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < length) {
    return 0;
  }
  // The second byte keeps overlong forms, surrogates and values above U+10FFFF out.
  const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (byteAt(1) < lowest || byteAt(1) > highest) {
    return 0;
  }
  for (std::size_t index = 2; index < length; ++index) {
    if (byteAt(index) < 0x80 || byteAt(index) > 0xBF) {
      return 0;
    }
  }
  return length;
}

std::string jsonString(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  appendJSONString(out, text);
  return out;
}

void appendJSONString(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    const char first = text.front();
    if (length == 0) {
      out += kReplacementCharacter;
    } else if (first == '"' || first == '\\') {
      out += '\\';
      out += first;
    } else if (static_cast<unsigned char>(first) < 0x20) {
      appendControlCharacter(out, first);
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  out += '"';
}

}  // namespace FileCodec
