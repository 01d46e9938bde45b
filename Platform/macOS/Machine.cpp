#include "Platform/Machine.h"

#include <sys/sysctl.h>

#include <array>
#include <cstddef>

#include "Platform/Posix/SystemVersion.h"
#include "Platform/macOS/Conversions.h"

namespace platform {

bool isAppleSilicon() {
  // Asks about the hardware, because a translated process sees an Intel processor.
  int answer = 0;
  std::size_t size = sizeof answer;
  return ::sysctlbyname("hw.optional.arm64", &answer, &size, nullptr, 0) == 0 && answer != 0;
}

std::optional<std::string> productVersionFromKernel() {
  std::array<char, 64> version{};
  std::size_t size = version.size() - 1;  // the last byte stays NUL
  if (::sysctlbyname("kern.osproductversion", version.data(), &size, nullptr, 0) != 0 ||
      version.front() == '\0') {
    return std::nullopt;
  }
  return version.data();
}

std::vector<std::string> preferredLanguages() {
  std::vector<std::string> tags;
  const Owned<CFArrayRef> languages(CFLocaleCopyPreferredLanguages());
  const CFIndex count = languages ? CFArrayGetCount(languages.get()) : 0;
  for (CFIndex index = 0; index < count; ++index) {
    if (auto tag = textOf(CFArrayGetValueAtIndex(languages.get(), index)); tag && !tag->empty()) {
      tags.push_back(*std::move(tag));
    }
  }
  return tags;
}

}  // namespace platform
