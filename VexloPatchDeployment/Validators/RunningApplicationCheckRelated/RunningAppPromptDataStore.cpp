#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"

#include <exception>

#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kDataTag{"data(for:)"};
constexpr LogTag kSaveDataTag{"saveData(_:for:)"};

}  // namespace

std::string RunningAppPromptDataStore::plistPath() {
  return agentDataFile("/ApplicationRunningPromptData.plist");
}

std::optional<RunningAppPromptDataStoring::Record> RunningAppPromptDataStore::data(
    const std::string& key) {
  std::optional<Record> record = plistManager_.fetch<Record>(key);
  logInfo(kDataTag, [&] {
    return text("Fetched prompt data for ", key, ": ",
                record ? text("Optional(", platform::describe(*record), ')') : "nil", ".");
  });
  return record;
}

void RunningAppPromptDataStore::saveData(const Record& record, const std::string& key) {
  try {
    plistManager_.updateValue(record, key);
    plistManager_.save(std::nullopt);
  } catch (const std::exception& error) {
    logError(kSaveDataTag, [&] {
      return text("Unable to save prompt data for ", key, ": ", platform::describe(record),
                  ". Error: ", error.what(), ".");
    });
    return;
  }
  logInfo(kSaveDataTag, [&] {
    return text("Saved prompt data for ", key, ": ", platform::describe(record), ".");
  });
}

}  // namespace vexlo
