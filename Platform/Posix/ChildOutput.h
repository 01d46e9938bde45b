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
  using Scratch = std::array<char, kLongestPiece + kReadBytes>;

  Reading readKept(const Descriptor& pipe, std::size_t& most);
  Reading readDropped(const Descriptor& pipe, std::size_t& most);
  void startDropping();
  void deliver(std::string_view piece) const;
  void reportLines(std::string_view buffer);

  std::size_t limit_;
  const OnLine& onLine_;
  const OnOutput& onOutput_;
  std::string kept_;
  std::unique_ptr<Scratch> scratch_;  // only once the limit is reached
  bool dropping_ = false;
  std::size_t filled_ = 0;     // of scratch_
  std::size_t lineStart_ = 0;  // in the buffer that is read into
  std::size_t searched_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace platform
