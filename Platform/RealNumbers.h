// Real numbers to text and back, independent of the locale.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Parses the whole text: an optional minus sign, then decimal or scientific notation or «inf»,
/// «infinity» or «nan» in any letter case. Absent for anything else and for numbers out of range.
[[nodiscard]] std::optional<double> parseReal(std::string_view text);

/// The shortest text, in decimal or scientific notation, that `parseReal` reads as the same number.
[[nodiscard]] std::string shortestText(double number);

/// The number in decimal notation, rounded to this many decimal places.
[[nodiscard]] std::string decimalText(double number, int places);

}  // namespace platform
