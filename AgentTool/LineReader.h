// Reads lines from a descriptor in bounded memory.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace agent_tool {

/// Reads a file, pipe or terminal as it comes. A line that is too long is told of and skipped.
class LineReader {
 public:
  struct Line {
    std::string_view text;     ///< Without its line feed; its beginning when the line is too long.
    std::uint64_t number = 0;  ///< From 1.
    bool isTooLong = false;
  };

  /// `descriptor` stays the caller's. `beforeWait` is called whenever the next read would wait.
  LineReader(int descriptor, std::size_t longestLine, std::function<void()> beforeWait);

  /// The next line, the last one with or without a line feed; absent at the end. The text lives
  /// until the next call. Throws `std::system_error` when the descriptor can't be read.
  [[nodiscard]] std::optional<Line> next();

  /// Bytes read so far; for other threads too.
  [[nodiscard]] std::uint64_t bytesRead() const noexcept { return bytesRead_; }

 private:
  /// Reads some more; false at the end.
  bool fill();
  void skipRestOfLine();

  int descriptor_;
  std::size_t longestLine_;
  std::function<void()> beforeWait_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // of what has been read but not returned
  std::size_t end_ = 0;
  bool restIsSkipped_ = false;  // the line that begins there was returned as too long
  std::uint64_t number_ = 0;
  std::atomic<std::uint64_t> bytesRead_ = 0;
};

}  // namespace agent_tool
