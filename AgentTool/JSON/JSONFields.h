// Reads, writes and describes typed values in JSON. A structure lists its members once, in
// `JSONFields`; errors name the member and what was expected.
#pragma once
#include <algorithm>
#include <array>
#include <bitset>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/JSON/JSONDocument.h"
#include "Platform/Text.h"

namespace agent_tool {

/// The place of a value, from the inside out; formatted only for errors.
struct JSONPlace {
  const JSONPlace* around = nullptr;  ///< Null for the document.
  std::string_view member = {};       ///< Empty for an element.
  std::size_t index = 0;              ///< Of an element.
  bool orNull = false;                ///< Whether null is expected as well.

  /// «applications › com.apple.mail › [1]»
  [[nodiscard]] std::string path() const;
};

/// Throws `FileCodec::DecodingError`, without a file: at `place`, `expected` was expected.
[[noreturn]] void rejectValue(const JSONValue& value, const JSONPlace& place,
                              std::string_view expected);
/// Throws that the object at `place` lacks a member.
[[noreturn]] void rejectMissing(std::string_view member, const JSONPlace& place);

/// How a type is represented in JSON:
///   `static void read(const JSONValue&, const JSONPlace&, Value&)`, which replaces the value,
///   reusing its memory, and throws like `rejectValue`,
///   `static std::string write(const Value&)`,
///   `static FileCodec::JSONObject schema(bool orNull)`, the beginning of a JSON Schema, and
///   `static std::string typeName()`, in documents: «string».
template <typename Value>
struct JSONForm;

/// A member of `Record` in JSON.
template <typename Record>
struct JSONField {
  std::string_view name;
  /// Null for an informative member, which is not read.
  void (*read)(const JSONValue& value, const JSONPlace& place, Record& record) = nullptr;
  /// Sets the default; for a member that is missing or null.
  void (*clear)(Record& record) = nullptr;
  /// Empty for a member to omit.
  std::string (*write)(const Record& record) = nullptr;
  FileCodec::JSONObject (*schema)(bool orNull) = nullptr;
  std::string (*typeName)() = nullptr;
  std::string_view meaning = {};
  bool isNeeded = false;  ///< An object without it is an error.
};

/// Specializations list the fields of a structure: `static constexpr std::array list`.
template <typename Record>
struct JSONFields;

/// The name of a structure's type in documents.
template <typename Record>
constexpr std::string_view kRecordTypeName = "object";

template <typename Value>
[[nodiscard]] std::string asJSON(const Value& value) {
  return JSONForm<Value>::write(value);
}

template <typename Record, typename Value>
struct MemberOf {
  using record = Record;
  using value = Value;
};
template <typename Record, typename Value>
MemberOf<Record, Value> memberOf(Value Record::* member);  // for its type only

/// The field that is stored in `member`, of `Record` or of its base.
template <auto member, typename Record = decltype(memberOf(member))::record>
[[nodiscard]] constexpr JSONField<Record> field(std::string_view name,
                                                std::string_view meaning = {}) {
  using Value = decltype(memberOf(member))::value;
  using Form = JSONForm<Value>;
  return {.name = name,
          .read = [](const JSONValue& value, const JSONPlace& place,
                     Record& record) { Form::read(value, place, record.*member); },
          .clear = [](Record& record) { record.*member = Value(); },
          .write = [](const Record& record) { return Form::write(record.*member); },
          .schema = Form::schema,
          .typeName = Form::typeName,
          .meaning = meaning};
}

template <typename Field>
[[nodiscard]] constexpr Field needed(Field field) {
  field.isNeeded = true;
  return field;
}
/// The field for readers other than this tool, which recomputes it.
template <typename Field>
[[nodiscard]] constexpr Field informative(Field field) {
  field.read = nullptr;
  return field;
}

/// Reads an object's members in any order, the last of duplicates; unknown ones are ignored. Null
/// counts as missing, unless the member is needed.
template <typename Record>
void readFields(const JSONValue& object, const JSONPlace& place, Record& record) {
  static constexpr const auto& kFields = JSONFields<Record>::list;
  std::bitset<kFields.size()> seen;
  std::size_t next = 0;  // members are nearly always in the list's order
  object.forEachMember([&](std::string_view name, const JSONValue& member) {
    for (std::size_t step = 0; step < kFields.size(); ++step) {
      const std::size_t index = (next + step) % kFields.size();
      const auto& field = kFields[index];
      if (field.name == name) {
        next = index + 1;
        seen[index] = field.read != nullptr && (!member.isNull() || field.isNeeded);
        if (seen[index]) {
          field.read(member, {.around = &place, .member = name}, record);
        }
        break;
      }
    }
  });
  for (std::size_t index = 0; index < kFields.size(); ++index) {
    const auto& field = kFields[index];
    if (!seen[index] && field.isNeeded) {
      rejectMissing(field.name, place);
    }
    if (!seen[index] && field.clear != nullptr) {
      field.clear(record);
    }
  }
}

/// The object that is a whole text. Throws like `rejectValue`; the place of a syntax error is
/// «column 7».
[[nodiscard]] const JSONValue& rootObject(JSONDocument& document, std::string_view text);

/// Reads a JSON text with `document`, which is reused, into a structure and returns it. Errors name
/// no file; the structure's content is unspecified then.
template <typename Record>
[[nodiscard]] std::expected<Record*, FileCodec::DecodingError> readDocument(JSONDocument& document,
                                                                            std::string_view text,
                                                                            Record& record) try {
  readFields(rootObject(document, text), {}, record);
  return &record;
} catch (FileCodec::DecodingError& error) {
  return std::unexpected(std::move(error));
}

/// `{"type":"string"` or `{"type":["string","null"]`.
[[nodiscard]] FileCodec::JSONObject schemaOfType(std::string_view type, bool orNull);

/// The properties of a structure's fields, as members of a JSON Schema.
template <typename Record>
[[nodiscard]] FileCodec::JSONObject schemaOfFields(FileCodec::JSONObject schema) {
  FileCodec::JSONObject properties;
  std::vector<std::string_view> required;
  for (const auto& field : JSONFields<Record>::list) {
    FileCodec::JSONObject property = field.schema(!field.isNeeded);
    if (!field.meaning.empty()) {
      property.addString("description", field.meaning);
    }
    properties.addJSON(field.name, property.done());
    if (field.isNeeded) {
      required.push_back(field.name);
    }
  }
  if (!required.empty()) {
    schema.addJSON("required", FileCodec::jsonList(required));
  }
  return schema.addJSON("properties", properties.done());
}

// The types

/// The value, which must have that type.
template <typename Type>
[[nodiscard]] Type required(const JSONValue& value, const JSONPlace& place,
                            std::string_view expected) {
  const std::optional<Type> held = value.get<Type>();
  if (!held) [[unlikely]] {
    rejectValue(value, place, expected);
  }
  return *held;
}

template <>
struct JSONForm<bool> {
  static void read(const JSONValue& value, const JSONPlace& place, bool& into) {
    into = required<bool>(value, place, "true or false");
  }
  static std::string write(bool flag) { return flag ? "true" : "false"; }
  static FileCodec::JSONObject schema(bool orNull) { return schemaOfType("boolean", orNull); }
  static std::string typeName() { return "Boolean"; }
};

/// 64-bit unsigned integers are counts, which stay below the limit of signed ones.
template <std::integral Number>
struct JSONForm<Number> {
  static void read(const JSONValue& value, const JSONPlace& place, Number& into) {
    const std::optional<std::int64_t> number = value.get<std::int64_t>();
    if (!number || !std::in_range<Number>(*number)) [[unlikely]] {
      rejectValue(value, place,
                  std::same_as<Number, std::uint64_t>
                      ? "a count"
                      : LogCore::text("an integer of the ", std::is_signed_v<Number> ? "" : "un",
                                      "signed ", sizeof(Number) * 8, "-bit range"));
    }
    into = static_cast<Number>(*number);
  }
  static std::string write(Number number) { return LogCore::text(number); }
  static FileCodec::JSONObject schema(bool orNull) {
    FileCodec::JSONObject schema = schemaOfType("integer", orNull);
    if (sizeof(Number) < sizeof(std::int64_t) || std::is_unsigned_v<Number>) {
      schema.addJSON("minimum", LogCore::text(std::numeric_limits<Number>::min()));
      schema.addJSON("maximum", LogCore::text(std::numeric_limits<Number>::max()));
    }
    return schema;
  }
  static std::string typeName() { return "integer"; }
};

template <>
struct JSONForm<std::string> {
  static void read(const JSONValue& value, const JSONPlace& place, std::string& into) {
    into = required<std::string_view>(value, place, "a string");
  }
  static std::string write(const std::string& text) { return FileCodec::jsonString(text); }
  static FileCodec::JSONObject schema(bool orNull) { return schemaOfType("string", orNull); }
  static std::string typeName() { return "string"; }
};

/// Specializations list an enumeration's values: `static constexpr` `list`, whose rows have a
/// `value` and a `name`.
template <typename Enumeration>
struct JSONNames;

/// A row that has nothing else.
template <typename Enumeration>
struct NamedValue {
  Enumeration value;
  std::string_view name;
};
template <typename Enumeration>  // older compilers don't deduce it for an aggregate
NamedValue(Enumeration, std::string_view) -> NamedValue<Enumeration>;

template <typename Enumeration>
[[nodiscard]] constexpr const auto& rowOf(Enumeration value) {
  return *std::ranges::find_if(JSONNames<Enumeration>::list,
                               [&](const auto& row) { return row.value == value; });
}
template <typename Enumeration>
[[nodiscard]] constexpr std::string_view nameOf(Enumeration value) {
  return rowOf(value).name;
}

template <typename Enumeration>
  requires requires { JSONNames<Enumeration>::list; }
struct JSONForm<Enumeration> {
  static constexpr const auto& kNames = JSONNames<Enumeration>::list;

