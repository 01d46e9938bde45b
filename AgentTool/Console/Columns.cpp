#include "AgentTool/Console/Columns.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "AgentTool/Console/PrintableText.h"

namespace agent_tool {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 16;  // narrower columns are unreadable

}  // namespace

Columns::Columns(const Console& console, std::vector<std::string> headings)
    : console_(console), headings_(std::move(headings)) {
  for (const std::string& heading : headings_) {
    widths_.push_back(displayWidth(heading));
  }
}

void Columns::fit(std::size_t column, std::string_view text) {
  widths_[column] = std::max(widths_[column], displayWidth(text));
}

std::string Columns::headings() const {
  std::vector<Cell> cells;
  cells.reserve(headings_.size());
  for (const std::string& heading : headings_) {
    cells.push_back({heading, Style::bold});
  }
  return row(cells);
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
  const bool fits = console_.width() > indentation + kNarrowest;
  const std::size_t room =
      fits ? console_.width() - indentation : std::numeric_limits<std::size_t>::max();
  std::string out;
  for (const std::string& piece : wrapped(cells.back().text, room)) {
    out += line + console_.styled(piece, cells.back().style);
    out.resize(out.find_last_not_of(' ') + 1);
    out += '\n';
    line.assign(indentation, ' ');
  }
  return out;
}

std::string tableText(const Console& console, std::vector<std::string> headings,
                      const std::vector<std::vector<Cell>>& rows) {
  Columns columns(console, std::move(headings));
  for (const std::vector<Cell>& row : rows) {
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {  // the last one is wrapped
      columns.fit(column, row[column].text);
    }
  }
  std::string out = columns.headings();
  for (const std::vector<Cell>& row : rows) {
    out += columns.row(row);
  }
  return out;
}

}  // namespace agent_tool
