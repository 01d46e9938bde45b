// The files of the agent that is installed on a simulated Mac.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "Platform/Calendar.h"
#include "Platform/PropertyList.h"
#include "Platform/Text.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/MacFiles.h"

namespace simulated_mac {
namespace {

constexpr std::string_view kPromptDataPrefix = "prompt data ";
constexpr const char* kLinkedFile = "/private/tmp/linked.plist";

/// An integer or Boolean if the value looks like one, else a string; double quotes around it make
/// it a string.
platform::PropertyList plistValue(std::string_view value) {
  if (const auto number = platform::wholeNumber<std::int64_t>(value)) {
    return *number;
  }
  if (value == "true" || value == "false") {
    return value == "true";
  }
  if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value);
}

platform::PropertyList::Dictionary dictionary(const std::vector<Setting>& settings) {
  platform::PropertyList::Dictionary made;
  for (const auto& [key, value] : settings) {
    made.insert_or_assign(key, plistValue(value));
  }
  return made;
}

/// A settings file, if the scenario has its section: the text under the key "content", or else the
/// settings as a dictionary.
void writeSettings(LayeredRoot& root, const Scenario& scenario, std::string_view section,
                   const std::string& path) {
  if (const auto content = scenario.value(section, "content")) {
    root.writeFile(path, *content);
  } else if (const Section* const settings = scenario.section(section)) {
    root.writeFile(path, toXML(dictionary(settings->settings)));
  }
}

/// With [actions], a file with exactly those actions for patch 310990; otherwise the default
/// file.
void writeActionFile(LayeredRoot& root, const Scenario& scenario, const std::string& path) {
  const std::string given = scenario.valueOr("agent", "action file", "usual");
  if (given == "missing") {
    std::filesystem::remove(path);
  } else if (given != "usual") {
    root.writeFile(path, given);
  } else if (const Section* const actions = scenario.section("actions")) {
    FileCodec::JSONObject members;
    for (const Setting& action : actions->settings) {
      members.addJSON(action.key, FileCodec::jsonList(words(action.value)));
    }
    root.writeFile(path, R"({"PatchActions":{"310990":)" + members.done() + "}}\n");
  }
}

void writePromptData(LayeredRoot& root, const Scenario& scenario, const std::string& path) {
  if (const auto given = scenario.value("agent", "prompt data")) {
    const bool isLink = *given == "a link";
    root.writeFile(isLink ? kLinkedFile : path, isLink ? "not the agent's\n" : *given);
    if (isLink) {
      root.makeLink(path, kLinkedFile);
    }
    return;
  }
  platform::PropertyList::Dictionary records;
  for (const auto& [name, settings] : scenario.sectionsWith(kPromptDataPrefix)) {
    platform::PropertyList::Dictionary record = dictionary(settings);
    if (auto today = record.extract("today")) {
      today.key() = platform::dayMonthYear(platform::dayOf(platform::systemClock()()));
      record.insert(std::move(today));
    }
    records.emplace(name.substr(kPromptDataPrefix.size()), std::move(record));
  }
  if (!records.empty()) {
    root.writeFile(path, platform::toXML(records));
  }
}

}  // namespace

void writeAgentFiles(LayeredRoot& root, const Scenario& scenario) {
  const std::string agent = kAgentRoot;
  for (const char* const name : {"/data", "/logs", "/run", "/bin"}) {
    root.makeDirectory(agent + name);
  }
  root.makeDirectory(agent + "/logs/UserLogs", 01777);  // the user's prompt writes here
  writeActionFile(root, scenario, agent + "/client-data/patch-resources/mac-patch-actions.json");
  writeSettings(root, scenario, "patch data", kPatchDataFile);
  writeSettings(root, scenario, "customization",
                agent + "/data/ApplicationRunningPromptCustomization.plist");
  writePromptData(root, scenario, agent + "/data/ApplicationRunningPromptData.plist");
  if (scenario.value("agent", "data directory") == "read-only") {
    root.makeReadOnly(agent + "/data");
  }
}

}  // namespace simulated_mac
