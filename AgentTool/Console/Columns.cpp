#include "AgentTool/Console/Columns.h"

#include <algorithm>

#include "AgentTool/Console/PrintableText.h"

namespace agent_tool {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 16;  // narrower columns are unreadable

}  // namespace

Columns::Columns(const Console& console, const std::vector<std::string>& headings)
    : console_(console) {
  for (const std::string& heading : headings) {
    headings_.push_back({heading, Style::bold});
    widths_.push_back(displayWidth(heading));
  }
}

void Columns::fit(const std::vector<Cell>& cells) {
  for (std::size_t column = 0; column < cells.size(); ++column) {
    widths_[column] = std::max(widths_[column], displayWidth(cells[column].text));
  }
}

std::string Columns::row(const std::vector<Cell>& cells) const {
  std::string line;
  std::size_t indentation = 0;
  for (std::size_t column = 0; column + 1 < cells.size(); ++column) {
    const auto& [text, style] = cells[column];
    const std::size_t width = displayWidth(text);
    line += console_.styled(text, style);
    line.append(std::max(widths_[column], width) - width + kGap, ' ');
    indentation += widths_[column] + kGap;
  }
  const std::size_t room = console_.width() > indentation + kNarrowest
                               ? console_.width() - indentation
                               : std::string::npos;
  std::string out;
  for (const std::string& piece : wrapped(cells.back().text, room)) {
    out += line + console_.styled(piece, cells.back().style);
    out.resize(out.find_last_not_of(' ') + 1);
    out += '\n';
    line.assign(indentation, ' ');
  }
  return out;
}

std::string rightAligned(std::string text, std::size_t width) {
  return text.insert(0, width - std::min(width, text.size()), ' ');
}

std::string tableText(const Console& console, const std::vector<std::string>& headings,
                      const std::vector<std::vector<Cell>>& rows) {
  Columns columns(console, headings);
  std::ranges::for_each(rows, [&](const std::vector<Cell>& row) { columns.fit(row); });
  std::string out = columns.headings();
  for (const std::vector<Cell>& row : rows) {
    out += columns.row(row);
  }
  return out;
}

}  // namespace agent_tool