  static void read(const JSONValue& value, const JSONPlace& place, Enumeration& into) {
    const auto text = value.get<std::string_view>();
    const auto found =
        std::ranges::find_if(kNames, [&](const auto& row) { return row.name == text; });
    if (found == kNames.end()) [[unlikely]] {
      std::string expected;
      for (const auto& row : kNames) {
        expected += expected.empty() ? "\"" : &row == &kNames.back() ? "\" or \"" : "\", \"";
        expected += row.name;
      }
      rejectValue(value, place, expected + '"');
    }
    into = found->value;
  }
  static std::string write(Enumeration value) { return FileCodec::jsonString(nameOf(value)); }
  static FileCodec::JSONObject schema(bool orNull) {
    const std::string names = platform::joined(
        kNames, ",", [](const auto& row) { return FileCodec::jsonString(row.name); });
    return FileCodec::JSONObject().addJSON("enum",
                                           LogCore::text('[', names, orNull ? ",null]" : "]"));
  }
  static std::string typeName() { return "string"; }
};

template <typename Value>
struct JSONForm<std::optional<Value>> {
  using Form = JSONForm<Value>;

  static void read(const JSONValue& value, JSONPlace place, std::optional<Value>& into) {
    if (value.isNull()) {
      into.reset();
    } else {
      place.orNull = true;
      Form::read(value, place, into ? *into : into.emplace());
    }
  }
  static std::string write(const std::optional<Value>& value) {
    return value ? Form::write(*value) : "null";
  }
  static FileCodec::JSONObject schema(bool /*orNull*/) { return Form::schema(true); }
  static std::string typeName() { return Form::typeName() + " or null"; }
};

/// Throws unless the value has the type or is null; returns whether it is present.
bool isPresent(const JSONValue& value, JSONValue::Type type, JSONPlace place);

template <typename Value>
struct JSONForm<std::vector<Value>> {
  static void read(const JSONValue& value, const JSONPlace& place, std::vector<Value>& into) {
    std::size_t count = 0;
    if (isPresent(value, JSONValue::Type::array, place)) {
      value.forEachElement([&](const JSONValue& element) {
        Value& next = count < into.size() ? into[count] : into.emplace_back();
        JSONForm<Value>::read(element, {.around = &place, .index = count}, next);
        ++count;
      });
    }
    into.resize(count);
  }
  static std::string write(const std::vector<Value>& values) {
    return FileCodec::jsonArray(values, JSONForm<Value>::write);
  }
  static FileCodec::JSONObject schema(bool orNull) {
    return schemaOfType("array", orNull).addJSON("items", JSONForm<Value>::schema(false).done());
  }
  static std::string typeName() { return "array of " + JSONForm<Value>::typeName() + 's'; }
};

template <typename Value>
struct JSONForm<std::map<std::string, Value, std::less<>>> {
  using Map = std::map<std::string, Value, std::less<>>;

