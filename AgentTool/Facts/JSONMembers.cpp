#include "AgentTool/Facts/JSONMembers.h"

#include <utility>

#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentLibraries/LogCore/Text.h"

namespace agent_tool {

using FileCodec::DecodingError;
using LogCore::text;

std::string JSONPlace::path() const {
  const std::string own = member.empty() ? text('[', index, ']') : FileCodec::nameInPlace(member);
  return around == nullptr ? own : around->path() + " › " + own;
}

std::string describeFound(const JSONValue& value) {
  switch (value.type()) {
    case JSONValue::Type::null:
      return "null";
    case JSONValue::Type::boolean:
      return value.boolean().value_or(false) ? "true" : "false";
    case JSONValue::Type::integer:
      return text("the integer ", value.integer().value_or(0));
    case JSONValue::Type::unsignedInteger:
      return "an integer beyond the signed 64-bit range";
    case JSONValue::Type::real:
      return "a real number";
    case JSONValue::Type::string:
      return text('"', FileCodec::nameInPlace(value.string().value_or("")), '"');
    case JSONValue::Type::array:
      return "an array";
    case JSONValue::Type::object:
      return "an object";
  }
  std::unreachable();
}

void reject(const JSONValue& value, const JSONPlace& place, std::string expected) {
  throw DecodingError({}, place.path(), std::move(expected), describeFound(value));
}

bool takeBoolean(const JSONValue& value, const JSONPlace& place) {
  const auto flag = value.boolean();
  return flag ? *flag : (reject(value, place, "true or false"), false);
}

std::int64_t takeInteger(const JSONValue& value, const JSONPlace& place) {
  const auto number = value.integer();
  return number ? *number : (reject(value, place, "an integer of the signed 64-bit range"), 0);
}

std::string_view takeString(const JSONValue& value, const JSONPlace& place) {
  const auto string = value.string();
  return string ? *string : (reject(value, place, "a string"), std::string_view());
}

std::optional<std::string_view> takeOptionalString(const JSONValue& value, const JSONPlace& place) {
  if (!value.isNull() && value.type() != JSONValue::Type::string) {
    reject(value, place, "a string or null");
  }
  return value.string();
}

bool isPresent(const JSONValue& value, JSONValue::Type type, const JSONPlace& place) {
  if (!value.isNull() && value.type() != type) {
    reject(value, place, type == JSONValue::Type::array ? "an array or null" : "an object or null");
  }
  return !value.isNull();
}

DecodingError whyNoJSON(std::string_view whole) {
  FileCodec::IgnoredJSONEvents events;
  const FileCodec::JSONReading reading = FileCodec::readJSON(whole, events);
  switch (reading.outcome) {
    case FileCodec::JSONOutcome::syntaxError:
      return {{}, text("column ", reading.column), reading.expected, reading.found};
    case FileCodec::JSONOutcome::hugeExponent:
      return {{}, {}, "numbers of a usual size", "one with an exponent beyond all measure"};
    case FileCodec::JSONOutcome::complete:
    case FileCodec::JSONOutcome::stoppedByEvents:
      break;
  }
  return {{}, {}, "less nesting", "more than 64 levels"};
}

}  // namespace agent_tool
