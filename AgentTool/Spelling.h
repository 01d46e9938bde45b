// Suggests corrections for misspelled words.
#pragma once
#include <span>
#include <string_view>

namespace agent_tool {

/// The closest of `words` to `written`, ignoring case: with at most two letters added, dropped,
/// replaced or swapped with a neighbour, and fewer than a third of the word's. Empty if there is
/// none.
[[nodiscard]] std::string_view wordNear(std::string_view written,
                                        std::span<const std::string_view> words);

}  // namespace agent_tool
