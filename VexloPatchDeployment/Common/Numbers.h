// Reads integers from texts and computes with numbers that come from outside.
#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace vexlo {

/// Reads `text` as a base-10 signed 64-bit integer: an optional sign, then digits only. Absent
/// for an empty text, a lone sign, any other character (blanks included) or overflow.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text) noexcept;

/// The product, or the nearest value that fits.
[[nodiscard]] std::int64_t saturatingProduct(std::int64_t a, std::int64_t b) noexcept;
/// The sum, or the nearest value that fits.
[[nodiscard]] std::int64_t saturatingSum(std::int64_t a, std::int64_t b) noexcept;
/// `a` less `b`, or the nearest value that fits.
[[nodiscard]] std::int64_t saturatingDifference(std::int64_t a, std::int64_t b) noexcept;

}  // namespace vexlo
