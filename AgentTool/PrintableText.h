// Texts for people: nothing in them can steer a terminal.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PrintableText.h"

namespace agent_tool {

using platform::printable;

/// `printable`, in quotation marks; those in `text`, and backslashes, are escaped.
[[nodiscard]] std::string inQuotes(std::string_view text);

/// How many columns of a terminal a printable text takes.
[[nodiscard]] std::size_t displayWidth(std::string_view printableText);

/// Cuts a printable text into lines of at most `width` columns (1 at least), after blanks where
/// there are any. One empty line for an empty text.
[[nodiscard]] std::vector<std::string> wrapped(std::string_view printableText, std::size_t width);

/// Texts joined for people: `20, com.apple.Safari, ""`; a text that could be misread is quoted.
template <typename Texts>
[[nodiscard]] std::string joinedForPeople(const Texts& texts);

/// Whether `joinedForPeople` puts `text` in quotation marks.
[[nodiscard]] bool needsQuotes(std::string_view text);

template <typename Texts>
std::string joinedForPeople(const Texts& texts) {
  std::string out;
  for (std::string_view separator; const auto& text : texts) {
    out += separator;
    out += needsQuotes(text) ? agent_tool::inQuotes(text) : printable(text);
    separator = ", ";
  }
  return out;
}

}  // namespace agent_tool
