// Owns what Core Foundation's Create and Copy functions return.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

namespace platform {

struct Release {
  void operator()(CFTypeRef object) const noexcept { CFRelease(object); }
};

/// Owns one reference to an object and releases it; may be null.
template <typename Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;

}  // namespace platform
