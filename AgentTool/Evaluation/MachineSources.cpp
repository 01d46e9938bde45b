#include "AgentTool/Evaluation/MachineSources.h"

#include "VexloPatchDeployment/Installers/PreferredLanguage.h"

namespace agent_tool {

EvaluationSources MachineSources::sources() {
  return {.machine = machine_,
          .powerSource = powerSource_,
          .disk = disk_,
          .users = users_,
          .patchData = patchData_,
          .promptCounts = promptCounts_,
          .customization = customization_,
          .applications = applications_,
          .promptDay = vexlo::RunningAppPromptDataStoreKeys::currentDate,
          .now = platform::systemClock(),
          .startOfDay = platform::startOfDay,
          .preferredLanguage = vexlo::preferredLanguage,
          .softwareUpdates = asksApple_ ? &softwareUpdates_ : nullptr,
          .availableOSUpdates = asksApple_ ? &availableOSUpdates_ : nullptr,
          .credentials = asksAgent_ ? std::function([this] { return credentials(); }) : nullptr};
}

vexlo::CredentialsFetcher* MachineSources::credentials() { return credentials_.get().get(); }

}  // namespace agent_tool
