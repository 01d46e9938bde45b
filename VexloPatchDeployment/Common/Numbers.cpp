#include "VexloPatchDeployment/Common/Numbers.h"

#include <limits>

#include "Platform/Text.h"

namespace vexlo {

std::optional<std::int64_t> parseInteger(std::string_view text) noexcept {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) {
      return std::nullopt;
    }
  }
  return platform::wholeNumber<std::int64_t>(text);
}

std::int64_t saturatingProduct(std::int64_t a, std::int64_t b) noexcept {
  std::int64_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) {
    return (a < 0) == (b < 0) ? std::numeric_limits<std::int64_t>::max()
                              : std::numeric_limits<std::int64_t>::min();
  }
  return product;
}

std::int64_t saturatingSum(std::int64_t a, std::int64_t b) noexcept {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) {
    return a > 0 ? std::numeric_limits<std::int64_t>::max()
                 : std::numeric_limits<std::int64_t>::min();
  }
  return sum;
}

std::int64_t saturatingDifference(std::int64_t a, std::int64_t b) noexcept {
  std::int64_t difference = 0;
  if (__builtin_sub_overflow(a, b, &difference)) {
    return a >= 0 ? std::numeric_limits<std::int64_t>::max()
                  : std::numeric_limits<std::int64_t>::min();
  }
  return difference;
}

}  // namespace vexlo
