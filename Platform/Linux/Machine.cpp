#include "Platform/Machine.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>
#include <ranges>
#include <string_view>

#include "Platform/Files.h"
#include "Platform/Posix/SystemVersion.h"

namespace platform {
namespace {

/// What a Mac made of files says about its processor: «arm64» or «x86_64».
constexpr const char* kProcessorFile = "/System/Library/CoreServices/Processor";

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view{} : std::string_view{value};
}

/// Converts «en_US.UTF-8@euro» to «en-US»; empty for locales without a language.
std::string languageTag(std::string_view locale) {
  std::string tag(locale.substr(0, locale.find_first_of(".@")));
  if (tag == "C" || tag == "POSIX") {
    return {};
  }
  std::ranges::replace(tag, '_', '-');
  return tag;
}

void add(std::vector<std::string>& tags, std::string_view locale) {
  std::string tag = languageTag(locale);
  if (!tag.empty() && std::ranges::find(tags, tag) == tags.end()) {
    tags.push_back(std::move(tag));
  }
}

}  // namespace

bool isAppleSilicon() {
  if (const auto named = readFile(kProcessorFile, {.maximumBytes = 16})) {
    return named->starts_with("arm64");
  }
  utsname machine{};
  if (::uname(&machine) != 0) {
    return false;
  }
  const std::string_view kind = machine.machine;
  return kind == "arm64" || kind == "aarch64";
}

std::optional<std::string> productVersionFromKernel() { return std::nullopt; }  // this isn't macOS

std::vector<std::string> preferredLanguages() {
  std::vector<std::string> tags;
  for (const auto locale : std::views::split(environment("LANGUAGE"), ':')) {
    add(tags, std::string_view(locale));
  }
  // Only the first locale variable that is set counts.
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const std::string_view locale = environment(name); !locale.empty()) {
      add(tags, locale);
      break;
    }
  }
  return tags;
}

}  // namespace platform
