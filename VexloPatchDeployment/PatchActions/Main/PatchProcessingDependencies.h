// The container of the collaborators with which actions are run, and its production wiring.
#pragma once
#include <memory>

#include "VexloPatchDeployment/Adapters/MDMStausProvider.h"
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
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// Lends the collaborators of one processor. Members live as long as the container; the two
/// installer containers may be absent (null). For one thread at a time.
class PatchProcessingDependencies {
 public:
  virtual ~PatchProcessingDependencies() = default;

  virtual BatteryLevelChecker& batteryLevelChecker() = 0;
  virtual MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() = 0;
  virtual DiskSpaceChecker& diskSpaceChecker() = 0;
  virtual UserLoginStatusChecker& userLoginStatusChecker() = 0;
  virtual MDMPatchingStatusChecker& mdmPatchingStatusChecker() = 0;
  virtual AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() = 0;
  virtual std::shared_ptr<SoftwareUpdateInstallerDependencies>
  softwareUpdateInstallerDependencies() = 0;
  virtual MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() = 0;
  virtual std::shared_ptr<UpgradeInstallerDependencies> upgradeInstallerDependencies() = 0;
  /// For those who ask the container; the deferral check asks the agent's library itself.
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
};

/// The production wiring. Eleven members are made with the container, eight on first use; an
/// installer container that can't be made stays absent and is not tried again.
class DefaultPatchProcessingDependencies final : public PatchProcessingDependencies {
 public:
  DefaultPatchProcessingDependencies();
  DefaultPatchProcessingDependencies(const DefaultPatchProcessingDependencies&) = delete;
  DefaultPatchProcessingDependencies& operator=(const DefaultPatchProcessingDependencies&) = delete;

  BatteryLevelChecker& batteryLevelChecker() override { return *batteryLevelChecker_; }
  MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override {
    return *macOSUpdateDeferralChecker_;
  }
  DiskSpaceChecker& diskSpaceChecker() override { return *diskSpaceChecker_; }
  UserLoginStatusChecker& userLoginStatusChecker() override { return *userLoginStatusChecker_; }
  MDMPatchingStatusChecker& mdmPatchingStatusChecker() override {
    return *mdmPatchingStatusChecker_.get();
  }
  AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    return *appleSoftwareUpdateConnectivityChecker_;
  }
  std::shared_ptr<SoftwareUpdateInstallerDependencies> softwareUpdateInstallerDependencies()
      override {
    return softwareUpdateInstallerDependencies_.get();
  }
  MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override {
    return *deferralEligibilityChecker_.get();
  }
  std::shared_ptr<UpgradeInstallerDependencies> upgradeInstallerDependencies() override {
    return upgradeInstallerDependencies_.get();
  }
  MDMStausProvider& mdmStatus() override { return *mdmStatus_; }
  RunningAppPolicyChecking& runningAppPolicy() override { return *runningAppPolicy_.get(); }
  AppKilling& appKiller() override { return *appKiller_; }
  RunningAppDetecting& runningAppDetector() override { return *runningAppDetector_; }
  RunningAppDetailsProviding& runningAppDetailsProvider() override {
    return *runningAppDetailsProvider_;
  }
  RunningAppPromptCustomizing& runningAppPromptCustomizationProvider() override {
    return *runningAppPromptCustomizationProvider_.get();
  }
  RunningAppPromptDataStoring& runningAppPromptDataStore() override {
    return *runningAppPromptDataStore_.get();
  }
  RunningAppPromptEvaluating& runningAppPromptEvaluator() override {
    return *runningAppPromptEvaluator_.get();
  }
  RunningAppPromptCleaning& runningAppPromptCleaner() override { return *runningAppPromptCleaner_; }
  RunningAppPromptPresenting& runningAppPromptPresenter() override {
    return *runningAppPromptPresenter_;
  }

 private:
  // Made with the container, in this order.
  std::shared_ptr<BatteryLevelChecker> batteryLevelChecker_;
  std::shared_ptr<MacOSUpdateDeferralChecker> macOSUpdateDeferralChecker_;
  std::shared_ptr<DiskSpaceChecker> diskSpaceChecker_;
  std::shared_ptr<UserLoginStatusChecker> userLoginStatusChecker_;
  std::shared_ptr<AppleSoftwareUpdateConnectivityChecker> appleSoftwareUpdateConnectivityChecker_;
  std::shared_ptr<MDMStausProvider> mdmStatus_;
  std::shared_ptr<AppKilling> appKiller_;
  std::shared_ptr<RunningAppDetecting> runningAppDetector_;
  std::shared_ptr<RunningAppPromptCleaning> runningAppPromptCleaner_;
  std::shared_ptr<RunningAppPromptPresenting> runningAppPromptPresenter_;
  std::shared_ptr<RunningAppDetailsProviding> runningAppDetailsProvider_;
  // Made on first use.
  OnFirstUse<std::shared_ptr<SoftwareUpdateInstallerDependencies>>
      softwareUpdateInstallerDependencies_;
  OnFirstUse<std::shared_ptr<UpgradeInstallerDependencies>> upgradeInstallerDependencies_;
  OnFirstUse<std::shared_ptr<RunningAppPolicyChecking>> runningAppPolicy_;
  OnFirstUse<std::shared_ptr<MDMPatchingStatusChecker>> mdmPatchingStatusChecker_;
  OnFirstUse<std::shared_ptr<MacOSUpdateDeferralEligibilityChecker>> deferralEligibilityChecker_;
  OnFirstUse<std::shared_ptr<RunningAppPromptCustomizing>> runningAppPromptCustomizationProvider_;
  OnFirstUse<std::shared_ptr<RunningAppPromptDataStoring>> runningAppPromptDataStore_;
  OnFirstUse<std::shared_ptr<RunningAppPromptEvaluating>> runningAppPromptEvaluator_;
};

}  // namespace vexlo
