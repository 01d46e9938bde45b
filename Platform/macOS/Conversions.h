// Conversions from Core Foundation values, and of strings in both directions.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyList.h"
#include "Platform/macOS/Owned.h"

namespace platform {

/// Null when `text` is not UTF-8.
[[nodiscard]] Owned<CFStringRef> coreFoundationText(std::string_view text);

/// The string in UTF-8, with «?» for unpaired surrogates; absent for null and for objects that
/// aren't strings.
[[nodiscard]] std::optional<std::string> textOf(CFTypeRef object);

/// The number as an integer; absent for null and for anything but whole numbers.
[[nodiscard]] std::optional<std::int64_t> integerOf(CFTypeRef object);

/// The object as a property list. What can't be converted (an object of another type, a dictionary
/// with a key that isn't a string, null) becomes its description.
[[nodiscard]] PropertyList propertyListOf(CFTypeRef object);

}  // namespace platform
