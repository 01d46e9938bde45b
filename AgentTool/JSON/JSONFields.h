// Reads, writes and describes typed values in JSON. A structure lists its members once, in
// `JSONFields`; errors name the member and what was expected.
#pragma once
#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
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

namespace agent_tool {

/// The place of a value, from the inside out; formatted only for errors.
struct JSONPlace {
  const JSONPlace* around = nullptr;
  std::string_view member;  ///< Empty for an element.
  std::size_t index = 0;    ///< Of an element.

  /// «applications › com.apple.mail › [1]»
  [[nodiscard]] std::string path() const;
};

/// Throws `FileCodec::DecodingError`, without a file: at `place`, `expected` was expected.
[[noreturn]] void rejectValue(const JSONValue& value, const JSONPlace& place, std::string expected);
/// Throws that the object at `place`, or the document if that is null, lacks a member.
[[noreturn]] void rejectMissing(std::string_view member, const JSONPlace* place);

/// What was found, for errors: «null», «the integer 7», «"sun"», «an array».
[[nodiscard]] std::string describeFound(const JSONValue& value);

/// The error for a text that `JSONDocument` rejects: «column 7: expected …», without a file.
[[nodiscard]] FileCodec::DecodingError notJSON(const FileCodec::JSONReading& reading);

/// How a type is represented in JSON. A simple type has
///   `static bool parse(const JSONValue&, Value&)`, which returns false for another type, and
///   `static std::string expected()`, for the error;
/// others have
///   `static void read(const JSONValue&, const JSONPlace&, Value&)`, which reuses the value's
///   memory and throws like `rejectValue`.
/// All have
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

/// Specializations list the fields of a structure, at most 64: `static constexpr std::array list`.
/// They may have a `typeName` of their own.
template <typename Record>
struct JSONFields;

template <typename Record>
concept HasJSONFields = requires { JSONFields<Record>::list; };

/// Sets a value to its default, keeping its memory where possible.
template <typename Value>
void clearValue(Value& value) {
  if constexpr (HasJSONFields<Value>) {
    for (const auto& field : JSONFields<Value>::list) {
      if (field.clear != nullptr) {
        field.clear(value);
      }
    }
  } else if constexpr (requires { value.clear(); }) {
    value.clear();
  } else {
    value = Value();
  }
}

template <typename Value>
void readValue(const JSONValue& value, const JSONPlace& place, Value& into) {
  if constexpr (requires { JSONForm<Value>::parse(value, into); }) {
    if (!JSONForm<Value>::parse(value, into)) [[unlikely]] {
      rejectValue(value, place, JSONForm<Value>::expected());
    }
  } else {
    JSONForm<Value>::read(value, place, into);
  }
}

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
  using Form = JSONForm<typename decltype(memberOf(member))::value>;
  return JSONField<Record>{
      .name = name,
      .read = [](const JSONValue& value, const JSONPlace& place,
                 Record& record) { readValue(value, place, record.*member); },
      .clear = [](Record& record) { clearValue(record.*member); },
      .write = [](const Record& record) { return Form::write(record.*member); },
      .schema = [](bool orNull) { return Form::schema(orNull); },
      .typeName = [] { return Form::typeName(); },
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
/// counts as missing, unless the member is needed. `place` is null for the document itself.
template <typename Record>
void readFields(const JSONValue& object, const JSONPlace* place, Record& record) {
  static constexpr const auto& kFields = JSONFields<Record>::list;
  static_assert(kFields.size() <= 64);
  std::uint64_t seen = 0;
  std::size_t next = 0;  // members are nearly always in the list's order
  object.forEachMember([&](std::string_view name, const JSONValue& member) {
    for (std::size_t step = 0; step < kFields.size(); ++step) {
      std::size_t index = next + step;
      index -= index >= kFields.size() ? kFields.size() : 0;
      const auto& field = kFields[index];
      if (field.name != name) {
        continue;
      }
      next = index + 1;
      if (field.read != nullptr && (!member.isNull() || field.isNeeded)) {
        field.read(member, {.around = place, .member = name}, record);
        seen |= std::uint64_t{1} << index;
      } else {
        seen &= ~(std::uint64_t{1} << index);
      }
      break;
    }
  });
  for (std::size_t index = 0; index < kFields.size(); ++index) {
    if ((seen >> index & 1U) == 0) {
      const auto& field = kFields[index];
      if (field.isNeeded) {
        rejectMissing(field.name, place);
      }
      if (field.clear != nullptr) {
        field.clear(record);
      }
    }
  }
}

/// Reads a JSON text with `document`, which is reused, into a structure. Returns what is wrong,
/// without a file; the structure's content is unspecified then.
template <typename Record>
[[nodiscard]] std::optional<FileCodec::DecodingError> readDocument(JSONDocument& document,
                                                                   std::string_view text,
                                                                   Record& record) {
  const auto root = document.read(text);
  if (!root) {
    return notJSON(root.error());
  }
  if ((*root)->type() != JSONValue::Type::object) {
    return FileCodec::DecodingError({}, {}, "an object", describeFound(**root));
  }
  try {
    readFields(**root, nullptr, record);
  } catch (FileCodec::DecodingError& error) {
    return std::move(error);
  }
  return std::nullopt;
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

template <>
struct JSONForm<bool> {
  static bool parse(const JSONValue& value, bool& into);
  static std::string expected() { return "true or false"; }
  static std::string write(bool flag) { return flag ? "true" : "false"; }
  static FileCodec::JSONObject schema(bool orNull) { return schemaOfType("boolean", orNull); }
  static std::string typeName() { return "Boolean"; }
};

/// 64-bit unsigned integers are counts, which stay below the limit of signed ones.
template <std::integral Number>
struct JSONForm<Number> {
  static bool parse(const JSONValue& value, Number& into) {
    const std::optional<std::int64_t> number = value.integer();
    if (!number || !std::in_range<Number>(*number)) {
      return false;
    }
    into = static_cast<Number>(*number);
    return true;
  }
  static std::string expected() {
    return std::same_as<Number, std::uint64_t>
               ? std::string("a count")
               : LogCore::text("an integer of the ", std::is_signed_v<Number> ? "" : "un",
                               "signed ", sizeof(Number) * 8, "-bit range");
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
  static bool parse(const JSONValue& value, std::string& into);
  static std::string expected() { return "a string"; }
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

template <typename Enumeration>
[[nodiscard]] constexpr std::string_view nameOf(Enumeration value) {
  return std::ranges::find_if(JSONNames<Enumeration>::list,
                              [&](const auto& row) { return row.value == value; })
      ->name;
}

template <typename Enumeration>
  requires requires { JSONNames<Enumeration>::list; }
struct JSONForm<Enumeration> {
  static constexpr const auto& kNames = JSONNames<Enumeration>::list;

  static bool parse(const JSONValue& value, Enumeration& into) {
    const auto found = std::ranges::find(kNames, value.string(), [](const auto& row) {
      return std::optional<std::string_view>(row.name);
    });
    if (found == kNames.end()) {
      return false;
    }
    into = found->value;
    return true;
  }
  static std::string expected() {
    std::string out;
    for (const auto& row : kNames) {
      out += out.empty() ? "\"" : &row == &kNames.back() ? "\" or \"" : "\", \"";
      out += row.name;
    }
    return out + '"';
  }
  static std::string write(Enumeration value) { return FileCodec::jsonString(nameOf(value)); }
  static FileCodec::JSONObject schema(bool orNull) {
    std::vector<std::string> names;
    names.reserve(std::size(kNames) + 1);
    for (const auto& row : kNames) {
      names.push_back(FileCodec::jsonString(row.name));
    }
    if (orNull) {
      names.emplace_back("null");
    }
    return FileCodec::JSONObject().addJSON("enum", FileCodec::jsonArray(names));
  }
  static std::string typeName() { return "string"; }
};

template <typename Value>
struct JSONForm<std::optional<Value>> {
  using Form = JSONForm<Value>;

  static void read(const JSONValue& value, const JSONPlace& place, std::optional<Value>& into) {
    if (value.isNull()) {
      into.reset();
      return;
    }
    if (!into) {
      into.emplace();
    }
    if constexpr (requires { Form::parse(value, *into); }) {
      if (!Form::parse(value, *into)) [[unlikely]] {
        rejectValue(value, place, Form::expected() + " or null");
      }
    } else {
      Form::read(value, place, *into);
    }
  }
  static std::string write(const std::optional<Value>& value) {
    return value ? Form::write(*value) : "null";
  }
  static FileCodec::JSONObject schema(bool /*orNull*/) { return Form::schema(true); }
  static std::string typeName() { return Form::typeName() + " or null"; }
};

/// Throws unless the value has the type or is null; returns whether it is present.
bool isPresent(const JSONValue& value, JSONValue::Type type, const JSONPlace& place);

template <typename Value>
struct JSONForm<std::vector<Value>> {
  static void read(const JSONValue& value, const JSONPlace& place, std::vector<Value>& into) {
    std::size_t count = 0;
    if (isPresent(value, JSONValue::Type::array, place)) {
      value.forEachElement([&](const JSONValue& element) {
        if (count == into.size()) {
          into.emplace_back();
        }
        readValue(element, {.around = &place, .member = {}, .index = count}, into[count]);
        ++count;
      });
    }
    into.resize(count);
  }
  static std::string write(const std::vector<Value>& values) {
    std::vector<std::string> elements;
    elements.reserve(values.size());
    std::ranges::transform(values, std::back_inserter(elements), JSONForm<Value>::write);
    return FileCodec::jsonArray(elements);
  }
  static FileCodec::JSONObject schema(bool orNull) {
    return schemaOfType("array", orNull).addJSON("items", JSONForm<Value>::schema(false).done());
  }
  static std::string typeName() { return "array of " + JSONForm<Value>::typeName() + 's'; }
};

template <typename Value>
struct JSONForm<std::map<std::string, Value, std::less<>>> {
  using Map = std::map<std::string, Value, std::less<>>;

  /// Successive objects often have the same names in the same order, so entries are reused then.
  static void read(const JSONValue& value, const JSONPlace& place, Map& into) {
    if (!isPresent(value, JSONValue::Type::object, place)) {
      into.clear();
      return;
    }
    auto at = into.begin();
    bool sameNames = true;
    value.forEachMember([&](std::string_view name, const JSONValue& /*member*/) {
      sameNames = sameNames && at != into.end() && at->first == name;
      at = sameNames ? std::next(at) : at;
    });
    if (!sameNames || at != into.end()) {
      into.clear();
    }
    at = into.begin();
    value.forEachMember([&](std::string_view name, const JSONValue& member) {
      if (at == into.end() || at->first != name) {
        at = into.emplace_hint(at, name, Value());  // or the entry of a duplicate
      }
      readValue(member, {.around = &place, .member = name}, at->second);
      ++at;
    });
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

template <HasJSONFields Record>
struct JSONForm<Record> {
  static void read(const JSONValue& value, const JSONPlace& place, Record& into) {
    if (isPresent(value, JSONValue::Type::object, place)) {
      readFields(value, &place, into);
    } else {
      clearValue(into);
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
  static std::string typeName() {
    if constexpr (requires { JSONFields<Record>::typeName; }) {
      return JSONFields<Record>::typeName;
    } else {
      return "object";
    }
  }
};

/// The number of a format's version, for which another is rejected.
template <std::int64_t version>
struct FormatVersion {
  friend bool operator==(const FormatVersion&, const FormatVersion&) = default;
};
template <std::int64_t version>
struct JSONForm<FormatVersion<version>> {
  static bool parse(const JSONValue& value, FormatVersion<version>& /*into*/) {
    return value.integer() == version;
  }
  static std::string expected() { return LogCore::text("the version ", version); }
  static std::string write(FormatVersion<version> /*value*/) { return LogCore::text(version); }
  static FileCodec::JSONObject schema(bool /*orNull*/) {
    return FileCodec::JSONObject().addJSON("const", LogCore::text(version));
  }
  static std::string typeName() { return "integer"; }
};

}  // namespace agent_tool
