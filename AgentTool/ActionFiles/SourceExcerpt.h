// Shows a position in a text.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace agent_tool {

struct LineAndColumn {
  std::size_t line;    ///< From 1.
  std::size_t column;  ///< In bytes, from 1.
};

/// Computes lines and columns in one pass for non-decreasing offsets.
class LineCounter {
 public:
  explicit LineCounter(std::string_view text) : text_(text) {}
  /// `offset` must not be smaller than in the previous call.
  [[nodiscard]] LineAndColumn at(std::size_t offset);

 private:
  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t lineStart_ = 0;
  std::size_t line_ = 1;
};

/// The line of the `length` bytes at `offset`, and a line of markers below them, both at most
/// `width` columns wide and printable.
[[nodiscard]] std::string sourceExcerpt(std::string_view text, std::size_t offset,
                                        std::size_t length, std::size_t width);

}  // namespace agent_tool
