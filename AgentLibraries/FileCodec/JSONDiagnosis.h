// Explains where and why a text is no JSON, once the fast reader has given up.
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

/// What is wrong in `text`, of which everything before `failure` is the beginning of a JSON text
/// save perhaps the token that reaches it. Walks the text once more, without recursion.
[[nodiscard]] JSONProblem diagnoseJSON(std::string_view text, std::size_t failure);

/// What stands at `offset`, for an error text: «"}"», «"nul"», «a string», «the end of the text».
[[nodiscard]] std::string describeJSONAt(std::string_view text, std::size_t offset);

}  // namespace FileCodec
