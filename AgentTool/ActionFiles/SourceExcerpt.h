// Shows a position in a text.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace agent_tool {

/// The line of the `length` bytes at `offset`, and a line of markers below them, both at most
/// `width` columns wide and printable.
[[nodiscard]] std::string sourceExcerpt(std::string_view source, std::size_t offset,
                                        std::size_t length, std::size_t width);

}  // namespace agent_tool
