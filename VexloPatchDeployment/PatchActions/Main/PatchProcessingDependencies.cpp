#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"

namespace vexlo {
namespace {

/// The installer container for this type of machine; null if it can't be created.
template <typename Container>
auto forThisMachine() {
  return vxutils::gv_globvars.isAppleSiliconMachine() ? Container::silicon() : Container::intel();
}

}  // namespace

DefaultPatchProcessingDependencies::DefaultPatchProcessingDependencies()
    : softwareUpdateInstallerDependencies_(
          [] { return forThisMachine<DefaultSoftwareUpdateInstallerDependencies>(); }),
      upgradeInstallerDependencies_(
          [] { return forThisMachine<DefaultUpgradeInstallerDependencies>(); }),
      runningAppPolicy_([this] {
        return RunningAppPolicy(policyFile_.emplace(RunningAppPolicyConstants::plistPath()));
      }),
      mdmPatchingStatusChecker_(
          [this] { return MDMPatchingStatusChecker(mdmPatchingFile_.emplace(patchDataFile())); }),
      deferralEligibilityChecker_([this] {
        return MacOSUpdateDeferralEligibilityChecker(
            deferralEligibilityFile_.emplace(patchDataFile()));
      }),
      runningAppPromptCustomizationProvider_(
          [this] { return RunningAppPromptCustomizationProvider(plistDecoder_); }),
      runningAppPromptDataStore_([this] {
        return RunningAppPromptDataStore(
            promptDataFile_.emplace(RunningAppPromptDataStore::plistPath()));
      }),
      runningAppPromptEvaluator_([this] {
        return RunningAppPromptEvaluator(runningAppPromptCustomizationProvider_.get(),
                                         runningAppPromptDataStore_.get());
      }) {}

}  // namespace vexlo
