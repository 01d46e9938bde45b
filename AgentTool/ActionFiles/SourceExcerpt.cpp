#include "AgentTool/ActionFiles/SourceExcerpt.h"

#include <algorithm>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/PrintableText.h"
#include "Platform/Unicode.h"

namespace agent_tool {
namespace {

constexpr std::size_t kMostWidth = 200;
constexpr std::string_view kIndentation = "  ";

std::string shown(std::string_view text) {
  std::string spaced(text);
  std::ranges::replace(spaced, '\t', ' ');
  return printable(spaced);
}

}  // namespace

std::string sourceExcerpt(std::string_view source, std::size_t offset, std::size_t length,
                          std::size_t width) {
  offset = std::min(offset, source.size());
  const std::size_t room = std::clamp<std::size_t>(width, 20, kMostWidth) - kIndentation.size() - 1;
  const std::size_t lineStart = source.substr(0, offset).rfind('\n') + 1;
  std::string_view line =
      source.substr(lineStart, source.find_first_of("\r\n", offset) - lineStart);
  std::size_t column = offset - lineStart;
  // For a long line, the part around the position.
  if (column > room / 2) {
    const std::size_t cut = platform::wholeCharacters(line, column - room / 2).size();
    line.remove_prefix(cut);
    column -= cut;
  }
  line = platform::wholeCharacters(line, room);
  const std::string_view marked = line.substr(std::min(column, line.size()));
  const std::string before = shown(line.substr(0, column));
  const std::size_t markedWidth = displayWidth(shown(marked.substr(0, length)));
  return LogCore::text(kIndentation, before, shown(marked), '\n', kIndentation,
                       std::string(displayWidth(before), ' '), '^',
                       std::string(std::max<std::size_t>(markedWidth, 1) - 1, '~'), '\n');
}

}  // namespace agent_tool
