// Real numbers as text and back, whatever the locale.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The number that the whole text is, with an optional minus sign, in decimal or scientific form,
/// or «inf», «infinity» or «nan» in any letter case; absent for anything else and for a number out
/// of range.
[[nodiscard]] std::optional<double> parseReal(std::string_view text);

/// The shortest text that `parseReal` reads as the same number, in decimal or scientific form.
[[nodiscard]] std::string shortestText(double number);

/// The number in decimal form, rounded to so many places behind the point.
[[nodiscard]] std::string decimalText(double number, int places);

}  // namespace platform
