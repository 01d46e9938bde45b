#include "AgentTool/Facts/FactsForms.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>

#include "Platform/RealNumbers.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using platform::PropertyList;
using vexlo::Overloaded;
using Type = JSONValue::Type;

/// Always with a fraction or an exponent, to distinguish it from an integer.
std::string jsonReal(double number) {
  if (!std::isfinite(number)) {
    return JSONObject()
        .addString("$real", std::isnan(number) ? "nan"
                            : number > 0       ? "+inf"
                                               : "-inf")
        .done();
  }
  std::string out = platform::shortestText(number);
  return out.find_first_of(".e") == std::string::npos ? out + ".0" : out;
}

std::string hexadecimal(const PropertyList::Data& data) {
  std::string out;
  for (const std::byte byte : data) {
    out += platform::hexadecimal(std::to_integer<std::uint32_t>(byte), 2);
  }
  return out;
}

std::optional<PropertyList::Data> dataOf(std::string_view hexadecimal) {
  if (hexadecimal.size() % 2 != 0 ||
      hexadecimal.find_first_not_of(platform::kSmallDigits) != std::string_view::npos) {
    return std::nullopt;
  }
  PropertyList::Data data;
  data.reserve(hexadecimal.size() / 2);
  for (std::size_t at = 0; at < hexadecimal.size(); at += 2) {
    const auto byte = platform::wholeNumber<std::uint8_t>(hexadecimal.substr(at, 2), 16);
    data.push_back(static_cast<std::byte>(byte.value_or(0)));  // two digits
  }
  return data;
}

std::optional<double> realNamed(std::string_view name) {
  return platform::parseReal(name.substr(name.starts_with('+') ? 1 : 0));
}

/// The value that an object with this only member encodes, for types that JSON lacks.
std::optional<PropertyList::Value> specialValue(std::string_view name, const JSONValue& value) {
  const std::optional<std::string_view> text = value.string();
  if (name == "$data" && text) {
    return dataOf(*text);
  }
  if (name == "$real" && text) {
    return realNamed(*text);
  }
  if (name == "$date") {
    PropertyList seconds;
    JSONForm<PropertyList>::read(value, {}, seconds);
    if (const auto* real = seconds.as<double>()) {
      return platform::PropertyListDate{*real};
    }
  }
  return std::nullopt;
}

/// The alternative of `value`, which gets it if necessary.
template <typename Alternative>
Alternative& alternative(PropertyList& value) {
  auto* const held = std::get_if<Alternative>(&value.value());
  return held != nullptr ? *held : value.value().template emplace<Alternative>();
}

struct PowerSourceMembers {
  enum class Kind : std::uint8_t { mains, battery };
  Kind kind = Kind::mains;
  std::int64_t percentage = 0;  // needed for a battery
};

}  // namespace

template <>
struct JSONNames<PowerSourceMembers::Kind> {
  static constexpr std::array list{NamedValue{PowerSourceMembers::Kind::mains, "mains"},
                                   NamedValue{PowerSourceMembers::Kind::battery, "battery"}};
};

template <>
struct JSONFields<PowerSourceMembers> {
  static constexpr std::array list{needed(field<&PowerSourceMembers::kind>("kind")),
                                   field<&PowerSourceMembers::percentage>("percentage")};
};

bool JSONForm<platform::Moment>::parse(const JSONValue& value, platform::Moment& into) {
  const std::optional<platform::Moment> time = value.string().and_then(platform::parseMoment);
  into = time.value_or(into);
  return time.has_value();
}

JSONObject JSONForm<platform::Moment>::schema(bool orNull) {
  return schemaOfType("string", orNull)
      .addString("pattern", R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z$)");
}

bool JSONForm<std::chrono::seconds>::parse(const JSONValue& value, std::chrono::seconds& into) {
  const std::optional<std::int64_t> count = value.integer();
  into = std::chrono::seconds(count.value_or(0));
  return count.has_value();
}

void JSONForm<PropertyList>::read(const JSONValue& value, const JSONPlace& place,
                                  PropertyList& into) {
  switch (value.type()) {
    case Type::null:  // property lists have no null
      into = PropertyList();
      break;
    case Type::boolean:
      into.value() = value.boolean().value_or(false);
      break;
    case Type::integer:
      into.value() = value.integer().value_or(0);
      break;
    case Type::unsignedInteger:
      into.value() = value.unsignedInteger().value_or(0);
      break;
    case Type::real:
      into.value() = value.real().value_or(0);
      break;
    case Type::string:
      alternative<std::string>(into) = value.string().value_or("");
      break;
    case Type::array:
      JSONForm<PropertyList::Array>::read(value, place, alternative<PropertyList::Array>(into));
      break;
    case Type::object: {
      std::optional<PropertyList::Value> special;
      value.forEachMember([&](std::string_view name, const JSONValue& member) {
        special = name.starts_with('$') ? specialValue(name, member) : std::nullopt;
      });
      auto& dictionary = alternative<PropertyList::Dictionary>(into);
      JSONForm<PropertyList::Dictionary>::read(value, place, dictionary);
      if (special && dictionary.size() == 1) {
        into.value() = *std::move(special);
      }
      break;
    }
  }
}

std::string JSONForm<PropertyList>::write(const PropertyList& value) {
  return std::visit(
      Overloaded{[]<typename Alternative>(const Alternative& alternative) {
                   return JSONForm<Alternative>::write(alternative);
                 },
                 [](double number) { return jsonReal(number); },
                 [](const platform::PropertyListDate& date) {
                   return JSONObject().addJSON("$date", jsonReal(date.secondsSince2001)).done();
                 },
                 [](const PropertyList::Data& data) {
                   return JSONObject().addString("$data", hexadecimal(data)).done();
                 }},
      value.value());
}

JSONObject JSONForm<PropertyList>::schema(bool /*orNull*/) {
  return JSONObject().addString("$ref", "#/$defs/propertyListValue");
}

void JSONForm<vexlo::PowerSource>::read(const JSONValue& value, const JSONPlace& place,
                                        vexlo::PowerSource& into) {
  PowerSourceMembers members;
  JSONForm<PowerSourceMembers>::read(value, place, members);
  if (members.kind == PowerSourceMembers::Kind::mains) {
    into = vexlo::AcPower{};
    return;
  }
  if (const JSONValue* const found = value.find("percentage");
      found == nullptr || found->isNull()) {
    rejectMissing("percentage", &place);
  }
  into = vexlo::BatteryPower{members.percentage};
}

std::string JSONForm<vexlo::PowerSource>::write(const vexlo::PowerSource& source) {
  return std::visit(
      Overloaded{[](const vexlo::AcPower&) { return std::string(R"({"kind":"mains"})"); },
                 [](const vexlo::BatteryPower& battery) {
                   return LogCore::text(R"({"kind":"battery","percentage":)", battery.percentage,
                                        '}');
                 }},
      source);
}

JSONObject JSONForm<vexlo::PowerSource>::schema(bool orNull) {
  return JSONForm<PowerSourceMembers>::schema(orNull);
}

}  // namespace agent_tool
