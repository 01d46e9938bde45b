#include "AgentTool/Console/PrintableText.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>

#include "Platform/Unicode.h"

namespace agent_tool {
namespace {

using platform::CodePointRange;

/// Combining marks.
constexpr std::array kCombining{CodePointRange{0x300, 0x36F},   CodePointRange{0x1AB0, 0x1AFF},
                                CodePointRange{0x1DC0, 0x1DFF}, CodePointRange{0x20D0, 0x20FF},
                                CodePointRange{0xFE00, 0xFE0F}, CodePointRange{0xFE20, 0xFE2F}};

/// East Asian characters and emoji, two columns each.
constexpr std::array kWide{CodePointRange{0x1100, 0x115F},  CodePointRange{0x2E80, 0xA4CF},
                           CodePointRange{0xAC00, 0xD7A3},  CodePointRange{0xF900, 0xFAFF},
                           CodePointRange{0xFE30, 0xFE6F},  CodePointRange{0xFF00, 0xFF60},
                           CodePointRange{0xFFE0, 0xFFE6},  CodePointRange{0x1F300, 0x1FAFF},
                           CodePointRange{0x20000, 0x3FFFD}};

/// Invalid bytes, which a printable text lacks, count as one column.
std::size_t widthOf(std::optional<char32_t> character) {
  const char32_t codePoint = character.value_or(U'?');
  return isInAny(kCombining, codePoint) ? 0 : isInAny(kWide, codePoint) ? 2 : 1;
}

}  // namespace

std::string inQuotes(std::string_view text) {
  std::ostringstream marked;
  marked << std::quoted(text);
  return platform::printable(marked.str());
}

std::size_t displayWidth(std::string_view printableText) {
  std::size_t width = 0;
  while (!printableText.empty()) {
    width += widthOf(platform::takeCharacter(printableText).codePoint);
  }
  return width;
}

std::vector<std::string> wrapped(std::string_view printableText, std::size_t width) {
  std::vector<std::string> lines(1);
  std::size_t column = 0;
  std::size_t lastBlank = std::string::npos;  // in the current line
  while (!printableText.empty()) {
    const auto [character, codePoint] = platform::takeCharacter(printableText);
    const std::size_t columns = widthOf(codePoint);
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
        continue;  // replaced by the line break
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

std::string grouped(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) {
    at -= 3;
    digits.insert(at, 1, ',');
  }
  return digits;
}

std::string listed(std::string_view text) {
  const bool isAmbiguous =
      text.empty() || text == "-" || text.find_first_of(" ,\"\\") != std::string_view::npos;
  return isAmbiguous ? inQuotes(text) : printable(text);
}

}  // namespace agent_tool
