#include "AgentTool/FactsText.h"

#include <chrono>
#include <cmath>
#include <cstddef>
#include <optional>
#include <ranges>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Columns.h"
#include "AgentTool/JSONPieces.h"
#include "AgentTool/PrintableText.h"
#include "Platform/RealNumbers.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {
namespace {

using LogCore::text;
using platform::PropertyList;
using vexlo::Overloaded;

constexpr int kFactsVersion = 1;  // of the JSON form

// JSON

std::string_view jsonFlag(bool flag) { return flag ? "true" : "false"; }

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
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string out;
  for (const std::byte byte : data) {
    out += kDigits[std::to_integer<std::size_t>(byte >> 4)];
    out += kDigits[std::to_integer<std::size_t>(byte & std::byte{15})];
  }
  return out;
}

std::string asJSON(const PropertyList& value);
std::string asJSON(const vexlo::AvailableOSUpdate& update);
std::string asJSON(const ApplicationInstance& instance);

std::string asJSON(const PropertyList::Dictionary& dictionary) {
  JSONObject object;
  for (const auto& [key, value] : dictionary) {
    object.addJSON(key, asJSON(value));
  }
  return object.done();
}

template <typename Values>
std::string arrayAsJSON(const Values& values) {
  std::vector<std::string> elements;
  elements.reserve(values.size());
  for (const auto& value : values) {
    elements.push_back(asJSON(value));
  }
  return jsonArray(elements);
}

std::string asJSON(const PropertyList& value) {
  return std::visit(
      Overloaded{[](const std::string& string) { return FileCodec::jsonString(string); },
                 [](bool flag) { return std::string(jsonFlag(flag)); },
                 [](std::int64_t number) { return text(number); },
                 [](std::uint64_t number) { return text(number); },
                 [](double number) { return jsonReal(number); },
                 [](const platform::PropertyListDate& date) {
                   return JSONObject().addJSON("$date", jsonReal(date.secondsSince2001)).done();
                 },
                 [](const PropertyList::Data& data) {
                   return JSONObject().addString("$data", hexadecimal(data)).done();
                 },
                 [](const PropertyList::Array& array) { return arrayAsJSON(array); },
                 [](const PropertyList::Dictionary& dictionary) { return asJSON(dictionary); }},
      value.value());
}

template <typename Type, typename Write>
std::string orNull(const std::optional<Type>& value, const Write& write) {
  return value ? std::string(write(*value)) : "null";
}

std::string asJSON(const vexlo::PowerSource& source) {
  return std::visit(Overloaded{[](const vexlo::AcPower&) {
                                 return JSONObject().addString("kind", "mains").done();
                               },
                               [](const vexlo::BatteryPower& battery) {
                                 return JSONObject()
                                     .addString("kind", "battery")
                                     .addJSON("percentage", text(battery.percentage))
                                     .done();
                               }},
                    source);
}

std::string_view nameOf(vxutils::EnrollmentType type) {
  switch (type) {
    case vxutils::EnrollmentType::not_enrolled:
      return "not_enrolled";
    case vxutils::EnrollmentType::user_approved:
      return "user_approved";
    case vxutils::EnrollmentType::dep:
      return "dep";
  }
  std::unreachable();
}

std::string asJSON(const SettingsFile& file) {
  return JSONObject()
      .addJSON("file", file.path.empty() ? "null" : FileCodec::jsonString(file.path))
      .addJSON("values", orNull(file.values, [](const auto& values) { return asJSON(values); }))
      .done();
}

std::string asJSON(const ApplicationInstance& instance) {
  return JSONObject()
      .addJSON("name", jsonOptional(instance.name))
      .addJSON("pid", text(instance.processIdentifier))
      .addJSON("executable", jsonOptional(instance.executable))
      .done();
}

std::string asJSON(const vexlo::AvailableOSUpdate& update) {
  return JSONObject()
      .addJSON("build", jsonOptional(update.build))
      .addJSON("deferredUntil", jsonOptional(update.deferredUntil))
      .addJSON("productKey", jsonOptional(update.productKey))
      .addJSON("version", jsonOptional(update.version))
      .done();
}

std::string moment(platform::Moment time) {
  std::string out = platform::describeMoment(time);  // «2024-06-15 00:00:00 +0000»
  out.resize(out.rfind(' '));
  out[out.find(' ')] = 'T';
  return out + 'Z';
}