  static void read(const JSONValue& value, const JSONPlace& place, Map& into) {
    Map former = std::exchange(into, {});  // successive objects often have the same names
    if (isPresent(value, JSONValue::Type::object, place)) {
      value.forEachMember([&](std::string_view name, const JSONValue& member) {
        const auto known = former.find(name);
        const auto entry = known == former.end() ? into.emplace_hint(into.end(), name, Value())
                                                 : into.insert(into.end(), former.extract(known));
        JSONForm<Value>::read(member, {.around = &place, .member = name}, entry->second);
      });
    }
  }
  static std::string write(const Map& map) {
    FileCodec::JSONObject object;
    for (const auto& [name, value] : map) {
      object.addJSON(name, JSONForm<Value>::write(value));
    }
    return object.done();
  }
  static FileCodec::JSONObject schema(bool orNull) {
    return schemaOfType("object", orNull)
        .addJSON("additionalProperties", JSONForm<Value>::schema(false).done());
  }
  static std::string typeName() {
    return std::same_as<Value, std::string> ? "object of strings" : "object";
  }
};

template <typename Record>
  requires requires { JSONFields<Record>::list; }
struct JSONForm<Record> {
  static void read(const JSONValue& value, const JSONPlace& place, Record& into) {
    if (isPresent(value, JSONValue::Type::object, place)) {
      readFields(value, place, into);
    } else {
      into = Record();
    }
  }
  static std::string write(const Record& record) {
    FileCodec::JSONObject object;
    for (const auto& field : JSONFields<Record>::list) {
      if (const std::string value = field.write(record); !value.empty()) {
        object.addJSON(field.name, value);
      }
    }
    return object.done();
  }
  static FileCodec::JSONObject schema(bool orNull) {
    return schemaOfFields<Record>(schemaOfType("object", orNull));
  }
  static std::string typeName() { return std::string(kRecordTypeName<Record>); }
};

/// A member with the number of the format's version, for which another is rejected.
template <typename Record, std::int64_t version>
[[nodiscard]] constexpr JSONField<Record> formatVersion(std::string_view name,
                                                        std::string_view meaning = {}) {
  return {.name = name,
          .read =
              [](const JSONValue& value, const JSONPlace& place, Record& /*record*/) {
                if (value.get<std::int64_t>() != version) {
                  rejectValue(value, place, LogCore::text("the version ", version));
                }
              },
          .write = [](const Record& /*record*/) { return LogCore::text(version); },
          .schema =
              [](bool /*orNull*/) {
                return FileCodec::JSONObject().addJSON("const", LogCore::text(version));
              },
          .typeName = JSONForm<std::int64_t>::typeName,
          .meaning = meaning,
          .isNeeded = true};
}

}  // namespace agent_tool
