#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <variant>

#include "AgentTool/Facts/Facts.h"
#include "AgentTool/JSON/JSONFields.h"
#include "Platform/RealNumbers.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using FileCodec::JSONObject;
using LogCore::text;
using platform::PropertyList;
using vexlo::Overloaded;

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

std::string hexadecimal(std::byte byte) {
  return platform::hexadecimal(std::to_integer<std::uint32_t>(byte), 2);
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

/// A property-list value with its type: docs/FACTS.md says how.
template <>
struct JSONForm<PropertyList> {
  static void read(const JSONValue& value, const JSONPlace& place, PropertyList& into) {
    std::visit(Overloaded{[&](std::nullptr_t) { into = PropertyList(); },  // they have no null
                          [&](auto scalar) { into.value() = scalar; },
                          [&](std::string_view text) { alternative<std::string>(into) = text; },
                          [&](JSONValue::Array) {
                            auto& array = alternative<PropertyList::Array>(into);
                            JSONForm<PropertyList::Array>::read(value, place, array);
                          },
                          [&](JSONValue::Object) { readObject(value, place, into); }},
               value.content());
  }
  static std::string write(const PropertyList& value) {
    return std::visit(
        Overloaded{[]<typename Alternative>(const Alternative& alternative) {
                     return JSONForm<Alternative>::write(alternative);
                   },
                   [](double number) { return jsonReal(number); },
                   [](const platform::PropertyListDate& date) {
                     return JSONObject().addJSON("$date", jsonReal(date.secondsSince2001)).done();
                   },
                   [](const PropertyList::Data& data) {
                     return JSONObject()
                         .addString("$data", platform::joined(data, "", hexadecimal))
                         .done();
                   }},
        value.value());
  }
  static JSONObject schema(bool /*orNull*/) {
    return JSONObject().addString("$ref", "#/$defs/propertyListValue");
  }
  static std::string typeName() { return "property-list value"; }

 private:
  static void readObject(const JSONValue& value, const JSONPlace& place, PropertyList& into) {
    std::optional<PropertyList::Value> special;
    value.forEachMember([&](std::string_view name, const JSONValue& member) {
      special = name.starts_with('$') ? specialValue(name, member) : std::nullopt;
    });
    auto& dictionary = alternative<PropertyList::Dictionary>(into);
    JSONForm<PropertyList::Dictionary>::read(value, place, dictionary);
    if (special && dictionary.size() == 1) {
      into.value() = *std::move(special);
    }
  }
  /// The value that an object with this only member encodes, for types that JSON lacks.
  static std::optional<PropertyList::Value> specialValue(std::string_view name,
                                                         const JSONValue& value) {
    const auto text = value.get<std::string_view>();
    if (name == "$data" && text) {
      return dataOf(*text);
    }
    if (name == "$real" && text) {
      return platform::parseReal(text->substr(text->starts_with('+') ? 1 : 0));
    }
    if (name == "$date") {
      return realIn(value).transform(
          [](double seconds) { return platform::PropertyListDate{seconds}; });
    }
    return std::nullopt;
  }
  /// The real number that `value` is or, as an object whose only member is `$real`, encodes.
  static std::optional<double> realIn(const JSONValue& value) {
    std::optional<double> real = value.get<double>();
    std::size_t members = 0;
    value.forEachMember([&](std::string_view name, const JSONValue& member) {
      const auto encoded = name == "$real" ? specialValue(name, member) : std::nullopt;
      ++members;
      real = encoded.transform([](const auto& held) { return std::get<double>(held); });
    });
    return members > 1 ? std::nullopt : real;
  }
};

template <>
struct JSONForm<platform::Moment> {
  static void read(const JSONValue& value, const JSONPlace& place, platform::Moment& into) {
    const auto time = value.get<std::string_view>().and_then(platform::parseMoment);
    if (!time) {
      rejectValue(value, place, R"(a time such as "2026-11-24T10:11:12Z", or null)");
    }
    into = *time;
  }
  static std::string write(platform::Moment time) { return asJSON(platform::timestamp(time)); }
  static JSONObject schema(bool orNull) {
    return schemaOfType("string", orNull)
        .addString("pattern", R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z$)");
  }
  static std::string typeName() { return "string"; }
};

template <>
struct JSONForm<std::chrono::seconds> : JSONForm<std::int64_t> {
  static void read(const JSONValue& value, const JSONPlace& place, std::chrono::seconds& into) {
    std::int64_t count = 0;
    JSONForm<std::int64_t>::read(value, place, count);
    into = std::chrono::seconds(count);
  }
  static std::string write(std::chrono::seconds duration) { return asJSON(duration.count()); }
};

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

/// `{"kind":"mains"}` or `{"kind":"battery","percentage":82}`
template <>
struct JSONForm<vexlo::PowerSource> : JSONForm<PowerSourceMembers> {
  static void read(const JSONValue& value, const JSONPlace& place, vexlo::PowerSource& into) {
    PowerSourceMembers members;
    JSONForm<PowerSourceMembers>::read(value, place, members);
    if (members.kind == PowerSourceMembers::Kind::mains) {
      into = vexlo::AcPower{};
      return;
    }
    bool hasPercentage = false;
    value.forEachMember([&](std::string_view name, const JSONValue& member) {
      hasPercentage = name == "percentage" ? !member.isNull() : hasPercentage;
    });
    if (!hasPercentage) {
      rejectMissing("percentage", place);
    }
    into = vexlo::BatteryPower{members.percentage};
  }
  static std::string write(const vexlo::PowerSource& source) {
    const auto* const battery = std::get_if<vexlo::BatteryPower>(&source);
    return battery == nullptr
               ? R"({"kind":"mains"})"
               : text(R"({"kind":"battery","percentage":)", battery->percentage, '}');
  }
};

template <>
struct JSONFields<AgentState> {
  static constexpr std::array list{
      field<&AgentState::base>("base"), field<&AgentState::data>("data"),
      field<&AgentState::logs>("logs"), field<&AgentState::serviceAnswers>("serviceAnswers"),
      field<&AgentState::credentialsStored>("credentialsStored")};
};

template <>
constexpr std::string_view kRecordTypeName<SettingsFile> = "settings file";
template <>
struct JSONFields<SettingsFile> {
  static constexpr std::array list{field<&SettingsFile::file>("file"),
                                   field<&SettingsFile::values>("values")};
};

template <>
struct JSONFields<SettingsInForce> {
  static constexpr std::array list{
      field<&SettingsInForce::alwaysKillApps>("alwaysKillApps"),
      field<&SettingsInForce::prompt>("prompt"),
      field<&SettingsInForce::deferralCheckDisabled>("deferralCheckDisabled"),
      field<&SettingsInForce::patchingViaMDM>("patchingViaMDM")};
};

template <>
struct JSONFields<ApplicationInstance> {
  static constexpr std::array list{field<&ApplicationInstance::name>("name"),
                                   field<&ApplicationInstance::processIdentifier>("pid"),
                                   field<&ApplicationInstance::executable>("executable")};
};

template <>
struct JSONFields<vexlo::AvailableOSUpdate> {
  static constexpr std::array list{field<&vexlo::AvailableOSUpdate::build>("build"),
                                   field<&vexlo::AvailableOSUpdate::deferredUntil>("deferredUntil"),
                                   field<&vexlo::AvailableOSUpdate::productKey>("productKey"),
                                   field<&vexlo::AvailableOSUpdate::version>("version")};
};

/// Written only if it is present.
template <auto member>
[[nodiscard]] constexpr JSONField<Facts> omittable(JSONField<Facts> field) {
  field.write = [](const Facts& facts) { return facts.*member ? asJSON(facts.*member) : ""; };
  return field;
}

/// All facts, in the order in which `facts` writes them.
template <>
struct JSONFields<Facts> {
  static constexpr std::array list{
      formatVersion<Facts, 1>("version",
                              "incremented if a member changes its meaning or is removed"),
      omittable<&Facts::name>(field<&Facts::name>(
          "name",
          "the machine's name in the output of `what-if`, from `--name`; omitted without one")),
      field<&Facts::time>("time", "when it was read, UTC: `2026-11-24T10:11:12Z`"),
      field<&Facts::offsetFromUTC>("utcOffset",
                                   "the time zone's offset when the day began, in seconds east of "
                                   "UTC; deferrals end at midnight there"),
      field<&Facts::promptDay>("promptDay",
                               "the day for which prompts are counted: `24-11-2026`; on macOS in "
                               "the calendar of the user who runs the command"),
      needed(field<&Facts::isAppleSilicon>(
          "appleSilicon", "whether the processor is Apple silicon; `--machine` overrides it")),
      field<&Facts::macOSVersion>("macOSVersion", "`14.4.1`"),
      needed(field<&Facts::macOSMajorVersion>(
          "macOSMajorVersion", "the version that the library uses: 12 if it can't be determined")),
      field<&Facts::preferredLanguages>("preferredLanguages", "best first: `en-US`"),
      informative(field<&Facts::powerSources>(
          "powerSources", "the system's description of each source; `powerSource` decides")),
      field<&Facts::powerSource>(
          "powerSource",
          "the battery checks' interpretation: `{\"kind\":\"mains\"}` or "
          "`{\"kind\":\"battery\",\"percentage\":82}`; null counts as sufficient"),
      field<&Facts::freeDiskSpace>("freeDiskSpace",
                                   "free bytes of the startup volume; null counts as sufficient"),
      needed(
          field<&Facts::consoleUser>("consoleUser", "`NOUSERNAME` when nobody is at the console")),
      field<&Facts::consoleUserID>("consoleUserID", "the ID of that account"),
      field<&Facts::loggedOnUsers>("loggedOnUsers",
                                   "names separated by `,`; null when nobody is logged on"),
      field<&Facts::mdmEnrollment>("mdmEnrollment",
                                   "`not_enrolled`, `user_approved` (by a user, approved or not) "
                                   "or `dep`; null counts as `not_enrolled`"),
      field<&Facts::agent>(
          "agent",
          "`base`, `data`, `logs`: directories, each a string or null; `serviceAnswers`: Boolean "
          "or null; `credentialsStored`: Boolean, whether its service has a user name and a "
          "password; null: not asked (`--ask-agent`), or an Intel Mac, which needs none"),
      field<&Facts::patchData>(
          "patchData",
          "`AlwaysKillApps`, `ApplicationRunningPrompt`, `DisableMacOSUpdateDeferralCheck`, "
          "`IsMDMPatchingEnabled` and `OSPatchingViaMDMStatus`, if present; no other keys"),
      field<&Facts::customization>(
          "customization",
          "those settings of the prompt that the file has; `values` is null without the file, or "
          "if one of them has a wrong type, since none counts then"),
      field<&Facts::promptCounts>(
          "promptCounts",
          "for each prompt key: `patchID`, `promptShownCount` and the count of each day"),
      informative(field<&Facts::inForce>(
          "inForce",
          "the library's interpretation of the patch data: `alwaysKillApps`, `prompt`, "
          "`deferralCheckDisabled`, `patchingViaMDM`; `patchData` decides")),
      field<&Facts::applications>(
          "applications",
          "for each bundle identifier an array of instances: `name` (string or null), `pid` "
          "(integer), `executable` (path or null); empty if none is running"),
      field<&Facts::allApplications>("allApplications",
                                     "true: applications that aren't listed aren't running; false: "
                                     "it isn't known whether they are"),
      field<&Facts::softwareUpdateReachable>(
          "softwareUpdateReachable",
          "whether `softwareupdate --list` reaches Apple's servers; null: not asked"),
      field<&Facts::softwareUpdateStatus>(
          "softwareUpdateStatus", "exit status of `softwareupdate --list`; null: not asked"),
      field<&Facts::softwareUpdateLabels>("softwareUpdateLabels",
                                          "what `softwareupdate --list` lists: `macOS Sonoma "
                                          "14.5-23F79`; null: not asked, or it failed"),
      field<&Facts::availableOSUpdates>(
          "availableOSUpdates",
          "what `mdmclient` reports: `version`, `build`, `productKey`, `deferredUntil` "
          "(`2024-06-15 00:00:00 +0000`), each a string or null; null: not asked, or it failed"),
      field<&Facts::updatesListed>(
          "updatesListed",
          "false: `mdmclient` printed no list of updates, as on macOS 27; `availableOSUpdates` is "
          "then empty, which counts as not deferred; null: not asked, or it failed"),
      field<&Facts::installAssistants>(
          "installAssistants",
          "the paths of the InstallAssistant applications in /Applications; null: can't be read"),
      informative(field<&Facts::reasons>(
          "absent",
          "for each absent member the reason; `agentService` for `serviceAnswers`, `applications` "
          "if not all running ones are known"))};
};

std::string factsAsJSON(const Facts& facts) { return asJSON(facts) + '\n'; }

std::string_view otherFormat(std::string_view beginning) {
  static constexpr auto kFormats = std::to_array<std::pair<std::string_view, std::string_view>>({
      {"\x1f\x8b", "gzip data (try gzip -dc)"},
      {"BZh", "bzip2 data (try bzip2 -dc)"},
      {"\xfd\x37zXZ", "xz data (try xz -dc)"},
      {"\x28\xb5\x2f\xfd", "zstd data (try zstd -dc)"},
      {"PK\x03\x04", "a zip archive"},
      {"\xff\xfe", "UTF-16 text"},
      {"\xfe\xff", "UTF-16 text"},
      {"[", "a JSON array (try jq -c '.[]')"},
  });
  for (const auto& [signature, description] : kFormats) {
    if (beginning.starts_with(signature)) {
      return description;
    }
  }
  if (platform::trimmed(beginning) == "{") {
    return "a JSON object on several lines (try jq -c .)";
  }
  return beginning.contains('\0') ? "binary data" : "";
}

std::expected<const Facts*, DecodingError> FactsReader::read(std::string_view line) {
  return readDocument(document_, line, facts_);
}

std::string factsSchema() {
  const std::string anyValue =
      JSONObject()
          .addString("description",
                     "Reals always have a fraction or an exponent. A date is {\"$date\": seconds "
                     "since 2001-01-01 00:00:00 UTC}, data {\"$data\": \"hexadecimal\"}, a real "
                     "that JSON can't represent {\"$real\": \"nan\"}.")
          .addJSON("type", R"(["string","boolean","number","array","object"])")
          .addJSON("items", R"({"$ref":"#/$defs/propertyListValue"})")
          .addJSON("additionalProperties", R"({"$ref":"#/$defs/propertyListValue"})")
          .done();
  JSONObject schema;
  schema.addString("$schema", "https://json-schema.org/draft/2020-12/schema")
      .addString("title", "Facts of a machine")
      .addString("description",
                 "One line of `vexlo-patch facts --json`. Members that aren't described here are "
                 "ignored.")
      .addString("type", "object");
  return indented(schemaOfFields<Facts>(std::move(schema))
                      .addJSON("$defs", JSONObject().addJSON("propertyListValue", anyValue).done())
                      .done());
}

std::string factsAsMarkdown() {
  std::string out = "| Member | Type | Meaning |\n| --- | --- | --- |\n";
  for (const auto& fact : JSONFields<Facts>::list) {
    out += text("| `", fact.name, "` | ", fact.typeName(), " | ", fact.meaning, " |\n");
  }
  return out;
}

}  // namespace agent_tool
