#include "AgentTool/PrintableText.h"

#include <algorithm>
#include <array>

#include "Platform/Unicode.h"

namespace agent_tool {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

struct CodePointRange {
  char32_t first;
  char32_t last;
};

/// Control characters, line separators, and marks that reorder or hide what stands beside them.
constexpr std::array kUnprintable{
    CodePointRange{0x00, 0x1F},     CodePointRange{0x7F, 0x9F},     CodePointRange{0xAD, 0xAD},
    CodePointRange{0x61C, 0x61C},   CodePointRange{0x200B, 0x200F}, CodePointRange{0x2028, 0x202E},
    CodePointRange{0x2060, 0x206F}, CodePointRange{0xFEFF, 0xFEFF}, CodePointRange{0xFFF9, 0xFFFB}};

/// Marks that stand on the character before them.
constexpr std::array kCombining{CodePointRange{0x300, 0x36F},   CodePointRange{0x1AB0, 0x1AFF},
                                CodePointRange{0x1DC0, 0x1DFF}, CodePointRange{0x20D0, 0x20FF},
                                CodePointRange{0xFE00, 0xFE0F}, CodePointRange{0xFE20, 0xFE2F}};

/// East Asian characters and pictures, two columns each.
constexpr std::array kWide{CodePointRange{0x1100, 0x115F},  CodePointRange{0x2E80, 0xA4CF},
                           CodePointRange{0xAC00, 0xD7A3},  CodePointRange{0xF900, 0xFAFF},
                           CodePointRange{0xFE30, 0xFE6F},  CodePointRange{0xFF00, 0xFF60},
                           CodePointRange{0xFFE0, 0xFFE6},  CodePointRange{0x1F300, 0x1FAFF},
                           CodePointRange{0x20000, 0x3FFFD}};

template <std::size_t Count>
bool isIn(const std::array<CodePointRange, Count>& ranges, char32_t codePoint) {
  return std::ranges::any_of(ranges, [&](const CodePointRange& range) {
    return codePoint >= range.first && codePoint <= range.last;
  });
}

/// The code point of one well-formed sequence.
char32_t decoded(std::string_view sequence) {
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

/// Takes the next character off `text`; a byte that begins none alone.
std::string_view takeCharacter(std::string_view& text) {
  const std::size_t length = std::max<std::size_t>(platform::utf8SequenceLength(text), 1);
  const std::string_view character = text.substr(0, length);
  text.remove_prefix(length);
  return character;
}

std::size_t widthOf(std::string_view character) {
  const char32_t codePoint = decoded(character);
  if (isIn(kCombining, codePoint)) {
    return 0;
  }
  return isIn(kWide, codePoint) ? 2 : 1;
}

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
      out += "\\u";
      for (int shift = 12; shift >= 0; shift -= 4) {
        out += kHexDigits[codePoint >> shift & 0xFU];
      }
  }
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    if (platform::utf8SequenceLength(text) == 0) {
      const auto byte = static_cast<unsigned char>(text.front());
      out += {'\\', 'x', kHexDigits[byte >> 4U], kHexDigits[byte & 0xFU]};
      text.remove_prefix(1);
      continue;
    }
    const std::string_view character = takeCharacter(text);
    const char32_t codePoint = decoded(character);
    if (isIn(kUnprintable, codePoint)) {
      appendEscaped(out, codePoint);
    } else {
      out += character;
    }
  }
  return out;
}

std::string inQuotes(std::string_view text) {
  std::string marked = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      marked += '\\';
    }
    marked += c;
  }
  return printable(marked += '"');
}

std::size_t displayWidth(std::string_view printableText) {
  std::size_t width = 0;
  while (!printableText.empty()) {
    width += widthOf(takeCharacter(printableText));
  }
  return width;
}

std::vector<std::string> wrapped(std::string_view printableText, std::size_t width) {
  std::vector<std::string> lines(1);
  std::size_t column = 0;
  std::size_t lastBlank = std::string::npos;  // in the line in hand
  while (!printableText.empty()) {
    const std::string_view character = takeCharacter(printableText);
    const std::size_t columns = widthOf(character);
    if (column + columns > std::max<std::size_t>(width, 1) && column > 0) {
      std::string rest;
      if (character != " " && lastBlank != std::string::npos) {
        rest = lines.back().substr(lastBlank + 1);
        lines.back().resize(lastBlank);
      }
      column = displayWidth(rest);
      lines.push_back(std::move(rest));
      lastBlank = std::string::npos;
      if (character == " ") {
        continue;  // the line's end stands for it
      }
    }
    if (character == " ") {
      lastBlank = lines.back().size();
    }
    lines.back() += character;
    column += columns;
  }
  return lines;
}

bool needsQuotes(std::string_view text) {
  return text.empty() || text == "-" || text.find_first_of(" ,\"\\") != std::string_view::npos;
}

}  // namespace agent_tool
