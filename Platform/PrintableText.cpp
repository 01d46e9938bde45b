#include "Platform/PrintableText.h"

#include <array>

#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace platform {
namespace {

/// Control characters, line separators, and marks that reorder or hide adjacent text.
constexpr std::array kUnprintable{
    CodePointRange{0x00, 0x1F},     CodePointRange{0x7F, 0x9F},     CodePointRange{0xAD, 0xAD},
    CodePointRange{0x61C, 0x61C},   CodePointRange{0x200B, 0x200F}, CodePointRange{0x2028, 0x202E},
    CodePointRange{0x2060, 0x206F}, CodePointRange{0xFEFF, 0xFEFF}, CodePointRange{0xFFF9, 0xFFFB}};

void appendEscaped(std::string& out, char32_t codePoint) {
  switch (codePoint) {
    case U'\n':
      out += "\\n";
      return;
    case U'\r':
      out += "\\r";
      return;
    case U'\t':
      out += "\\t";
      return;
    default:
      out += "\\u" + hexadecimal(codePoint, 4);
  }
}

}  // namespace

bool isUnprintable(char32_t codePoint) noexcept { return isInAny(kUnprintable, codePoint); }

std::string printable(std::string_view text, Tabs tabs) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const auto [bytes, codePoint] = takeCharacter(text);
    if (!codePoint) {
      out += "\\x" + hexadecimal(static_cast<unsigned char>(bytes.front()), 2);
    } else if (isUnprintable(*codePoint) && !(codePoint == U'\t' && tabs == Tabs::kept)) {
      appendEscaped(out, *codePoint);
    } else {
      out += bytes;
    }
  }
  return out;
}

}  // namespace platform
