// The container of the objects that run the actions, and the production wiring.
#pragma once
#include <memory>
#include <optional>

#include "AgentLibraries/vxutils/TrueParentTracking.h"
#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Adapters/MDMStausProvider.h"
#include "VexloPatchDeployment/Adapters/MachineFacts.h"
#include "VexloPatchDeployment/Adapters/PlistDecoding.h"
#include "VexloPatchDeployment/Adapters/PlistManager.h"
#include "VexloPatchDeployment/Adapters/SystemFileManager.h"
#include "VexloPatchDeployment/Common/OnFirstUse.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"
#include "VexloPatchDeployment/Validators/Battery/Battery.h"
#include "VexloPatchDeployment/Validators/DeferCheck/DeferCheck.h"
#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"
#include "VexloPatchDeployment/Validators/Disk/Disk.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetailsProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPolicy.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCleaner.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// The collaborators of one processor. Members live as long as the container; the two installer
/// containers may be null. Not thread-safe. Tests and evaluations of
/// recorded facts have others than the default.
class PatchProcessingDependencies {
 public:
  virtual ~PatchProcessingDependencies() = default;

  virtual BatteryLevelChecker& batteryLevelChecker() = 0;
  virtual MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() = 0;
  virtual DiskSpaceChecker& diskSpaceChecker() = 0;
  virtual UserLoginStatusChecker& userLoginStatusChecker() = 0;
  virtual MDMPatchingStatusChecker& mdmPatchingStatusChecker() = 0;
  virtual AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() = 0;
  virtual SoftwareUpdateInstallerDependencies* softwareUpdateInstallerDependencies() = 0;
  virtual MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() = 0;
  virtual UpgradeInstallerDependencies* upgradeInstallerDependencies() = 0;
  /// Not used by the library, whose deferral check asks the agent's library directly.
  virtual MDMStausProvider& mdmStatus() = 0;
  virtual RunningAppPolicyChecking& runningAppPolicy() = 0;
  virtual AppKilling& appKiller() = 0;
  virtual RunningAppDetecting& runningAppDetector() = 0;
  virtual RunningAppDetailsProviding& runningAppDetailsProvider() = 0;
  virtual RunningAppPromptCustomizing& runningAppPromptCustomizationProvider() = 0;
  virtual RunningAppPromptDataStoring& runningAppPromptDataStore() = 0;
  virtual RunningAppPromptEvaluating& runningAppPromptEvaluator() = 0;
  virtual RunningAppPromptCleaning& runningAppPromptCleaner() = 0;
  virtual RunningAppPromptPresenting& runningAppPromptPresenter() = 0;

  /// The machine that the processor and the installers act on.
  virtual const MachineFacts& machine() = 0;
  /// How installers pause.
  virtual platform::Sleeper sleeper() = 0;
};

/// The production wiring. Eleven members are created with the container, eight on first use. An
/// installer container that can't be created stays null and is not retried.
class DefaultPatchProcessingDependencies final : public PatchProcessingDependencies {
 public:
  DefaultPatchProcessingDependencies();
  DefaultPatchProcessingDependencies(const DefaultPatchProcessingDependencies&) = delete;
  DefaultPatchProcessingDependencies& operator=(const DefaultPatchProcessingDependencies&) = delete;

