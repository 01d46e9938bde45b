// Lays rows out in columns; the last column takes what room there is.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Console.h"

namespace agent_tool {

struct Cell {
  std::string text;  ///< Printable.
  Style style = Style::plain;
};

/// A table whose columns, all but the last, are as wide as their widest text. The last one is
/// wrapped where standard output is a terminal and too narrow for it.
class Columns {
 public:
  /// `headings` are the first row; there is one at least.
  Columns(const Console& console, std::vector<std::string> headings);
  /// Makes `column` wide enough for `text`. To be called before rows are made.
  void fit(std::size_t column, std::string_view text);

  /// The headings as a line, or lines.
  [[nodiscard]] std::string headings() const;
  /// One row as a line, or lines; a cell for each heading.
  [[nodiscard]] std::string row(const std::vector<Cell>& cells) const;

 private:
  const Console& console_;
  std::vector<std::string> headings_;
  std::vector<std::size_t> widths_;
};

}  // namespace agent_tool