std::string applicationsAsJSON(const Facts& facts) {
  JSONObject applications;
  for (const auto& [identifier, instances] : facts.applications) {
    applications.addJSON(identifier, arrayAsJSON(instances));
  }
  return applications.done();
}

// Text

class Table {
 public:
  explicit Table(const Facts& facts) : facts_(facts) {}

  void add(std::string name, std::string value, Style style = Style::plain) {
    rows_.push_back({{std::move(name)}, {std::move(value), style}});
  }

  /// The value, or that it is absent and why.
  void add(std::string name, const std::optional<std::string>& value, const char* reason) {
    if (value) {
      add(std::move(name), *value);
    } else {
      const auto why = facts_.reasons.find(reason);
      add(std::move(name),
          "absent" + (why == facts_.reasons.end() ? "" : ": " + printable(why->second)),
          Style::waiting);
    }
  }

  void add(const char* name, const SettingsFile& file, const char* reason) {
    add(name, file.values.transform([&](const auto&) { return printable(file.path); }), reason);
    if (file.values) {
      for (const auto& [key, value] : *file.values) {
        add("  " + printable(key), printable(platform::describe(value)));
      }
    }
  }

  [[nodiscard]] std::string text(const Console& console) const {
    Columns columns(console, {"FACT", "VALUE"});
    for (const std::vector<Cell>& row : rows_) {
      columns.fit(0, row.front().text);
    }
    std::string out = columns.headings();
    for (const std::vector<Cell>& row : rows_) {
      out += columns.row(row);
    }
    return out;
  }

 private:
  const Facts& facts_;
  std::vector<std::vector<Cell>> rows_;
};

std::string forTerminal(const std::string& text) { return printable(text); }

std::string forPeople(const vexlo::PowerSource& source) {
  return std::visit(Overloaded{[](const vexlo::AcPower&) { return std::string("mains"); },
                               [](const vexlo::BatteryPower& battery) {
                                 return text("battery, ", battery.percentage, " %");
                               }},
                    source);
}

/// In decimal gigabytes, as used by the disk check.
std::string gigabytes(std::int64_t bytes) {
  constexpr std::int64_t kHundredth = 10'000'000;
  const std::int64_t hundredths = bytes / kHundredth;
  return text(hundredths / 100, '.', hundredths % 100 < 10 ? "0" : "", hundredths % 100, " GB (",
              bytes, " bytes)");
}

std::string forPeople(const ApplicationInstance& instance) {
  return text("pid ", instance.processIdentifier, ", ",
              printable(instance.name.value_or("no name")), ", ",
              printable(instance.executable.value_or("executable not known")));
}

void addApplications(const Facts& facts, Table& table) {
  for (const auto& [identifier, instances] : facts.applications) {
    table.add(printable(identifier), instances.empty() ? "not running" : forPeople(instances[0]));
    for (const ApplicationInstance& instance : instances | std::views::drop(1)) {
      table.add("", forPeople(instance));
    }
  }
}

void addSettings(const Facts& facts, Table& table) {
  const auto directory = [&](const char* name, const std::optional<std::string>& path) {
    table.add(name, path ? printable(*path) : "not given", path ? Style::plain : Style::faint);
  };
  directory("base directory", facts.directories.base);
  directory("data directory", facts.directories.data);
  directory("log directory", facts.directories.logs);
  table.add("agent service",
            facts.agentServiceAnswers ? std::optional<std::string>("answers") : std::nullopt,
            "agentService");
  table.add("patch data", facts.patchData, "patchData");
  const auto inForce = [&](const char* name, bool on) { table.add(name, on ? "yes" : "no"); };
  inForce("MDM patching", facts.inForce.patchingViaMDM);
  inForce("deferrals ignored", facts.inForce.deferralCheckDisabled);
  inForce("applications killed", facts.inForce.alwaysKillApps);
  inForce("user is asked", facts.inForce.prompt);
  table.add("prompt customization", facts.customization, "customization");
  table.add("prompt counts", facts.promptCounts, "promptCounts");
}

}  // namespace

