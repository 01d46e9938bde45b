// The output of a child process: kept up to a limit, handed on line by line.
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

/// Reads a child's output. What exceeds the limit is read and dropped, but its lines are still
/// handed on, as views into the place where they were read.
class ChildOutput {
 public:
  using OnLine = std::function<void(std::string_view line)>;

  /// `onLine`, which may be empty, must outlive the object.
  ChildOutput(std::size_t limit, const OnLine& onLine) : limit_(limit), onLine_(onLine) {}

  enum class Reading : std::uint8_t { some, nothingYet, ended };

  /// Reads once, at most `most` bytes, and takes what it has read off `most`.
  Reading readFrom(const Descriptor& pipe, std::size_t& most);

  /// Hands on an unfinished last line and gives the kept output away.
  [[nodiscard]] std::string finish();

  static constexpr std::size_t kReadBytes = std::size_t{64} * 1024;     ///< What a pipe holds.
  static constexpr std::size_t kLongestPiece = std::size_t{64} * 1024;  ///< Of a line.

 private:
  using Scratch = std::array<char, kLongestPiece + kReadBytes>;

  Reading readKept(const Descriptor& pipe, std::size_t& most);
  Reading readDropped(const Descriptor& pipe, std::size_t& most);
  void startDropping();
  void handOnLines(std::string_view buffer);

  std::size_t limit_;
  const OnLine& onLine_;
  std::string kept_;
  std::unique_ptr<Scratch> scratch_;  // only once the limit is reached
  bool dropping_ = false;
  std::size_t filled_ = 0;     // of scratch_
  std::size_t lineStart_ = 0;  // in the buffer that is read into
  std::size_t searched_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace platform
