// Property lists and JSON as text, written from a scenario's settings.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

[[nodiscard]] std::string escapedForXML(std::string_view text);
/// `<dict>…</dict>`. Values become integers or booleans where they look like one, else strings;
/// double quotes around a value make it a string.
[[nodiscard]] std::string plistDictionary(const std::vector<Setting>& settings);
/// A whole XML property list around `content`.
[[nodiscard]] std::string plistDocument(std::string_view content);
/// A settings file: the text under the key "content", or else the settings as a dictionary.
[[nodiscard]] std::string plistFile(const Section& section);

/// A JSON string literal; for text without control characters.
[[nodiscard]] std::string quotedForJSON(std::string_view text);

}  // namespace simulated_mac
