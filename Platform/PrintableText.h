// Makes text safe to show: nothing in it can forge a line or steer a terminal.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

enum class Tabs : std::uint8_t { escaped, kept };

/// `text` with control characters, line separators, invisible marks that reorder what stands beside
/// them, and bytes that are no UTF-8 written as escapes (`\n`, `\u001b`, `\xff`). The answer is one
/// line of UTF-8; letters of any script stay as they are.
[[nodiscard]] std::string printable(std::string_view text, Tabs tabs = Tabs::escaped);

}  // namespace platform
