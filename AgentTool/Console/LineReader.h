// Reads lines of a file or of standard input in bounded memory.
#pragma once
#include <atomic>
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

/// A file of any kind that is open for reading, or standard input.
class LineSource {
 public:
  /// Throws `std::system_error` if the file can't be opened.
  explicit LineSource(const std::string& path);
  [[nodiscard]] int descriptor() const noexcept;
  /// For messages: the path, or «standard input».
  [[nodiscard]] const std::string& name() const noexcept { return name_; }

 private:
  std::string name_;
  platform::Descriptor file_;  // empty for standard input
};

/// Reads a file, pipe or terminal. Blank lines are skipped, and the rest of too long ones.
class LineReader {
 public:
  struct Line {
    std::string_view text;     ///< Without its line feed; truncated if the line is too long.
    std::uint64_t number = 0;  ///< From 1.
    bool isTooLong = false;
  };

  /// `descriptor` remains the caller's. `beforeWait` is called before a read that would block.
  LineReader(int descriptor, std::size_t longestLine, std::function<void()> beforeWait);

  /// The next line that isn't blank; absent at the end. The last line may lack a line feed. Valid
  /// until the next call. Throws `std::system_error` on read errors.
  [[nodiscard]] std::optional<Line> next();

  /// Bytes read so far; thread-safe.
  [[nodiscard]] std::uint64_t bytesRead() const noexcept { return bytesRead_; }

 private:
  std::optional<Line> nextOfAll();
  /// Reads more; returns false at the end.
  bool fill();
  void skipRestOfLine();

  int descriptor_;
  std::size_t longestLine_;
  std::function<void()> beforeWait_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // of the bytes read but not returned
  std::size_t end_ = 0;
  bool restIsSkipped_ = false;  // the current line was already returned as too long
  std::uint64_t number_ = 0;
  std::atomic<std::uint64_t> bytesRead_ = 0;
};

}  // namespace agent_tool
