// Writes JSON objects and arrays.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "AgentLibraries/FileCodec/JSONText.h"
#include "Platform/Text.h"

namespace FileCodec {

/// Builds a JSON object; members are in the order of the calls.
class JSONObject {
 public:
  JSONObject() { out_.reserve(kUsualBytes); }

  /// Adds a string, a number or a Boolean; null if it is absent.
  JSONObject& addString(std::string_view name, std::optional<std::string_view> value) {
    if (!value) {
      return addJSON(name, "null");
    }
    appendJSONString(member(name), *value);
    return *this;
  }
  JSONObject& addNumber(std::string_view name, std::optional<std::int64_t> value) {
    return addJSON(name, value ? std::to_string(*value) : "null");
  }
  JSONObject& addBoolean(std::string_view name, std::optional<bool> value) {
    return addJSON(name, !value ? "null" : *value ? "true" : "false");
  }
  /// Adds a member whose value is already JSON.
  JSONObject& addJSON(std::string_view name, std::string_view value) {
    member(name) += value;
    return *this;
  }
  /// The object, which is empty afterwards.
  [[nodiscard]] std::string done() { return out_.empty() ? "{}" : std::exchange(out_ += '}', {}); }

 private:
  static constexpr std::size_t kUsualBytes = 128;

  /// Begins a member, whose value is to be appended to the result.
  std::string& member(std::string_view name) {
    out_ += out_.empty() ? '{' : ',';
    appendJSONString(out_, name);
    return out_ += ':';
  }

  std::string out_;
};

/// An array of values that are already JSON, or of what `jsonOf` makes of them.
template <typename Values, typename JSONOf = std::identity>
[[nodiscard]] std::string jsonArray(const Values& values, const JSONOf& jsonOf = {}) {
  return '[' + platform::joined(values, ",", jsonOf) + ']';
}

/// `["a","b"]`
template <typename Texts>
[[nodiscard]] std::string jsonList(const Texts& texts) {
  return jsonArray(texts, jsonString);
}

/// `{"key":"value"}`
template <typename Map>
[[nodiscard]] std::string jsonMap(const Map& map) {
  JSONObject object;
  for (const auto& [key, value] : map) {
    object.addString(key, value);
  }
  return object.done();
}

}  // namespace FileCodec