  BatteryLevelChecker& batteryLevelChecker() override { return batteryLevelChecker_; }
  MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override {
    return macOSUpdateDeferralChecker_;
  }
  DiskSpaceChecker& diskSpaceChecker() override { return diskSpaceChecker_; }
  UserLoginStatusChecker& userLoginStatusChecker() override { return userLoginStatusChecker_; }
  MDMPatchingStatusChecker& mdmPatchingStatusChecker() override {
    return mdmPatchingStatusChecker_.get();
  }
  AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    return appleSoftwareUpdateConnectivityChecker_;
  }
  SoftwareUpdateInstallerDependencies* softwareUpdateInstallerDependencies() override {
    return softwareUpdateInstallerDependencies_.get().get();
  }
  MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override {
    return deferralEligibilityChecker_.get();
  }
  UpgradeInstallerDependencies* upgradeInstallerDependencies() override {
    return upgradeInstallerDependencies_.get().get();
  }
  MDMStausProvider& mdmStatus() override { return AgentMDMStatus::shared(); }
  RunningAppPolicyChecking& runningAppPolicy() override { return runningAppPolicy_.get(); }
  AppKilling& appKiller() override { return appKiller_; }
  RunningAppDetecting& runningAppDetector() override { return runningAppDetector_; }
  RunningAppDetailsProviding& runningAppDetailsProvider() override {
    return runningAppDetailsProvider_;
  }
  RunningAppPromptCustomizing& runningAppPromptCustomizationProvider() override {
    return runningAppPromptCustomizationProvider_.get();
  }
  RunningAppPromptDataStoring& runningAppPromptDataStore() override {
    return runningAppPromptDataStore_.get();
  }
  RunningAppPromptEvaluating& runningAppPromptEvaluator() override {
    return runningAppPromptEvaluator_.get();
  }
  RunningAppPromptCleaning& runningAppPromptCleaner() override { return runningAppPromptCleaner_; }
  RunningAppPromptPresenting& runningAppPromptPresenter() override {
    return runningAppPromptPresenter_;
  }
  const MachineFacts& machine() override { return machine_; }
  platform::Sleeper sleeper() override { return platform::systemSleeper(); }

 private:
  // Used by the members below.
  MachineFacts machine_;
  SystemPowerSources powerSources_;
  SystemPowerSource powerSource_{powerSources_};
  SystemMDMClient mdmClient_;
  SystemAvailableOSUpdates availableOSUpdates_{mdmClient_};
  SystemDiskInfo diskInfo_;
  SystemUserSession userSession_;
  SystemSoftwareUpdateLister softwareUpdateLister_;
  SystemRunningApplicationQuery runningApplicationQuery_;
  AgentFiles files_;
  vxutils::ProcessInformation processInformation_;
  PlistSerializer plistDecoder_;

  // Created with the container, in this order.
  BatteryLevelChecker batteryLevelChecker_{powerSource_};
  MacOSUpdateDeferralChecker macOSUpdateDeferralChecker_{availableOSUpdates_};
  DiskSpaceChecker diskSpaceChecker_{diskInfo_};
  UserLoginStatusChecker userLoginStatusChecker_{userSession_};
  AppleSoftwareUpdateConnectivityChecker appleSoftwareUpdateConnectivityChecker_{
      softwareUpdateLister_};
  AppKiller appKiller_{runningApplicationQuery_};
  RunningAppDetector runningAppDetector_{runningApplicationQuery_};
  RunningAppPromptCleaner runningAppPromptCleaner_{appKiller_, files_};
  RunningAppPromptPresenter runningAppPromptPresenter_{
      TerminalUtil::defaultInstance(), userSession_,       runningAppPromptCleaner_, files_,
      runningApplicationQuery_,        processInformation_};
  RunningAppDetailsProvider runningAppDetailsProvider_{runningApplicationQuery_};

  // Created on first use, because the agent may set its directories until then. Each settings file
  // is created together with the member that reads it.
  OnFirstUse<std::unique_ptr<SoftwareUpdateInstallerDependencies>>
      softwareUpdateInstallerDependencies_;
  OnFirstUse<std::unique_ptr<UpgradeInstallerDependencies>> upgradeInstallerDependencies_;
  std::optional<PlistFile> policyFile_;
  OnFirstUse<RunningAppPolicy> runningAppPolicy_;
  std::optional<PlistFile> mdmPatchingFile_;
  OnFirstUse<MDMPatchingStatusChecker> mdmPatchingStatusChecker_;
  std::optional<PlistFile> deferralEligibilityFile_;
  OnFirstUse<MacOSUpdateDeferralEligibilityChecker> deferralEligibilityChecker_;
  OnFirstUse<RunningAppPromptCustomizationProvider> runningAppPromptCustomizationProvider_;
  std::optional<PlistFile> promptDataFile_;
  OnFirstUse<RunningAppPromptDataStore> runningAppPromptDataStore_;
  OnFirstUse<RunningAppPromptEvaluator> runningAppPromptEvaluator_;
};

}  // namespace vexlo
