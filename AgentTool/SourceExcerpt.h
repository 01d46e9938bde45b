// Shows where something stands in a text.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace agent_tool {

struct LineAndColumn {
  std::size_t line;    ///< From 1.
  std::size_t column;  ///< In bytes, from 1.
};

/// Finds lines and columns; for offsets that don't fall, in one pass over the text.
class LineCounter {
 public:
  explicit LineCounter(std::string_view text) : text_(text) {}
  /// Of an offset that is no smaller than the one before.
  [[nodiscard]] LineAndColumn at(std::size_t offset);

 private:
  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t lineStart_ = 0;
  std::size_t line_ = 1;
};

/// The line in which the `length` bytes at `offset` begin, and below it marks under them: two
/// lines of at most `width` columns, the first one printable.
[[nodiscard]] std::string sourceExcerpt(std::string_view text, std::size_t offset,
                                        std::size_t length, std::size_t width);

}  // namespace agent_tool
