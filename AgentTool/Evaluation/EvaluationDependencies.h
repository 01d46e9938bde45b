// The container for evaluating actions: the library's checks with collaborators that only read or
// record.
#pragma once
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Evaluation/FactsSources.h"
#include "AgentTool/Evaluation/Intentions.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace agent_tool {

/// Records commands, which count as successful unless the facts say that they would fail.
class DryCommands final : public vexlo::CommandExecutor {
 public:
  DryCommands(const FactsSources& sources, Intentions& intentions)
      : sources_(sources), intentions_(intentions) {}
  vexlo::CommandResult run(const std::string& command, const std::optional<std::string>& launchPath,
                           const std::optional<std::string>& pipeInput) override;

 private:
  const FactsSources& sources_;
  Intentions& intentions_;
};

/// Placeholders for the stored credentials, unless none are stored.
class DryCredentials final : public vexlo::CredentialsFetcher {
 public:
  explicit DryCredentials(const FactsSources& sources) : sources_(sources) {}
  [[nodiscard]] std::optional<vexlo::Credentials> credentials() override;

 private:
  const FactsSources& sources_;
};

/// The collaborators for all installers.
class EvaluationInstallerDependencies final : public vexlo::SoftwareUpdateInstallerDependencies,
                                              public vexlo::UpgradeInstallerDependencies {
 public:
  EvaluationInstallerDependencies(FactsSources& sources, Intentions& intentions)
      : sources_(sources), credentials_(sources), commands_(sources, intentions) {}

  /// Null if the agent's service is needed, but doesn't answer.
  [[nodiscard]] EvaluationInstallerDependencies* ifReachable() {
    return sources_.machine.isAppleSilicon() && !sources_.agentServiceAnswers() ? nullptr : this;
  }

  [[nodiscard]] vexlo::CredentialsFetcher* userCredentials() override {
    return sources_.machine.isAppleSilicon() ? &credentials_ : nullptr;
  }
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
  struct DryOutputAnalyser final : vexlo::SoftwareUpdateOutputAnalyser {
    [[nodiscard]] std::optional<vexlo::PatchActionResult> validate(
        std::string_view /*output*/) override {
      return std::nullopt;
    }
  };
  struct DryNotifier final : vexlo::SoftwareUpdateNotifier {
    void notifyUpdatesInProgress() override {}
  };

  FactsSources& sources_;
  DryCredentials credentials_;
  DryCommands commands_;
  DryOutputAnalyser outputAnalyser_;
  vexlo::DefaultSoftwareUpdateLabel labelProvider_{sources_.labels};
  DryNotifier notifier_;
};

/// The library's checks on a machine's facts. Whatever would change the machine, ask a user or wait
/// is recorded in `intentions` instead. Reusable for any number of actions and machines.
class EvaluationDependencies final : public vexlo::PatchProcessingDependencies {
 public:
  /// `intentions` must outlive the container.
  explicit EvaluationDependencies(Intentions& intentions);
  EvaluationDependencies(const EvaluationDependencies&) = delete;
  EvaluationDependencies& operator=(const EvaluationDependencies&) = delete;

  /// Evaluates for `facts`, which must stay valid until the next call. Call it first.
  void use(const Facts& facts) { sources_.use(facts); }

  vexlo::BatteryLevelChecker& batteryLevelChecker() override { return battery_; }
  vexlo::MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override { return deferral_; }
  vexlo::DiskSpaceChecker& diskSpaceChecker() override { return disk_; }
  vexlo::UserLoginStatusChecker& userLoginStatusChecker() override { return userLogin_; }
  vexlo::MDMPatchingStatusChecker& mdmPatchingStatusChecker() override { return mdmPatching_; }
  vexlo::AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    return connectivity_;
  }
  vexlo::SoftwareUpdateInstallerDependencies* softwareUpdateInstallerDependencies() override {
    return installers_.ifReachable();
  }
  vexlo::MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override {
    return deferralEligibility_;
  }
  vexlo::UpgradeInstallerDependencies* upgradeInstallerDependencies() override {
    return installers_.ifReachable();
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
  class DryKiller final : public vexlo::AppKilling {
   public:
    DryKiller(vexlo::RunningApplicationQuerying& query, Intentions& intentions)
        : query_(query), intentions_(intentions) {}
    void killApps(const std::vector<std::string>& bundleIDs) override;

   private:
    vexlo::RunningApplicationQuerying& query_;
    Intentions& intentions_;
  };

  /// Reads counts and discards changes.
  class DryCounts final : public vexlo::RunningAppPromptDataStoring {
   public:
    explicit DryCounts(vexlo::PlistManager& file) : stored_(file) {}
    [[nodiscard]] std::optional<Record> data(const std::string& key) override {
      return stored_.data(key);
    }
    void saveData(const Record& /*record*/, const std::string& /*key*/) override {}

   private:
    vexlo::RunningAppPromptDataStore stored_;
  };

  struct DryCleaner final : vexlo::RunningAppPromptCleaning {
    void clean() override {}
  };

  /// Records how the user would be asked; nobody answers.
  class DryPresenter final : public vexlo::RunningAppPromptPresenting {
   public:
    explicit DryPresenter(Intentions& intentions) : intentions_(intentions) {}
    [[nodiscard]] bool requestUserAcknowledgement(
        const std::vector<std::string>& names, const vexlo::RunningAppPromptEvaluation& evaluation,
        std::int64_t timeoutSeconds) override;

   private:
    Intentions& intentions_;
  };

  FactsSources sources_;

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
  DryKiller killer_;
  vexlo::RunningAppDetector detector_;
  vexlo::RunningAppDetailsProvider details_;
  DryCounts counts_;
  vexlo::RunningAppPromptEvaluator evaluator_;
  DryCleaner cleaner_;
  DryPresenter presenter_;
};

}  // namespace agent_tool
