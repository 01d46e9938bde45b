// A made-up Mac, and a container whose checkers look at it.
#pragma once
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/FakePlistManager.h"
#include "Tests/Fakes/FakeUserSessionProvider.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace vexlo {

/// What a test says the machine is like, and the running-application steps in their order.
class FakeMac final : public PowerSourceResolver,
                      public DiskInfoProvider,
                      public RunningAppPolicyChecking,
                      public AppKilling,
                      public RunningAppDetecting,
                      public RunningAppDetailsProviding,
                      public RunningAppPromptCustomizing,
                      public RunningAppPromptEvaluating,
                      public RunningAppPromptCleaning,
                      public RunningAppPromptPresenting {
 public:
  std::optional<PowerSource> powerSource;
  std::optional<std::int64_t> freeBytes;
  std::shared_ptr<FakeUserSessionProvider> session = std::make_shared<FakeUserSessionProvider>();
  std::shared_ptr<FakePlistManager> settings = std::make_shared<FakePlistManager>();
  /// Bundle identifiers that run, with their names (an absent name: no details are had).
  std::map<std::string, std::optional<std::string>> running;
  bool alwaysKill = false;
  bool promptEnabled = false;
  bool userAgrees = false;
  std::optional<RunningAppPromptCustomization> customizationFile;
  RunningAppPromptDecision decision = RunningAppPromptDecision::promptUser;
  std::vector<std::string> events;

  std::optional<PowerSource> currentPowerSource() override { return powerSource; }
  std::optional<std::int64_t> availableDiskSpace() override { return freeBytes; }
  bool isAlwaysKillAppsEnabled() override { return record("kill?", alwaysKill); }
  bool isPromptEnabled() override { return record("prompt?", promptEnabled); }
  void killApps(const std::vector<std::string>& bundleIDs) override {
    events.push_back("kill " + std::to_string(bundleIDs.size()));
  }
  bool isAnyAppRunning(const std::vector<std::string>& /*bundleIDs*/) override {
    return record("detect", !running.empty());
  }
  std::optional<RunningAppDetails> appDetails(const std::string& bundleID) override {
    const std::optional<std::string>& name = running[bundleID];
    return name ? std::optional(RunningAppDetails{*name, "/" + bundleID}) : std::nullopt;
  }
  std::optional<RunningAppPromptCustomization> customization() override {
    return customizationFile;
  }
  const std::optional<RunningAppPromptCustomization>& customizationData() override {
    return customizationFile;
  }
  RunningAppPromptEvaluation evaluate(const std::string& key, const std::string& patchID) override {
    events.push_back("evaluate " + key + " for " + patchID);
    return {.remainingSkipAttempts = 0, .allowScreenGrab = false, .decision = decision};
  }
  void clean() override { events.emplace_back("clean"); }
  bool requestUserAcknowledgement(const std::vector<std::string>& names,
                                  const RunningAppPromptEvaluation& /*evaluation*/,
                                  std::int64_t timeoutSeconds) override {
    return record("ask for " + names.front() + " to " + names.back() + ", " +
                      std::to_string(timeoutSeconds) + " s",
                  userAgrees);
  }

 private:
  bool record(std::string event, bool answer) {
    events.push_back(std::move(event));
    return answer;
  }
};

/// Real checkers over the made-up Mac; no installers, and nothing that asks Apple.
class FakeProcessingDependencies final : public PatchProcessingDependencies {
 public:
  explicit FakeProcessingDependencies(std::shared_ptr<FakeMac> mac)
      : mac_(std::move(mac)),
        battery_(mac_),
        disk_(mac_),
        login_(mac_->session),
        mdmPatching_(mac_->settings) {}

  BatteryLevelChecker& batteryLevelChecker() override { return battery_; }
  MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override { std::terminate(); }
  DiskSpaceChecker& diskSpaceChecker() override { return disk_; }
  UserLoginStatusChecker& userLoginStatusChecker() override { return login_; }
  MDMPatchingStatusChecker& mdmPatchingStatusChecker() override { return mdmPatching_; }
  AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    std::terminate();
  }
  std::shared_ptr<SoftwareUpdateInstallerDependencies> softwareUpdateInstallerDependencies()
      override {
    return nullptr;
  }
  MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override { std::terminate(); }
  std::shared_ptr<UpgradeInstallerDependencies> upgradeInstallerDependencies() override {
    return nullptr;
  }
  MDMStausProvider& mdmStatus() override { std::terminate(); }
  RunningAppPolicyChecking& runningAppPolicy() override { return *mac_; }
  AppKilling& appKiller() override { return *mac_; }
  RunningAppDetecting& runningAppDetector() override { return *mac_; }
  RunningAppDetailsProviding& runningAppDetailsProvider() override { return *mac_; }
  RunningAppPromptCustomizing& runningAppPromptCustomizationProvider() override { return *mac_; }
  RunningAppPromptDataStoring& runningAppPromptDataStore() override { std::terminate(); }
  RunningAppPromptEvaluating& runningAppPromptEvaluator() override { return *mac_; }
  RunningAppPromptCleaning& runningAppPromptCleaner() override { return *mac_; }
  RunningAppPromptPresenting& runningAppPromptPresenter() override { return *mac_; }

 private:
  std::shared_ptr<FakeMac> mac_;
  BatteryLevelChecker battery_;
  DiskSpaceChecker disk_;
  UserLoginStatusChecker login_;
  MDMPatchingStatusChecker mdmPatching_;
};

}  // namespace vexlo
