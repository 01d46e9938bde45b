#include "AgentLibraries/FileCodec/JSONText.h"

#include <algorithm>

#include "Platform/Unicode.h"

namespace FileCodec {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

}  // namespace

void appendJSONEscape(std::string& out, char control) {
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

std::string jsonString(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  appendJSONString(out, text);
  return out;
}

void appendJSONString(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
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
      out += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  out += '"';
}

}  // namespace FileCodec
