// Explains where and why text isn't valid JSON, after the fast reader has failed.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace FileCodec {

struct JSONProblem {
  std::size_t offset = 0;
  std::string expected;
  std::string found;
};

/// What is wrong in `text`, which is valid up to `failure` except perhaps for the token that ends
/// there. Scans the text again, without recursion.
[[nodiscard]] JSONProblem diagnoseJSON(std::string_view text, std::size_t failure);

/// What is at `offset`, for an error message: «"}"», «"nul"», «a string», «the end of the text».
[[nodiscard]] std::string describeJSONAt(std::string_view text, std::size_t offset);

}  // namespace FileCodec
