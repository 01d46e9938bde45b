#include "AgentTool/JSON/JSONFields.h"

#include <variant>

#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using FileCodec::JSONObject;
using LogCore::text;
using vexlo::Overloaded;

/// «null», «the integer 7», «"sun"», «an array»
std::string describe(const JSONValue& value) {
  return std::visit(
      Overloaded{
          [](std::nullptr_t) { return text("null"); }, [](bool flag) { return text(flag); },
          [](std::int64_t number) { return text("the integer ", number); },
          [](std::uint64_t) { return text("an integer beyond the signed 64-bit range"); },
          [](double) { return text("a real number"); },
          [](std::string_view string) { return text('"', FileCodec::nameInPlace(string), '"'); },
          [](JSONValue::Array) { return text("an array"); },
          [](JSONValue::Object) { return text("an object"); }},
      value.content());
}

}  // namespace

std::string JSONPlace::path() const {
  if (around == nullptr) {
    return {};
  }
  const std::string outer = around->path();
  return text(outer, outer.empty() ? "" : " › ",
              member.empty() ? text('[', index, ']') : FileCodec::nameInPlace(member));
}

void rejectValue(const JSONValue& value, const JSONPlace& place, std::string_view expected) {
  throw DecodingError({}, place.path(), text(expected, place.orNull ? " or null" : ""),
                      describe(value));
}

void rejectMissing(std::string_view member, const JSONPlace& place) {
  throw DecodingError({}, place.path(), text("the member \"", member, '"'), "none");
}

const JSONValue& rootObject(JSONDocument& document, std::string_view text) {
  const auto root = document.read(text);
  if (!root) {
    const FileCodec::JSONReading& reading = root.error();
    const bool hasPlace = reading.outcome == FileCodec::JSONOutcome::syntaxError;
    throw DecodingError({}, hasPlace ? LogCore::text("column ", reading.column) : "",
                        reading.expected, reading.found);
  }
  if ((*root)->type() != JSONValue::Type::object) {
    rejectValue(**root, {}, "an object");
  }
  return **root;
}

bool isPresent(const JSONValue& value, JSONValue::Type type, JSONPlace place) {
  if (!value.isNull() && value.type() != type) {
    place.orNull = true;
    rejectValue(value, place, type == JSONValue::Type::array ? "an array" : "an object");
  }
  return !value.isNull();
}

JSONObject schemaOfType(std::string_view type, bool orNull) {
  const std::string name = FileCodec::jsonString(type);
  return JSONObject().addJSON("type", orNull ? text('[', name, R"(,"null"])") : name);
}

}  // namespace agent_tool
