// Suggests corrections for misspelled words.
#pragma once
#include <span>
#include <string_view>

namespace agent_tool {

/// The closest of `words` to `written`, ignoring case, that differs by at most two added, dropped,
/// replaced or swapped letters, and by fewer than a third of its letters. Empty if there is none.
[[nodiscard]] std::string_view closestWord(std::string_view written,
                                           std::span<const std::string_view> words);

}  // namespace agent_tool
