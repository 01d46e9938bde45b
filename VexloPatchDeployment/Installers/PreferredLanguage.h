// The user's language for log lines.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "Platform/Machine.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {

/// The first of the user's preferred languages as an optional text: Optional("en-US"), or nil.
[[nodiscard]] inline std::string preferredLanguageText() {
  const std::vector<std::string> languages = platform::preferredLanguages();
  return optionalText(languages.empty() ? std::optional<std::string>() : languages.front());
}

}  // namespace vexlo
