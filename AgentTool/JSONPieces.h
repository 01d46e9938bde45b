// Pieces of JSON that several answers of the tool are made of.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/FileCodec/JSONText.h"
#include "AgentLibraries/LogCore/Text.h"

namespace agent_tool {

/// `["a","b"]`
template <typename Texts>
[[nodiscard]] std::string jsonList(const Texts& texts) {
  std::string out = "[";
  for (std::string_view separator; const auto& text : texts) {
    out += separator;
    FileCodec::appendJSONString(out, text);
    separator = ",";
  }
  return out += ']';
}

/// `{"key":"value"}`
template <typename Map>
[[nodiscard]] std::string jsonMap(const Map& map) {
  std::string out = "{";
  for (std::string_view separator; const auto& [key, value] : map) {
    out += LogCore::text(separator, FileCodec::jsonString(key), ':', FileCodec::jsonString(value));
    separator = ",";
  }
  return out += '}';
}

/// `"text"` or `null`.
[[nodiscard]] inline std::string jsonOptional(const std::optional<std::string>& text) {
  return text ? FileCodec::jsonString(*text) : "null";
}

}  // namespace agent_tool
