// Why a file can't be used: which file, where in it, what was expected and found.
#pragma once
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace FileCodec {

/// `what()` is one line: "<file>: <place>: expected <expected>, found <found>". The place is
/// "line 3, column 7" for a syntax error, the path of members such as "PatchActions › 310872 ›
/// 2005 › [0]" for a wrong type, empty when the file as a whole is meant (then left out). Control
/// characters, which a path or a name may hold, stand in the line as escapes. For a file that can't
/// be read `expected()` is empty, `found()` says why, and the line is "<file>: <found>".
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

/// A member's name as it stands in a place: control characters as escapes, and of a name of more
/// than 200 bytes only the characters that fit into them, with "…".
[[nodiscard]] std::string nameInPlace(std::string_view name);

}  // namespace FileCodec
