// The user's language for log lines.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "Platform/Machine.h"

namespace vexlo {

/// The first of the user's preferred languages, «en-US»; absent without any.
[[nodiscard]] inline std::optional<std::string> preferredLanguage() {
  std::vector<std::string> languages = platform::preferredLanguages();
  return languages.empty() ? std::optional<std::string>() : std::move(languages.front());
}

}  // namespace vexlo
