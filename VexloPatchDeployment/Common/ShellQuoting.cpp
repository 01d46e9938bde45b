#include "VexloPatchDeployment/Common/ShellQuoting.h"

#include <algorithm>

namespace vexlo {
namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         static_cast<unsigned char>(c) >= 0x80 || std::string_view("_-.,:=+@%/").contains(c);
}

}  // namespace

std::string insideDoubleQuotes(std::string_view text) {
  std::string out;
  out.reserve(2 * text.size());  // never reallocated, so that a secret leaves no copy behind
  for (const char c : text) {
    if (std::string_view("\"$`\\").contains(c)) {
      out += '\\';
    }
    out += c;
  }
  return out;
}

std::string shellWord(std::string_view text) {
  if (!text.empty() && std::ranges::all_of(text, isPlain)) {
    return std::string(text);
  }
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') {
      out += R"('\'')";  // closes the quotes, adds the character, reopens them
    } else {
      out += c;
    }
  }
  return out += '\'';
}

}  // namespace vexlo
