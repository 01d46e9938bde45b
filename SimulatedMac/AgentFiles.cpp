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

class AgentFilesWriter {
 public:
  AgentFilesWriter(LayeredRoot& root, const Scenario& scenario)
      : root_(root), scenario_(scenario) {}

  void write() {
    const std::string agent = kAgentRoot;
    for (const char* const name : {"/data", "/logs", "/run", "/bin"}) {
      root_.makeDirectory(agent + name, 0755);
    }
    root_.makeDirectory(agent + "/logs/UserLogs", 01777);  // the user's prompt writes here
    writeActionFile(agent + "/client-data/patch-resources/mac-patch-actions.json");
    if (const Section* const data = scenario_.section("patch data")) {
      root_.writeFile(kPatchDataFile, plistFile(*data));
    }
    if (const Section* const customization = scenario_.section("customization")) {
      root_.writeFile(agent + "/data/ApplicationRunningPromptCustomization.plist",
                      plistFile(*customization));
    }
    writePromptData(agent + "/data/ApplicationRunningPromptData.plist");
    if (scenario_.value("agent", "data directory") == "read-only") {
      root_.makeReadOnly(agent + "/data");
    }
  }

 private:
  /// With [actions], a file with exactly those actions for patch 310990; otherwise the default
  /// file.
  void writeActionFile(const std::string& path) {
    const std::string given = scenario_.valueOr("agent", "action file", "usual");
    if (given == "missing") {
      root_.remove(path);
    } else if (given != "usual") {
      root_.writeFile(path, given);
    } else if (const Section* const actions = scenario_.section("actions")) {
      FileCodec::JSONObject members;
      for (const Setting& action : actions->settings) {
        members.addJSON(action.key, FileCodec::jsonList(words(action.value)));
      }
      root_.writeFile(path, R"({"PatchActions":{"310990":)" + members.done() + "}}\n");
    }
  }

  void writePromptData(const std::string& path) {
    if (const auto given = scenario_.value("agent", "prompt data")) {
      const bool isLink = *given == "a link";
      root_.writeFile(isLink ? kLinkedFile : path, isLink ? "not the agent's\n" : *given);
      if (isLink) {
        root_.makeLink(path, kLinkedFile);
      }
      return;
    }
    platform::PropertyList::Dictionary records;
    for (const Section& section : scenario_.sections()) {
      if (!section.name.starts_with(kPromptDataPrefix)) {
        continue;
      }
      std::vector<Setting> record = section.settings;
      for (Setting& entry : record) {
        if (entry.key == "today") {
          entry.key = today();
        }
      }
      records.emplace(section.name.substr(kPromptDataPrefix.size()), plistDictionary(record));
    }
    if (!records.empty()) {
      root_.writeFile(path, platform::toXML(records));
    }
  }

  /// The current date in the Mac's time zone, "dd-MM-yyyy".
  [[nodiscard]] std::string today() const {
    setenv("TZ", scenario_.valueOr("mac", "time zone", "UTC").c_str(), 1);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%d-%m-%Y", &local)};
  }

  LayeredRoot& root_;
  const Scenario& scenario_;
};

}  // namespace

void writeAgentFiles(LayeredRoot& root, const Scenario& scenario) {
  AgentFilesWriter(root, scenario).write();
}

}  // namespace simulated_mac
