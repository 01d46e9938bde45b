// Facts about the machine: processor type, macOS version, preferred languages.
#pragma once
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform {

/// True on Apple silicon, even if this process is being translated. Linux is asked about its own
/// processor, unless /System/Library/CoreServices/Processor says "arm64" or "x86_64", as in a
/// simulated Mac; macOS reads no such file.
[[nodiscard]] bool isAppleSilicon();

/// The macOS product version, such as "14.5", whatever SDK the program was built with; absent when
/// none of its sources can be read.
[[nodiscard]] std::optional<std::string> macOSProductVersion();

/// The user's preferred languages, best first, as language tags («en-US»); may be empty. On
/// Linux from LANGUAGE, LC_ALL, LC_MESSAGES and LANG.
[[nodiscard]] std::vector<std::string> preferredLanguages();
/// The best of them; absent without any.
[[nodiscard]] inline std::optional<std::string> preferredLanguage() {
  std::vector<std::string> languages = preferredLanguages();
  return languages.empty() ? std::nullopt : std::optional(std::move(languages.front()));
}

}  // namespace platform
