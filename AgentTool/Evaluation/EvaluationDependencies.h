// The container for evaluating actions: the library's checks with collaborators that only read or
// record.
#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentTool/Evaluation/Intentions.h"
#include "VexloPatchDeployment/Adapters/MachineFacts.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace agent_tool {

/// The sources of an evaluation: this machine, or a record of another one. They must outlive the
/// container and may answer differently from one action to the next.
struct EvaluationSources {
  const vexlo::MachineFacts& machine;
  vexlo::PowerSourceResolver& powerSource;
  vexlo::DiskInfoProvider& disk;
  vexlo::UserSessionProvider& users;
  vexlo::PlistManager& patchData;     ///< Never written.
  vexlo::PlistManager& promptCounts;  ///< Never written.
  vexlo::RunningAppPromptCustomizing& customization;
  vexlo::RunningApplicationQuerying& applications;  ///< Used only for names and paths.
  std::function<std::string()> promptDay;           ///< The day for which prompts are counted.
  platform::Clock now;
  /// In the machine's time zone.
  std::function<platform::Moment(std::chrono::year_month_day)> startOfDay;
  std::function<std::optional<std::string>()> preferredLanguage;
  /// Apple's servers; null if they must not be asked.
  vexlo::SoftwareUpdateLister* softwareUpdates = nullptr;
  vexlo::AvailableOSUpdatesResolver* availableOSUpdates = nullptr;
  /// Connects to the agent's service; returns null if it can't be reached. Empty if it must not be
  /// asked.
  std::function<vexlo::CredentialsFetcher*()> credentials;
};

/// Doesn't ask Apple's servers, but answers as if they were unreachable.
class UnreachableApple final : public vexlo::SoftwareUpdateLister,
                               public vexlo::AvailableOSUpdatesResolver {
 public:
  explicit UnreachableApple(Intentions& intentions) : intentions_(intentions) {}
  [[nodiscard]] vexlo::SoftwareUpdateList fetchSoftwareUpdates() override;
  [[nodiscard]] std::optional<std::vector<vexlo::AvailableOSUpdate>> availableOSUpdates() override;

 private:
  Intentions& intentions_;
};

/// Records commands, which count as successful.
class RecordedCommands final : public vexlo::CommandExecutor {
 public:
  explicit RecordedCommands(Intentions& intentions) : intentions_(intentions) {}
  vexlo::CommandResult run(const std::string& command, const std::optional<std::string>& launchPath,
                           const std::optional<std::string>& pipeInput) override;

 private:
  Intentions& intentions_;
};

/// Replaces the stored credentials; reveals only the user name.
class MaskedCredentials final : public vexlo::CredentialsFetcher {
 public:
  /// Fetches the stored credentials from `stored`; null if they must not be fetched.
  void mask(vexlo::CredentialsFetcher* stored) noexcept { stored_ = stored; }
  [[nodiscard]] std::optional<vexlo::Credentials> credentials() override;

 private:
  vexlo::CredentialsFetcher* stored_ = nullptr;
};

/// The collaborators for all installers.
class EvaluationInstallerDependencies final : public vexlo::SoftwareUpdateInstallerDependencies,
                                              public vexlo::UpgradeInstallerDependencies {
 public:
  EvaluationInstallerDependencies(EvaluationSources& sources, Intentions& intentions);

  /// Null if the agent's service is needed and may be asked, but can't be reached.
  [[nodiscard]] EvaluationInstallerDependencies* forThisMachine();

  [[nodiscard]] vexlo::CredentialsFetcher* userCredentials() override;
  [[nodiscard]] vexlo::CommandExecutor& executor() override { return commands_; }
  [[nodiscard]] vexlo::SoftwareUpdateOutputAnalyser& outputValidator() override {
    return outputAnalyser_;
  }
  [[nodiscard]] vexlo::SoftwareUpdateLabelProvider& labelProvider() override {
    return labelProvider_;
  }
  [[nodiscard]] vexlo::UserSessionProvider& userSessionProvider() override {
    return sources_.users;
  }
  [[nodiscard]] vexlo::SoftwareUpdateNotifier& notifier() override { return notifier_; }
  [[nodiscard]] std::optional<std::string> preferredLanguage() override {
    return sources_.preferredLanguage();
  }

 private:
  /// For commands that don't run.
  struct NoOutputAnalyser final : vexlo::SoftwareUpdateOutputAnalyser {
    [[nodiscard]] std::optional<vexlo::PatchActionResult> validate(
        std::string_view /*output*/) override {
      return std::nullopt;
    }
  };
  struct Silence final : vexlo::SoftwareUpdateNotifier {
    void notifyUpdatesInProgress() override {}
  };

  EvaluationSources& sources_;
  MaskedCredentials credentials_;
  RecordedCommands commands_;
  UnreachableApple unreachableApple_;
  NoOutputAnalyser outputAnalyser_;
  vexlo::DefaultSoftwareUpdateLabel labelProvider_{unreachableApple_};  // used only for a retry
  Silence notifier_;
};

