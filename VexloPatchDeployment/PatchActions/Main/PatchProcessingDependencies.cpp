#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentLibraries/vxutils/TrueParentTracking.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Adapters/PlistDecoding.h"
#include "VexloPatchDeployment/Adapters/PlistManager.h"
#include "VexloPatchDeployment/Adapters/SystemFileManager.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {
namespace {

using std::make_shared;

/// The installer container for this kind of machine; null when it can't be made.
template <typename Container>
auto forThisMachine() {
  return vxutils::gv_globvars.isAppleSiliconMachine() ? Container::silicon() : Container::intel();
}

/// For an object that the whole process shares; nobody owns it.
template <typename Object>
std::shared_ptr<Object> processWide(Object& object) {
  return {std::shared_ptr<void>(), &object};
}

}  // namespace

DefaultPatchProcessingDependencies::DefaultPatchProcessingDependencies()
    : batteryLevelChecker_(make_shared<BatteryLevelChecker>(
          make_shared<SystemPowerSource>(make_shared<SystemPowerSources>()))),
      macOSUpdateDeferralChecker_(make_shared<MacOSUpdateDeferralChecker>(
          make_shared<SystemAvailableOSUpdates>(make_shared<SystemMDMClient>()))),
      diskSpaceChecker_(make_shared<DiskSpaceChecker>(make_shared<SystemDiskInfo>())),
      userLoginStatusChecker_(
          make_shared<UserLoginStatusChecker>(make_shared<SystemUserSession>())),
      appleSoftwareUpdateConnectivityChecker_(make_shared<AppleSoftwareUpdateConnectivityChecker>(
          make_shared<SystemSoftwareUpdateLister>())),
      mdmStatus_(processWide(AgentMDMStatus::shared())),
      appKiller_(make_shared<AppKiller>(make_shared<SystemRunningApplicationQuery>())),
      runningAppDetector_(
          make_shared<RunningAppDetector>(make_shared<SystemRunningApplicationQuery>())),
      runningAppPromptCleaner_(
          make_shared<RunningAppPromptCleaner>(appKiller_, make_shared<AgentFiles>())),
      runningAppPromptPresenter_(make_shared<RunningAppPromptPresenter>(
          processWide(TerminalUtil::defaultInstance()), make_shared<SystemUserSession>(),
          runningAppPromptCleaner_, make_shared<AgentFiles>(),
          make_shared<SystemRunningApplicationQuery>(),
          make_shared<vxutils::ProcessInformation>())),
      runningAppDetailsProvider_(
          make_shared<RunningAppDetailsProvider>(make_shared<SystemRunningApplicationQuery>())),
      softwareUpdateInstallerDependencies_(
          [] { return forThisMachine<DefaultSoftwareUpdateInstallerDependencies>(); }),
      upgradeInstallerDependencies_(
          [] { return forThisMachine<DefaultUpgradeInstallerDependencies>(); }),
      runningAppPolicy_([] {
        return make_shared<RunningAppPolicy>(
            make_shared<PlistFile>(RunningAppPolicyConstants::plistPath()));
      }),
      mdmPatchingStatusChecker_([] {
        return make_shared<MDMPatchingStatusChecker>(make_shared<PlistFile>(patchDataFile()));
      }),
      deferralEligibilityChecker_([] {
        return make_shared<MacOSUpdateDeferralEligibilityChecker>(
            make_shared<PlistFile>(patchDataFile()));
      }),
      runningAppPromptCustomizationProvider_([] {
        return make_shared<RunningAppPromptCustomizationProvider>(make_shared<PlistSerializer>());
      }),
      runningAppPromptDataStore_([] {
        return make_shared<RunningAppPromptDataStore>(
            make_shared<PlistFile>(RunningAppPromptDataStore::plistPath()));
      }),
      runningAppPromptEvaluator_([this] {
        return make_shared<RunningAppPromptEvaluator>(runningAppPromptCustomizationProvider_.get(),
                                                      runningAppPromptDataStore_.get());
      }) {}

}  // namespace vexlo
