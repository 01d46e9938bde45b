// The readers behind parsePropertyList, one per format. Internal.
#pragma once
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"

namespace platform {

/// Nested arrays and dictionaries, counting the outermost.
inline constexpr std::size_t kMaximumPropertyListDepth = 512;

inline constexpr std::chrono::sys_days kPropertyListEpoch{std::chrono::year(2001) / 1 / 1};

/// Limits how many values a reader creates.
class ValueBudget {
 public:
  explicit ValueBudget(std::size_t most) : most_(most), left_(most) {}
  /// Counts one more value. False when there are too many.
  [[nodiscard]] bool take() noexcept {
    const bool isLeft = left_ > 0;
    left_ -= isLeft ? 1 : 0;
    return isLeft;
  }
  /// For error messages: "at most 16384 values".
  [[nodiscard]] std::string expected() const {
    return "at most " + std::to_string(most_) + " values";
  }

 private:
  std::size_t most_;
  std::size_t left_;
};

/// Each reads one whole property list of its format and throws `PropertyListError` on failure.
[[nodiscard]] PropertyList readXMLPropertyList(std::string_view bytes, ValueBudget budget);
[[nodiscard]] PropertyList readBinaryPropertyList(std::string_view bytes, ValueBudget budget);
[[nodiscard]] PropertyList readOldStylePropertyList(std::string_view bytes, ValueBudget budget);

/// `text` in double quotes, on one line and shortened for error messages.
[[nodiscard]] std::string quotedExcerpt(std::string_view text);

}  // namespace platform