/// The library's checks on `sources`. Whatever would change the machine, ask a user or wait is
/// recorded in `intentions` instead. Reusable for any number of actions and machines.
class EvaluationDependencies final : public vexlo::PatchProcessingDependencies {
 public:
  /// `intentions` must outlive the container.
  EvaluationDependencies(EvaluationSources sources, Intentions& intentions);
  EvaluationDependencies(const EvaluationDependencies&) = delete;
  EvaluationDependencies& operator=(const EvaluationDependencies&) = delete;

  vexlo::BatteryLevelChecker& batteryLevelChecker() override { return battery_; }
  vexlo::MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override { return deferral_; }
  vexlo::DiskSpaceChecker& diskSpaceChecker() override { return disk_; }
  vexlo::UserLoginStatusChecker& userLoginStatusChecker() override { return userLogin_; }
  vexlo::MDMPatchingStatusChecker& mdmPatchingStatusChecker() override { return mdmPatching_; }
  vexlo::AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    return connectivity_;
  }
  vexlo::SoftwareUpdateInstallerDependencies* softwareUpdateInstallerDependencies() override {
    return installers_.forThisMachine();
  }
  vexlo::MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override {
    return deferralEligibility_;
  }
  vexlo::UpgradeInstallerDependencies* upgradeInstallerDependencies() override {
    return installers_.forThisMachine();
  }
  vexlo::MDMStausProvider& mdmStatus() override { return mdmStatus_; }
  vexlo::RunningAppPolicyChecking& runningAppPolicy() override { return policy_; }
  vexlo::AppKilling& appKiller() override { return killer_; }
  vexlo::RunningAppDetecting& runningAppDetector() override { return detector_; }
  vexlo::RunningAppDetailsProviding& runningAppDetailsProvider() override { return details_; }
  vexlo::RunningAppPromptCustomizing& runningAppPromptCustomizationProvider() override {
    return sources_.customization;
  }
  vexlo::RunningAppPromptDataStoring& runningAppPromptDataStore() override { return counts_; }
  vexlo::RunningAppPromptEvaluating& runningAppPromptEvaluator() override { return evaluator_; }
  vexlo::RunningAppPromptCleaning& runningAppPromptCleaner() override { return cleaner_; }
  vexlo::RunningAppPromptPresenting& runningAppPromptPresenter() override { return presenter_; }
  const vexlo::MachineFacts& machine() override { return sources_.machine; }
  platform::Sleeper sleeper() override {
    return [](std::chrono::milliseconds) {};
  }

 private:
  struct MDMStatus final : vexlo::MDMStausProvider {
    explicit MDMStatus(const vexlo::MachineFacts& machineFacts) : machine(machineFacts) {}
    [[nodiscard]] bool isMDMEnrolled() override {
      return machine.mdmEnrollment() != vxutils::EnrollmentType::not_enrolled;
    }
    const vexlo::MachineFacts& machine;
  };

  /// Records what would be killed.
  class Killer final : public vexlo::AppKilling {
   public:
    Killer(vexlo::RunningApplicationQuerying& query, Intentions& intentions)
        : query_(query), intentions_(intentions) {}
    void killApps(const std::vector<std::string>& bundleIDs) override;

   private:
    vexlo::RunningApplicationQuerying& query_;
    Intentions& intentions_;
  };

  /// Reads counts and discards changes.
  class Counts final : public vexlo::RunningAppPromptDataStoring {
   public:
    explicit Counts(vexlo::PlistManager& file) : stored_(file) {}
    [[nodiscard]] std::optional<Record> data(const std::string& key) override {
      return stored_.data(key);
    }
    void saveData(const Record& /*record*/, const std::string& /*key*/) override {}

   private:
    vexlo::RunningAppPromptDataStore stored_;
  };

  struct Cleaner final : vexlo::RunningAppPromptCleaning {
    void clean() override {}
  };

  /// Records how the user would be asked; nobody answers.
  class Presenter final : public vexlo::RunningAppPromptPresenting {
   public:
    explicit Presenter(Intentions& intentions) : intentions_(intentions) {}
    [[nodiscard]] bool requestUserAcknowledgement(
        const std::vector<std::string>& names, const vexlo::RunningAppPromptEvaluation& evaluation,
        std::int64_t timeoutSeconds) override;

   private:
    Intentions& intentions_;
  };

  EvaluationSources sources_;
  UnreachableApple unreachableApple_;

  vexlo::BatteryLevelChecker battery_;
  vexlo::MacOSUpdateDeferralChecker deferral_;
  vexlo::DiskSpaceChecker disk_;
  vexlo::UserLoginStatusChecker userLogin_;
  vexlo::MDMPatchingStatusChecker mdmPatching_;
  vexlo::AppleSoftwareUpdateConnectivityChecker connectivity_;
  vexlo::MacOSUpdateDeferralEligibilityChecker deferralEligibility_;
  MDMStatus mdmStatus_;
  EvaluationInstallerDependencies installers_;
  vexlo::RunningAppPolicy policy_;
  Killer killer_;
  vexlo::RunningAppDetector detector_;
  vexlo::RunningAppDetailsProvider details_;
  Counts counts_;
  vexlo::RunningAppPromptEvaluator evaluator_;
  Cleaner cleaner_;
  Presenter presenter_;
};

}  // namespace agent_tool
