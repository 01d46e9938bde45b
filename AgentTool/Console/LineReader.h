// Reads lines of a file or of standard input in bounded memory.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Descriptor.h"

namespace agent_tool {

/// The name of a file that stands for standard input.
constexpr std::string_view kStandardInputName = "-";

/// Reads a file, pipe or terminal. Blank lines are skipped, and the rest of too long ones.
class LineReader {
 public:
  struct Line {
    std::string_view text;     ///< Without its line feed; truncated if the line is too long.
    std::uint64_t number = 0;  ///< From 1.
    bool isTooLong = false;
  };

  /// Opens a file of any kind. `beforeWait` is called before a read that would block. Throws
  /// `std::system_error`, which names it, if the file can't be opened.
  LineReader(
      const std::string& path, std::size_t longestLine, std::function<void()> beforeWait = [] {});

  /// For messages: the path, or «standard input».
  [[nodiscard]] const std::string& name() const noexcept { return name_; }

  /// The next line that isn't blank; absent at the end. The last line may lack a line feed. Valid
  /// until the next call. Throws `std::system_error` on read errors.
  [[nodiscard]] std::optional<Line> next();

  /// Bytes read so far.
  [[nodiscard]] std::uint64_t bytesRead() const noexcept { return bytesRead_; }

 private:
  /// Reads more; returns false at the end.
  bool fill();

  std::string name_;
  platform::Descriptor file_;  // empty for standard input
  std::size_t longestLine_;
  std::function<void()> beforeWait_;
  std::vector<char> buffer_;
  std::string_view unread_;     // the bytes in the buffer that were not returned
  bool restIsSkipped_ = false;  // the current line was already returned as too long
  std::uint64_t number_ = 0;
  std::uint64_t bytesRead_ = 0;
};

}  // namespace agent_tool
