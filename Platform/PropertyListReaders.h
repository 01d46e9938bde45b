// The readers behind parsePropertyList, one per form. Internal.
#pragma once
#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"

namespace platform {

/// Arrays and dictionaries inside each other, counting the outermost.
inline constexpr std::size_t kMaximumPropertyListDepth = 512;

inline constexpr std::chrono::sys_days kPropertyListEpoch{std::chrono::year(2001) / 1 / 1};

/// Each reads one whole property list of its form and throws a `PropertyListError`.
[[nodiscard]] PropertyList readXMLPropertyList(std::string_view bytes);
[[nodiscard]] PropertyList readBinaryPropertyList(std::string_view bytes);
[[nodiscard]] PropertyList readOldStylePropertyList(std::string_view bytes);

/// `text` in double quotation marks on one line, in an error message cut to a readable length.
[[nodiscard]] std::string quotedExcerpt(std::string_view text);

}  // namespace platform
