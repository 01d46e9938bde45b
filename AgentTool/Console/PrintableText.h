// Text for display, without terminal control sequences.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PrintableText.h"

namespace agent_tool {

using platform::printable;

/// `printable` text in quotes; quotes and backslashes in `text` are escaped.
[[nodiscard]] std::string inQuotes(std::string_view text);

/// The number of terminal columns that a printable text takes.
[[nodiscard]] std::size_t displayWidth(std::string_view printableText);

/// Wraps a printable text to lines of at most `width` columns (at least 1), at spaces if possible.
/// An empty text is one empty line.
[[nodiscard]] std::vector<std::string> wrapped(std::string_view printableText, std::size_t width);

/// «1,234,567»
[[nodiscard]] std::string grouped(std::uint64_t number);

/// A string of a list for display, as in `20, com.apple.Safari, ""`; an ambiguous one is in quotes.
[[nodiscard]] std::string listed(std::string_view text);

}  // namespace agent_tool
