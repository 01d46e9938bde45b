// A made-up Mac, and a container whose checkers look at it.
#pragma once
#include <deque>
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

/// Answers every command with one exit code and records the commands.
class OneAnswerExecutor final : public CommandExecutor {
 public:
  std::int32_t exitCode = 0;
  std::vector<std::string> commands;
  CommandResult run(const std::string& command, const std::optional<std::string>& /*launchPath*/,
                    const std::optional<std::string>& /*pipeInput*/) override {
    commands.push_back(command);
    return {.exitCode = exitCode, .output = {}};
  }
};

/// The collaborators of an upgrade, without credentials.
class FakeUpgradeInstallation final : public UpgradeInstallerDependencies {
 public:
  OneAnswerExecutor command;
  CredentialsFetcher* userCredentials() override { return nullptr; }
  CommandExecutor& executor() override { return command; }
  SoftwareUpdateNotifier& notifier() override { return notifier_; }

 private:
  class SilentNotifier final : public SoftwareUpdateNotifier {
    void notifyUpdatesInProgress() override {}
  };
  SilentNotifier notifier_;
};

class FixedPowerSource final : public PowerSourceResolver {
 public:
  std::optional<PowerSource> source;
  std::optional<PowerSource> currentPowerSource() override { return source; }
};

class FixedDiskInfo final : public DiskInfoProvider {
 public:
  std::optional<std::int64_t> freeBytes;
  std::optional<std::int64_t> availableDiskSpace() override { return freeBytes; }
};

/// What a test says the machine is like, and the running-application steps in their order.
class FakeMac final : public SoftwareUpdateLister,
                      public AvailableOSUpdatesResolver,
                      public MDMStausProvider,
                      public RunningAppPolicyChecking,
                      public AppKilling,
                      public RunningAppDetecting,
                      public RunningAppDetailsProviding,
                      public RunningAppPromptCustomizing,
                      public RunningAppPromptEvaluating,
                      public RunningAppPromptCleaning,
                      public RunningAppPromptPresenting {
 public:
  std::shared_ptr<FixedPowerSource> battery = std::make_shared<FixedPowerSource>();
  std::shared_ptr<FixedDiskInfo> disk = std::make_shared<FixedDiskInfo>();
  std::shared_ptr<FakeUserSessionProvider> session = std::make_shared<FakeUserSessionProvider>();
  std::shared_ptr<FakePlistManager> settings = std::make_shared<FakePlistManager>();
  SoftwareUpdateList updateList;
  std::optional<std::vector<AvailableOSUpdate>> availableUpdates;
  bool enrolled = false;
  std::shared_ptr<FakeUpgradeInstallation> upgradeInstallation;
  int timesInstallersAsked = 0;
  /// Bundle identifiers that run, with their names (an absent name: no details are had).
  std::map<std::string, std::optional<std::string>> running;
  bool alwaysKill = false;
  bool promptEnabled = false;
  bool userAgrees = false;
  std::optional<RunningAppPromptCustomization> customizationFile;
  RunningAppPromptDecision decision = RunningAppPromptDecision::promptUser;
  std::vector<std::string> events;

  SoftwareUpdateList fetchSoftwareUpdates() override { return updateList; }
  std::optional<std::vector<AvailableOSUpdate>> availableOSUpdates() override {
    return availableUpdates;
  }
  bool isMDMEnrolled() override { return enrolled; }
  bool isAlwaysKillAppsEnabled() override {
    events.emplace_back("kill?");
    return alwaysKill;
  }
  bool isPromptEnabled() override {
    events.emplace_back("prompt?");
    return promptEnabled;
  }
  void killApps(const std::vector<std::string>& bundleIDs) override {
    std::string event = "kill";
    for (const std::string& bundleID : bundleIDs) {
      event += ' ' + bundleID;
    }
    events.push_back(event);
  }
  bool isAnyAppRunning(const std::vector<std::string>& /*bundleIDs*/) override {
    events.emplace_back("detect");
    return !running.empty();
  }
  std::optional<RunningAppDetails> appDetails(const std::string& bundleID) override {
    events.push_back("details " + bundleID);
    const auto found = running.find(bundleID);
    if (found == running.end() || !found->second) {
      return std::nullopt;
    }
    return RunningAppDetails{.appName = *found->second, .executablePath = "/" + bundleID};
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
    std::string event = "ask ";
    for (const char* separator = ""; const std::string& name : names) {
      event += separator + name;
      separator = ", ";
    }
    events.push_back(event + "; " + std::to_string(timeoutSeconds) + " s");
    return userAgrees;
  }
};

/// Real checkers over the made-up Mac.
class FakeProcessingDependencies final : public PatchProcessingDependencies {
 public:
  explicit FakeProcessingDependencies(std::shared_ptr<FakeMac> mac)
      : mac_(std::move(mac)),
        battery_(mac_->battery),
        deferral_(mac_),
        disk_(mac_->disk),
        login_(mac_->session),
        mdmPatching_(mac_->settings),
        connectivity_(mac_),
        eligibility_(mac_->settings) {}

  BatteryLevelChecker& batteryLevelChecker() override { return battery_; }
  MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override { return deferral_; }
  DiskSpaceChecker& diskSpaceChecker() override { return disk_; }
  UserLoginStatusChecker& userLoginStatusChecker() override { return login_; }
  MDMPatchingStatusChecker& mdmPatchingStatusChecker() override { return mdmPatching_; }
  AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    return connectivity_;
  }
  std::shared_ptr<SoftwareUpdateInstallerDependencies> softwareUpdateInstallerDependencies()
      override {
    ++mac_->timesInstallersAsked;
    return nullptr;
  }
  MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override {
    return eligibility_;
  }
  std::shared_ptr<UpgradeInstallerDependencies> upgradeInstallerDependencies() override {
    ++mac_->timesInstallersAsked;
    return mac_->upgradeInstallation;
  }
  MDMStausProvider& mdmStatus() override { return *mac_; }
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
  MacOSUpdateDeferralChecker deferral_;
  DiskSpaceChecker disk_;
  UserLoginStatusChecker login_;
  MDMPatchingStatusChecker mdmPatching_;
  AppleSoftwareUpdateConnectivityChecker connectivity_;
  MacOSUpdateDeferralEligibilityChecker eligibility_;
};

}  // namespace vexlo
