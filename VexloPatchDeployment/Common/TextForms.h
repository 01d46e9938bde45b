// Formatting of lists, maps and optional values for log lines.
#pragma once
#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/FileCodec/JSONText.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Text.h"

namespace vexlo {

/// `["a", "b"]`; an empty list is `[]`. Strings are not escaped.
template <typename Texts>
[[nodiscard]] std::string listText(const Texts& texts) {
  const auto quoted = [](std::string_view element) { return LogCore::text('"', element, '"'); };
  return '[' + platform::joined(texts, ", ", quoted) + ']';
}

/// `["a", "b \"c\""]`: like `listText`, but with quotes, backslashes and control characters
/// escaped. For lines whose format isn't prescribed.
template <typename Texts>
[[nodiscard]] std::string escapedListText(const Texts& texts) {
  return '[' + platform::joined(texts, ", ", FileCodec::jsonString) + ']';
}

/// `["key": "value"]`; an empty map is `[:]`.
template <typename Map>
[[nodiscard]] std::string mapText(const Map& map) {
  const auto shown = [](const auto& entry) {
    return LogCore::text('"', entry.first, "\": \"", entry.second, '"');
  };
  return map.empty() ? "[:]" : '[' + platform::joined(map, ", ", shown) + ']';
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
