// A decoding error: the file, the position, what was expected and what was found.
#pragma once
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace FileCodec {

/// `what()` is one line: "<file>: <place>: expected <expected>, found <found>". The place is "line
/// 3, column 7" for a syntax error and the path of members, such as "PatchActions › 310872 › 2005 ›
/// [0]", for a wrong type. If it is empty, the error is about the whole file and the place is left
/// out. Control characters are escaped. For a file that can't be read `expected()` is empty,
/// `found()` says why, and the line is "<file>: <found>".
class DecodingError : public std::runtime_error {
 public:
  DecodingError(std::string file, std::string place, std::string expected, std::string found);

  [[nodiscard]] const std::string& file() const noexcept { return file_; }
  [[nodiscard]] const std::string& place() const noexcept { return place_; }
  [[nodiscard]] const std::string& expected() const noexcept { return expected_; }
  [[nodiscard]] const std::string& found() const noexcept { return found_; }

 private:
  std::string file_;
  std::string place_;
  std::string expected_;
  std::string found_;
};

/// A member's name for use in a place: control characters are escaped, and a name of more than 200
/// bytes is shortened to whole characters and "…".
[[nodiscard]] std::string nameInPlace(std::string_view name);

}  // namespace FileCodec
