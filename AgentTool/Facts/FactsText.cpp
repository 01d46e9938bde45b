#include <optional>
#include <ranges>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Facts/FactsTable.h"

namespace agent_tool {
namespace {

std::string describe(const ApplicationInstance& instance) {
  return LogCore::text("pid ", instance.processIdentifier, ", ",
                       printable(instance.name.value_or("no name")), ", ",
                       printable(instance.executable.value_or("executable not known")));
}

class Table {
 public:
  explicit Table(const Facts& facts) : facts_(facts) {}

  void add(std::string name, std::string value, Style style = Style::plain) {
    rows_.push_back({{std::move(name)}, {std::move(value), style}});
  }

  /// The value, or that it is absent and why.
  void add(std::string name, const std::optional<std::string>& value, std::string_view reason) {
    if (value) {
      add(std::move(name), *value);
    } else {
      const auto why = facts_.reasons.find(reason);
      add(std::move(name),
          "absent" + (why == facts_.reasons.end() ? "" : ": " + printable(why->second)),
          Style::waiting);
    }
  }

  void add(const char* name, const SettingsFile& file, std::string_view reason) {
    add(name, file.values.transform([&](const auto&) { return printable(file.file.value_or("")); }),
        reason);
    if (file.values) {
      for (const auto& [key, value] : *file.values) {
        add("  " + printable(key), printable(platform::describe(value)));
      }
    }
  }

  [[nodiscard]] std::string text(const Console& console) const {
    return tableText(console, {"FACT", "VALUE"}, rows_);
  }

 private:
  const Facts& facts_;
  std::vector<std::vector<Cell>> rows_;
};

void addApplications(const Facts& facts, Table& table) {
  if (const auto why = facts.reasons.find("applications"); why != facts.reasons.end()) {
    table.add("running applications", "unknown: " + printable(why->second), Style::waiting);
  }
  for (const auto& [identifier, instances] : facts.applications) {
    table.add(printable(identifier), instances.empty() ? "not running" : describe(instances[0]));
    for (const ApplicationInstance& instance : instances | std::views::drop(1)) {
      table.add("", describe(instance));
    }
  }
}

void addSettings(const Facts& facts, Table& table) {
  const auto directory = [&](const char* name, const std::optional<std::string>& path) {
    table.add(name, path ? printable(*path) : "not given", path ? Style::plain : Style::faint);
  };
  directory("base directory", facts.agent.base);
  directory("data directory", facts.agent.data);
  directory("log directory", facts.agent.logs);
  table.add(
      "agent service",
      facts.agent.serviceAnswers == true ? std::optional<std::string>("answers") : std::nullopt,
      "agentService");
  if (facts.agent.credentialsStored) {
    table.add("credentials", *facts.agent.credentialsStored ? "stored" : "not stored");
  }
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

std::string factsAsTable(const Facts& facts, const Console& console) {
  Table table(facts);
  for (const FactsMember& member : JSONFields<Facts>::list) {
    if (member.show != nullptr && (member.name != "name" || facts.name)) {
      table.add(std::string(member.heading), member.show(facts), member.name);
    }
    if (member.name == "powerSource") {
      for (const platform::PropertyList& source : facts.powerSources) {
        table.add("  described as", printable(platform::describe(source)));
      }
    }
  }
  table.add("software updates", facts.softwareUpdateReachable.transform([](bool reachable) {
    return std::string(reachable ? "reachable" : "unreachable");
  }),
            "softwareUpdateReachable");
  for (const std::string& label : facts.softwareUpdateLabels.value_or(std::vector<std::string>())) {
    table.add("  label", printable(label));
  }
  if (facts.softwareUpdateReachable.value_or(false)) {
    const std::size_t count = facts.availableOSUpdates ? facts.availableOSUpdates->size() : 0;
    table.add("updates known to MDM",
              facts.updatesListed.value_or(facts.availableOSUpdates.has_value())
                  ? std::optional(LogCore::text(count))
                  : std::nullopt,
              "availableOSUpdates");
  }
  for (const auto& update :
       facts.availableOSUpdates.value_or(std::vector<vexlo::AvailableOSUpdate>())) {
    table.add("  update", printable(vexlo::describe(update)));
  }
  addSettings(facts, table);
  addApplications(facts, table);
  return table.text(console);
}

}  // namespace agent_tool
