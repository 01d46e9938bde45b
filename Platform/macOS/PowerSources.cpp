#include "Platform/PowerSources.h"

#include <IOKit/ps/IOPowerSources.h>

#include "Platform/macOS/Conversions.h"

namespace platform {

std::vector<PropertyList> powerSources() {
  std::vector<PropertyList> sources;
  const Owned<CFTypeRef> information(IOPSCopyPowerSourcesInfo());
  if (!information) {
    return sources;
  }
  const Owned<CFArrayRef> list(IOPSCopyPowerSourcesList(information.get()));
  const CFIndex count = list ? CFArrayGetCount(list.get()) : 0;
  for (CFIndex index = 0; index < count; ++index) {
    const CFTypeRef source = CFArrayGetValueAtIndex(list.get(), index);
    const CFTypeRef description = IOPSGetPowerSourceDescription(information.get(), source);
    sources.push_back(propertyListOf(description != nullptr ? description : source));
  }
  return sources;
}

}  // namespace platform
