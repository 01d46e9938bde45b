// Finds the word that was probably meant.
#pragma once
#include <span>
#include <string_view>

namespace agent_tool {

/// The one of `words` that `written` differs least from, upper and lower case aside: in at most two
/// letters (added, dropped, exchanged, or next to each other in the wrong order), and fewer than a
/// third of the word's. Empty when there is none.
[[nodiscard]] std::string_view wordNear(std::string_view written,
                                        std::span<const std::string_view> words);

}  // namespace agent_tool
