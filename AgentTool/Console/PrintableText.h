// Text for display, without terminal control sequences.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PrintableText.h"
#include "Platform/Text.h"

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

/// Whether `joinedReadably` quotes `text`.
[[nodiscard]] bool needsQuotes(std::string_view text);

/// Joins strings for display: `20, com.apple.Safari, ""`; ambiguous ones are quoted.
template <typename Texts>
[[nodiscard]] std::string joinedReadably(const Texts& texts) {
  return platform::joined(texts, ", ", [](std::string_view text) {
    return needsQuotes(text) ? inQuotes(text) : printable(text);
  });
}

}  // namespace agent_tool
