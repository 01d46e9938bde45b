// Texts and values of Core Foundation as ours, and texts the other way.
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

/// The text in UTF-8, with «?» for what has no such form (half a surrogate pair); absent for null
/// and for an object that is no text.
[[nodiscard]] std::optional<std::string> textOf(CFTypeRef object);

/// The number as an integer; absent for null, for an object that is no number, and for a number
/// that is not whole.
[[nodiscard]] std::optional<std::int64_t> integerOf(CFTypeRef object);

/// The object as a property list. What has no such form (an object of another type, a dictionary
/// with a key that is no text, null) becomes the text that describes it.
[[nodiscard]] PropertyList propertyListOf(CFTypeRef object);

}  // namespace platform
