#include "AgentTool/JSON/JSONFields.h"

namespace agent_tool {
using FileCodec::DecodingError;
using FileCodec::JSONObject;
using LogCore::text;

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

std::string JSONPlace::path() const {
  const std::string own = member.empty() ? text('[', index, ']') : FileCodec::nameInPlace(member);
  return around == nullptr ? own : around->path() + " › " + own;
}

void rejectValue(const JSONValue& value, const JSONPlace& place, std::string expected) {
  throw DecodingError({}, place.path(), std::move(expected), describeFound(value));
}

void rejectMissing(std::string_view member, const JSONPlace* place) {
  throw DecodingError({}, place == nullptr ? "" : place->path(), text("the member \"", member, '"'),
                      "none");
}

DecodingError notJSON(const FileCodec::JSONReading& reading) {
  const bool hasPlace = reading.outcome == FileCodec::JSONOutcome::syntaxError;
  return {{}, hasPlace ? text("column ", reading.column) : "", reading.expected, reading.found};
}

bool isPresent(const JSONValue& value, JSONValue::Type type, const JSONPlace& place) {
  if (!value.isNull() && value.type() != type) {
    rejectValue(value, place,
                type == JSONValue::Type::array ? "an array or null" : "an object or null");
  }
  return !value.isNull();
}

JSONObject schemaOfType(std::string_view type, bool orNull) {
  const std::string name = FileCodec::jsonString(type);
  return JSONObject().addJSON("type", orNull ? text('[', name, R"(,"null"])") : name);
}

bool JSONForm<bool>::parse(const JSONValue& value, bool& into) {
  const std::optional<bool> flag = value.boolean();
  into = flag.value_or(into);
  return flag.has_value();
}

bool JSONForm<std::string>::parse(const JSONValue& value, std::string& into) {
  const std::optional<std::string_view> text = value.string();
  if (text) {
    into = *text;
  }
  return text.has_value();
}

}  // namespace agent_tool
