// Makes text safe to show: it can't forge a line or control a terminal.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

enum class Tabs : std::uint8_t { escaped, kept };

/// Whether `printable` escapes the character: control characters, line separators, and invisible
/// marks that reorder or hide adjacent text.
[[nodiscard]] bool isUnprintable(char32_t codePoint) noexcept;

/// Escapes control characters, line separators, invisible marks that reorder adjacent text, and
/// bytes that aren't UTF-8 (`\n`, `\u001b`, `\xff`). Returns one line of UTF-8; letters of any
/// script are unchanged.
[[nodiscard]] std::string printable(std::string_view text, Tabs tabs = Tabs::escaped);

}  // namespace platform
