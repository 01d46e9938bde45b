// Converts the values of facts to and from JSON, and to readable text.
#pragma once
#include <chrono>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Facts/FactsRecord.h"
#include "AgentTool/Facts/JSONMembers.h"
#include "AgentTool/Facts/PropertyListJSON.h"

namespace agent_tool {

// Writing. An absent value is null.

[[nodiscard]] inline std::string asJSON(const std::string& value) {
  return FileCodec::jsonString(value);
}
[[nodiscard]] std::string asJSON(std::same_as<bool> auto flag) { return flag ? "true" : "false"; }
template <std::integral Number>
  requires(!std::same_as<Number, bool>)
[[nodiscard]] std::string asJSON(Number number) {
  return LogCore::text(number);
}
[[nodiscard]] inline std::string asJSON(std::chrono::seconds duration) {
  return LogCore::text(duration.count());
}
/// "2026-11-24T10:11:12Z"
[[nodiscard]] std::string asJSON(platform::Moment time);
[[nodiscard]] std::string asJSON(const vexlo::PowerSource& source);
[[nodiscard]] std::string asJSON(vxutils::EnrollmentType type);
[[nodiscard]] std::string asJSON(const SettingsFile& file);
[[nodiscard]] std::string asJSON(const ApplicationInstance& instance);
[[nodiscard]] std::string asJSON(const vexlo::AvailableOSUpdate& update);

template <typename Value>
[[nodiscard]] std::string asJSON(const std::vector<Value>& values) {
  std::vector<std::string> elements;
  elements.reserve(values.size());
  for (const Value& value : values) {
    elements.push_back(asJSON(value));
  }
  return FileCodec::jsonArray(elements);
}
template <typename Value>
[[nodiscard]] std::string asJSON(const std::optional<Value>& value) {
  return value ? asJSON(*value) : "null";
}

// Reading. Each sets `into`, or throws `FileCodec::DecodingError` if the value has the wrong type.
// Strings are views of the line.

inline void take(const JSONValue& value, const JSONPlace& place, bool& into) {
  into = takeBoolean(value, place);
}
inline void take(const JSONValue& value, const JSONPlace& place, std::int64_t& into) {
  into = takeInteger(value, place);
}
inline void take(const JSONValue& value, const JSONPlace& place, std::int32_t& into) {
  into = takeInteger<std::int32_t>(value, place, "signed 32-bit");
}
inline void take(const JSONValue& value, const JSONPlace& place, std::uint32_t& into) {
  into = takeInteger<std::uint32_t>(value, place, "unsigned 32-bit");
}
inline void take(const JSONValue& value, const JSONPlace& place, std::string_view& into) {
  into = takeString(value, place);
}
inline void take(const JSONValue& value, const JSONPlace& place,
                 std::optional<std::string_view>& into) {
  into = takeOptionalString(value, place);
}
/// Null counts as 0.
inline void take(const JSONValue& value, const JSONPlace& place, std::chrono::seconds& into) {
  into = std::chrono::seconds(value.isNull() ? 0 : takeInteger(value, place));
}
void take(const JSONValue& value, const JSONPlace& place, std::optional<platform::Moment>& into);
void take(const JSONValue& value, const JSONPlace& place, vexlo::PowerSource& into);
void take(const JSONValue& value, const JSONPlace& place, vxutils::EnrollmentType& into);
void take(const JSONValue& value, const JSONPlace& place, std::vector<std::string_view>& into);
void take(const JSONValue& value, const JSONPlace& place, RecordedSettings& into);
void take(const JSONValue& value, const JSONPlace& place, RecordedInstance& into);
void take(const JSONValue& value, const JSONPlace& place, RecordedUpdate& into);

template <typename Value>
void take(const JSONValue& value, const JSONPlace& place, std::optional<Value>& into) {
  into.reset();
  if (!value.isNull()) {
    take(value, place, into.emplace());
  }
}

// Readable text, printable.

[[nodiscard]] std::string forPeople(std::same_as<bool> auto flag) { return flag ? "yes" : "no"; }
template <std::integral Number>
  requires(!std::same_as<Number, bool>)
[[nodiscard]] std::string forPeople(Number number) {
  return LogCore::text(number);
}
[[nodiscard]] std::string forPeople(const std::string& text);
[[nodiscard]] std::string forPeople(const std::vector<std::string>& texts);
[[nodiscard]] std::string forPeople(platform::Moment time);
[[nodiscard]] std::string forPeople(const vexlo::PowerSource& source);
[[nodiscard]] std::string forPeople(vxutils::EnrollmentType type);
[[nodiscard]] std::string forPeople(const ApplicationInstance& instance);

}  // namespace agent_tool
