#include "SimulatedMac/AgentFiles.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "Platform/PropertyList.h"
#include "SimulatedMac/DocumentText.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ScenarioValues.h"

namespace simulated_mac {
namespace {

constexpr std::string_view kPromptDataPrefix = "prompt data ";
constexpr const char* kLinkedFile = "/private/tmp/linked.plist";

/// With [actions], a file with exactly those actions for patch 310990; otherwise the default
/// file.
void writeActionFile(LayeredRoot& root, const Scenario& scenario, const std::string& path) {
  const std::string given = scenario.valueOr("agent", "action file", "usual");
  if (given == "missing") {
    root.remove(path);
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

/// The current date in the Mac's time zone, "dd-MM-yyyy".
std::string today(const Scenario& scenario) {
  setenv("TZ", scenario.valueOr("mac", "time zone", "UTC").c_str(), 1);
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 16> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%d-%m-%Y", &local)};
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
  for (const Section& section : scenario.sections()) {
    if (!section.name.starts_with(kPromptDataPrefix)) {
      continue;
    }
    std::vector<Setting> record = section.settings;
    for (Setting& entry : record) {
      if (entry.key == "today") {
        entry.key = today(scenario);
      }
    }
    records.emplace(section.name.substr(kPromptDataPrefix.size()), plistDictionary(record));
  }
  if (!records.empty()) {
    root.writeFile(path, platform::toXML(records));
  }
}

}  // namespace

void writeAgentFiles(LayeredRoot& root, const Scenario& scenario) {
  const std::string agent = kAgentRoot;
  for (const char* const name : {"/data", "/logs", "/run", "/bin"}) {
    root.makeDirectory(agent + name, 0755);
  }
  root.makeDirectory(agent + "/logs/UserLogs", 01777);  // the user's prompt writes here
  writeActionFile(root, scenario, agent + "/client-data/patch-resources/mac-patch-actions.json");
  if (const Section* const data = scenario.section("patch data")) {
    root.writeFile(kPatchDataFile, plistFile(*data));
  }
  if (const Section* const customization = scenario.section("customization")) {
    root.writeFile(agent + "/data/ApplicationRunningPromptCustomization.plist",
                   plistFile(*customization));
  }
  writePromptData(root, scenario, agent + "/data/ApplicationRunningPromptData.plist");
  if (scenario.value("agent", "data directory") == "read-only") {
    root.makeReadOnly(agent + "/data");
  }
}

}  // namespace simulated_mac
