#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Facts/Facts.h"
#include "Platform/Text.h"

namespace agent_tool {
namespace {

using LogCore::text;
using OptionalText = std::optional<std::string>;

std::string describe(const ApplicationInstance& instance) {
  return text("pid ", instance.processIdentifier, ", ", instance.name.value_or("no name"), ", ",
              instance.executable.value_or("executable not known"));
}

std::string describe(const vexlo::PowerSource& source) {
  const auto* const battery = std::get_if<vexlo::BatteryPower>(&source);
  return battery == nullptr ? "mains" : text("battery, ", battery->percentage, " %");
}

/// In decimal gigabytes, as used by the disk check.
std::string gigabytes(std::int64_t bytes) {
  constexpr std::int64_t kHundredth = 10'000'000;
  const std::int64_t hundredths = bytes / kHundredth;
  return text(hundredths / 100, '.', hundredths % 100 < 10 ? "0" : "", hundredths % 100, " GB (",
              bytes, " bytes)");
}

class Table {
 public:
  explicit Table(const Facts& facts) : facts_(facts) {}

  void add(std::string_view name, std::string_view value, Style style = Style::plain) {
    rows_.push_back({{printable(name)}, {printable(value), style}});
  }
  void addFlag(std::string_view name, bool isOn) { add(name, isOn ? "yes" : "no"); }

  /// The value, or that it is absent and why.
  void add(std::string_view name, const OptionalText& value, std::string_view reason) {
    if (value) {
      add(name, *value);
    } else {
      const auto why = facts_.reasons.find(reason);
      add(name, why == facts_.reasons.end() ? "absent" : "absent: " + why->second, Style::waiting);
    }
  }

  void add(std::string_view name, const SettingsFile& file, std::string_view reason) {
    add(name, file.values ? OptionalText(file.file.value_or("")) : std::nullopt, reason);
    if (file.values) {
      for (const auto& [key, value] : *file.values) {
        add("  " + key, platform::describe(value));
      }
    }
  }

  void addDirectory(std::string_view name, const OptionalText& path) {
    add(name, path.value_or("not given"), path ? Style::plain : Style::faint);
  }

  [[nodiscard]] std::string text(const Console& console) const {
    return tableText(console, {"FACT", "VALUE"}, rows_);
  }

 private:
  const Facts& facts_;
  std::vector<std::vector<Cell>> rows_;
};

void addMachine(const Facts& facts, Table& table) {
  if (facts.name) {
    table.add("name", *facts.name);
  }
  table.add("time", platform::timestamp(facts.time));
  table.add("processor", facts.isAppleSilicon ? "Apple silicon" : "Intel");
  table.add("macOS", facts.macOSVersion, "macOSVersion");
  table.add("macOS major version", text(facts.macOSMajorVersion));
  table.add("languages", platform::joined(facts.preferredLanguages, ", ", listed));
  table.add("power source",
            facts.powerSource.transform([](const auto& source) { return describe(source); }),
            "powerSource");
  for (const platform::PropertyList& source : facts.powerSources) {
    table.add("  described as", platform::describe(source));
  }
  table.add("free disk space", facts.freeDiskSpace.transform(gigabytes), "freeDiskSpace");
  table.add("console user", facts.consoleUser);
  table.add("logged-on users", facts.loggedOnUsers, "loggedOnUsers");
  table.add("MDM enrollment",
            facts.mdmEnrollment.transform([](auto type) { return std::string(nameOf(type)); }),
            "mdmEnrollment");
  table.add("InstallAssistants", facts.installAssistants.transform([](const auto& paths) {
    return platform::joined(paths, ", ", listed);
  }),
            "installAssistants");
}

void addUpdates(const Facts& facts, Table& table) {
  table.add("software updates", facts.softwareUpdateReachable.transform([](bool reachable) {
    return std::string(reachable ? "reachable" : "unreachable");
  }),
            "softwareUpdateReachable");
  for (const auto& label : facts.softwareUpdateLabels.value_or(std::vector<std::string>())) {
    table.add("  label", label);
  }
  const auto updates = facts.availableOSUpdates.value_or(std::vector<vexlo::AvailableOSUpdate>());
  if (facts.softwareUpdateReachable == true) {
    const bool isListed = facts.updatesListed.value_or(facts.availableOSUpdates.has_value());
    table.add("updates known to MDM", isListed ? OptionalText(text(updates.size())) : std::nullopt,
              "availableOSUpdates");
  }
  for (const vexlo::AvailableOSUpdate& update : updates) {
    table.add("  update", vexlo::describe(update));
  }
}

void addSettings(const Facts& facts, Table& table) {
  table.addDirectory("base directory", facts.agent.base);
  table.addDirectory("data directory", facts.agent.data);
  table.addDirectory("log directory", facts.agent.logs);
  table.add("agent service",
            facts.agent.serviceAnswers == true ? OptionalText("answers") : std::nullopt,
            "agentService");
  if (facts.agent.credentialsStored) {
    table.add("credentials", *facts.agent.credentialsStored ? "stored" : "not stored");
  }
  table.add("patch data", facts.patchData, "patchData");
  table.addFlag("MDM patching", facts.inForce.patchingViaMDM);
  table.addFlag("deferrals ignored", facts.inForce.deferralCheckDisabled);
  table.addFlag("applications killed", facts.inForce.alwaysKillApps);
  table.addFlag("user is asked", facts.inForce.prompt);
  table.add("prompt customization", facts.customization, "customization");
  table.add("prompt counts", facts.promptCounts, "promptCounts");
}

void addApplications(const Facts& facts, Table& table) {
  if (const auto why = facts.reasons.find("applications"); why != facts.reasons.end()) {
    table.add("running applications", "unknown: " + why->second, Style::waiting);
  }
  for (const auto& [identifier, instances] : facts.applications) {
    if (instances.empty()) {
      table.add(identifier, "not running");
    }
    for (std::string_view name = identifier; const ApplicationInstance& instance : instances) {
      table.add(std::exchange(name, ""), describe(instance));
    }
  }
}

}  // namespace

std::string factsAsTable(const Facts& facts, const Console& console) {
  Table table(facts);
  addMachine(facts, table);
  addUpdates(facts, table);
  addSettings(facts, table);
  addApplications(facts, table);
  return table.text(console);
}

}  // namespace agent_tool
