#include "Platform/Posix/SystemVersion.h"

#include <thread>

#include "Platform/Files.h"
#include "Platform/Machine.h"
#include "Platform/PropertyList.h"
#include "Platform/TransientError.h"

namespace platform {
namespace {

constexpr std::uint64_t kLargestVersionFile = std::uint64_t{1} << 20;
constexpr int kTries = 5;
constexpr std::chrono::milliseconds kPause{200};

}  // namespace

std::optional<std::string> productVersionFrom(const std::vector<std::string>& files,
                                              const Sleeper& sleep) {
  for (const std::string& file : files) {
    auto bytes = readFile(file, {.maximumBytes = kLargestVersionFile});
    for (int tries = 1; tries < kTries && !bytes && isTransient(bytes.error().code); ++tries) {
      sleep(kPause);
      bytes = readFile(file, {.maximumBytes = kLargestVersionFile});
    }
    const auto list = bytes ? parsePropertyList(*bytes) : PropertyList();
    const PropertyList* version = list ? list->find("ProductVersion") : nullptr;
    const auto* text = version == nullptr ? nullptr : version->as<std::string>();
    if (text != nullptr) {
      return *text;
    }
  }
  return std::nullopt;
}

std::optional<std::string> macOSProductVersion() {
  // For programs built with an SDK older than 26, macOS 26 answers 16.0 when they read
  // SystemVersion.plist or ask the kernel. It doesn't change the first file.
  const std::string folder = "/System/Library/CoreServices/";
  auto version =
      productVersionFrom({folder + ".SystemVersionPlatform.plist", folder + "SystemVersion.plist"},
                         [](auto pause) { std::this_thread::sleep_for(pause); });
  return version ? std::move(version) : productVersionFromKernel();
}

}  // namespace platform
