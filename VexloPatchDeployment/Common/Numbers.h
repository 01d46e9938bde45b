// Parsing and saturating arithmetic for untrusted numbers.
#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace vexlo {

/// Parses `text` as a decimal signed 64-bit integer: an optional sign, then digits only. Absent for
/// an empty string, a lone sign, any other character (including white space) or overflow.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text) noexcept;

/// The product, or the nearest value that fits.
[[nodiscard]] std::int64_t saturatingProduct(std::int64_t a, std::int64_t b) noexcept;
/// The sum, or the nearest value that fits.
[[nodiscard]] std::int64_t saturatingSum(std::int64_t a, std::int64_t b) noexcept;
/// The difference, or the nearest value that fits.
[[nodiscard]] std::int64_t saturatingDifference(std::int64_t a, std::int64_t b) noexcept;

}  // namespace vexlo
