// The output of a child process: stored up to a limit and reported as it arrives and line by line.
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Descriptor.h"

namespace platform {

/// Reads a child's output. Output beyond the limit is dropped, but its lines are still reported.
class ChildOutput {
 public:
  using OnLine = std::function<void(std::string_view line)>;
  using OnOutput = std::function<void(std::string_view piece)>;

  /// `onLine` and `onOutput`, which may be empty, must outlive the object.
  ChildOutput(std::size_t limit, const OnLine& onLine, const OnOutput& onOutput)
      : limit_(limit), onLine_(onLine), onOutput_(onOutput) {}

  enum class Reading : std::uint8_t { some, nothingYet, ended };

  /// Calls read() once, for at most `most` bytes, and subtracts what it read from `most`.
  Reading readFrom(const Descriptor& pipe, std::size_t& most);

  /// Reports an unfinished last line and returns the stored output.
  [[nodiscard]] std::string finish();

  static constexpr std::size_t kReadBytes = std::size_t{64} * 1024;     ///< A pipe's capacity.
  static constexpr std::size_t kLongestPiece = std::size_t{64} * 1024;  ///< Longer lines are split.

 private:
  using Buffer = std::array<char, kLongestPiece + kReadBytes>;

  void keep(std::string_view piece);
  void reportLines(std::size_t added);

  std::size_t limit_;
  const OnLine& onLine_;
  const OnOutput& onOutput_;
  std::string kept_;
  std::uint64_t dropped_ = 0;
  std::unique_ptr<Buffer> buffer_ = std::make_unique_for_overwrite<Buffer>();
  std::size_t unfinished_ = 0;  // the length of the unfinished line at the buffer's start
};

}  // namespace platform
