#include "VexloPatchDeployment/Common/Numbers.h"

#include <algorithm>
#include <limits>

#include "Platform/Text.h"

namespace vexlo {
namespace {

__extension__ using Wide = __int128;  // no operation on two 64-bit numbers overflows

std::int64_t nearest(Wide exact) noexcept {
  using Limits = std::numeric_limits<std::int64_t>;
  return static_cast<std::int64_t>(std::clamp<Wide>(exact, Limits::min(), Limits::max()));
}

}  // namespace

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
  return nearest(Wide{a} * b);
}

std::int64_t saturatingSum(std::int64_t a, std::int64_t b) noexcept { return nearest(Wide{a} + b); }

std::int64_t saturatingDifference(std::int64_t a, std::int64_t b) noexcept {
  return nearest(Wide{a} - b);
}

}  // namespace vexlo
