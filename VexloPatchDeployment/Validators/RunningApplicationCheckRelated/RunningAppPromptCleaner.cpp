#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCleaner.h"

#include <cstdint>

#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kRunningAppPromptCleanerTag{"clean()"};

}  // namespace

const std::string& RunningAppPromptConstants::returnCodeFilePath() {
  static const std::string path = agentLogFile("/UserLogs/ApplicationRunningPromptretcode.txt");
  return path;
}

void RunningAppPromptCleaner::clean() {
  appKiller_.killApps({std::string(RunningAppPromptConstants::bundleIdentifier)});
  const std::string& path = RunningAppPromptConstants::returnCodeFilePath();
  const std::int32_t status = fileRemover_.removeFile(path);
  logInfo(kRunningAppPromptCleanerTag,
          [&] { return text("Removing file: ", path, " - ", status); });
}

}  // namespace vexlo
