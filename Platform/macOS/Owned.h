// Owns what Core Foundation's Create and Copy functions return.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace platform {

/// Owns one reference to an object and releases it; may be null.
template <typename Reference>
class Owned {
 public:
  Owned() = default;
  /// Takes over the caller's reference.
  explicit Owned(Reference object) noexcept : object_(object) {}
  Owned(Owned&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Owned& operator=(Owned&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Owned() {
    if (object_ != nullptr) {
      CFRelease(object_);
    }
  }
  [[nodiscard]] Reference get() const noexcept { return object_; }
  [[nodiscard]] explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
  Reference object_ = nullptr;
};

/// Retains an object that is owned elsewhere.
template <typename Reference>
Owned<Reference> retained(Reference object) {
  if (object != nullptr) {
    CFRetain(object);
  }
  return Owned(object);
}

}  // namespace platform