std::string factsAsJSON(const Facts& facts) {
  const std::string agent = JSONObject()
                                .addJSON("base", jsonOptional(facts.directories.base))
                                .addJSON("data", jsonOptional(facts.directories.data))
                                .addJSON("logs", jsonOptional(facts.directories.logs))
                                .addJSON("serviceAnswers", jsonFlag(facts.agentServiceAnswers))
                                .done();
  const std::string inForce =
      JSONObject()
          .addJSON("alwaysKillApps", jsonFlag(facts.inForce.alwaysKillApps))
          .addJSON("prompt", jsonFlag(facts.inForce.prompt))
          .addJSON("deferralCheckDisabled", jsonFlag(facts.inForce.deferralCheckDisabled))
          .addJSON("patchingViaMDM", jsonFlag(facts.inForce.patchingViaMDM))
          .done();
  const auto number = [](std::int64_t value) { return text(value); };
  return JSONObject()
             .addJSON("version", text(kFactsVersion))
             .addString("time", moment(facts.time))
             .addJSON("utcOffset", text(facts.offsetFromUTC.count()))
             .addString("promptDay", facts.promptDay)
             .addJSON("appleSilicon", jsonFlag(facts.isAppleSilicon))
             .addJSON("macOSVersion", jsonOptional(facts.macOSVersion))
             .addJSON("macOSMajorVersion", text(facts.macOSMajorVersion))
             .addJSON("preferredLanguages", jsonList(facts.preferredLanguages))
             .addJSON("powerSources", arrayAsJSON(facts.powerSources))
             .addJSON("powerSource",
                      orNull(facts.powerSource, [](const auto& source) { return asJSON(source); }))
             .addJSON("freeDiskSpace", orNull(facts.freeDiskSpace, number))
             .addString("consoleUser", facts.consoleUser)
             .addJSON("consoleUserID", orNull(facts.consoleUserID, number))
             .addJSON("loggedOnUsers", jsonOptional(facts.loggedOnUsers))
             .addJSON("mdmEnrollment",
                      orNull(facts.mdmEnrollment,
                             [](auto type) { return FileCodec::jsonString(nameOf(type)); }))
             .addJSON("agent", agent)
             .addJSON("patchData", asJSON(facts.patchData))
             .addJSON("customization", asJSON(facts.customization))
             .addJSON("promptCounts", asJSON(facts.promptCounts))
             .addJSON("inForce", inForce)
             .addJSON("applications", applicationsAsJSON(facts))
             .addJSON("allApplications", jsonFlag(facts.allApplications))
             .addJSON("softwareUpdateReachable", orNull(facts.softwareUpdateReachable, jsonFlag))
             .addJSON("softwareUpdateStatus", orNull(facts.softwareUpdateStatus, number))
             .addJSON("availableOSUpdates",
                      orNull(facts.availableOSUpdates,
                             [](const auto& updates) { return arrayAsJSON(updates); }))
             .addJSON("absent", jsonMap(facts.reasons))
             .done() +
         '\n';
}

std::string factsAsTable(const Facts& facts, const Console& console) {
  Table table(facts);
  table.add("time", moment(facts.time));
  table.add("processor", facts.isAppleSilicon ? "Apple silicon" : "Intel");
  table.add("macOS", facts.macOSVersion.transform(forTerminal), "macOSVersion");
  table.add("macOS major version", text(facts.macOSMajorVersion));
  table.add("languages", joinedForPeople(facts.preferredLanguages));
  table.add("power source",
            facts.powerSource.transform([](const auto& source) { return forPeople(source); }),
            "powerSource");
  for (const PropertyList& source : facts.powerSources) {
    table.add("  described as", printable(platform::describe(source)));
  }
  table.add("free disk space", facts.freeDiskSpace.transform(gigabytes), "freeDiskSpace");
  table.add("console user", printable(facts.consoleUser));
  table.add("logged-on users", facts.loggedOnUsers.transform(forTerminal), "loggedOnUsers");
  table.add("MDM enrollment",
            facts.mdmEnrollment.transform([](auto type) { return std::string(nameOf(type)); }),
            "mdmEnrollment");
  table.add("software updates", facts.softwareUpdateReachable.transform([](bool reachable) {
    return std::string(reachable ? "reachable" : "unreachable");
  }),
            "softwareUpdateReachable");
  for (const auto& update :
       facts.availableOSUpdates.value_or(std::vector<vexlo::AvailableOSUpdate>())) {
    table.add("  update", printable(describe(update)));
  }
  addSettings(facts, table);
  addApplications(facts, table);
  return table.text(console);
}

}  // namespace agent_tool
