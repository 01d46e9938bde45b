// Formatting of lists, maps and optional values for log lines.
#pragma once
#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/FileCodec/JSONText.h"
#include "AgentLibraries/LogCore/Text.h"

namespace vexlo {

/// `["a", "b"]`; an empty list is `[]`. Strings are not escaped.
template <typename Texts>
[[nodiscard]] std::string listText(const Texts& texts) {
  std::string out = "[";
  for (std::string_view separator; const auto& element : texts) {
    out += LogCore::text(separator, '"', std::string_view(element), '"');
    separator = ", ";
  }
  return out += ']';
}

/// `["a", "b \"c\""]`: like `listText`, but with quotes, backslashes and control characters
/// escaped. For lines whose format isn't prescribed.
template <typename Texts>
[[nodiscard]] std::string escapedListText(const Texts& texts) {
  std::string out = "[";
  for (std::string_view separator; const auto& element : texts) {
    out += LogCore::text(separator, FileCodec::jsonString(element));
    separator = ", ";
  }
  return out += ']';
}

/// `["key": "value"]`; an empty map is `[:]`.
template <typename Map>
[[nodiscard]] std::string mapText(const Map& map) {
  std::string out = "[";
  for (std::string_view separator; const auto& [key, value] : map) {
    out += LogCore::text(separator, '"', key, "\": \"", value, '"');
    separator = ", ";
  }
  return out += map.empty() ? ":]" : "]";
}

/// `Optional("text")`, or `nil` when absent.
[[nodiscard]] inline std::string optionalText(const std::optional<std::string>& value) {
  return value ? LogCore::text("Optional(\"", *value, "\")") : "nil";
}

/// `Optional(501)`, or `nil` when absent.
template <std::integral Number>
[[nodiscard]] std::string optionalText(const std::optional<Number>& value) {
  return value ? LogCore::text("Optional(", *value, ')') : "nil";
}

}  // namespace vexlo
