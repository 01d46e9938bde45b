// A table of text columns; the last column gets the remaining width.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Console/Console.h"

namespace agent_tool {

struct Cell {
  std::string text;  ///< Only printable characters.
  Style style = Style::plain;
};

/// A table whose columns are as wide as their widest cell. The last one is wrapped if standard
/// output is a terminal and too narrow.
class Columns {
 public:
  /// `headings` are the first row, at least one.
  Columns(const Console& console, const std::vector<std::string>& headings);
  /// Makes the columns wide enough for the cells of a row, or of its beginning. Call this before
  /// making rows.
  void fit(const std::vector<Cell>& cells);

  /// The headings, as one or more lines.
  [[nodiscard]] std::string headings() const { return row(headings_); }
  /// One row, as one or more lines; `cells` has one cell per heading.
  [[nodiscard]] std::string row(const std::vector<Cell>& cells) const;

 private:
  const Console& console_;
  std::vector<Cell> headings_;
  std::vector<std::size_t> widths_;
};

/// `text`, in ASCII, behind as many spaces as fill the width.
[[nodiscard]] std::string rightAligned(std::string text, std::size_t width);

/// A whole table: the headings and the rows, as wide as needed.
[[nodiscard]] std::string tableText(const Console& console,
                                    const std::vector<std::string>& headings,
                                    const std::vector<std::vector<Cell>>& rows);

}  // namespace agent_tool
