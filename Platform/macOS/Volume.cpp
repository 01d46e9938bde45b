#include "Platform/Volume.h"

#include "Platform/macOS/Conversions.h"

namespace platform {

std::expected<std::optional<std::int64_t>, std::string> availableCapacity(const std::string& path) {
  const Owned<CFURLRef> volume(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
      static_cast<CFIndex>(path.size()), static_cast<Boolean>(path.ends_with('/'))));
  if (!volume) {
    return std::unexpected("there is no volume at this path");
  }
  CFTypeRef value = nullptr;
  CFErrorRef error = nullptr;
  const bool good = CFURLCopyResourcePropertyForKey(volume.get(), kCFURLVolumeAvailableCapacityKey,
                                                    static_cast<void*>(&value), &error) != 0;
  const Owned<CFTypeRef> capacity(value);
  const Owned<CFErrorRef> failure(error);
  if (!good) {
    const Owned<CFStringRef> reason(failure ? CFErrorCopyDescription(failure.get()) : nullptr);
    return std::unexpected(textOf(reason.get()).value_or("The system gives no reason"));
  }
  return integerOf(capacity.get());
}

}  // namespace platform
