#include "AgentTool/Evaluation/Evaluator.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace agent_tool {
namespace {

using LogCore::text;
using vexlo::CommandResult;
using vexlo::RunningAppPromptCustomization;
using vexlo::RunningAppPromptEvaluation;

constexpr std::int32_t kUnreachableStatus = 1;  // stops the check that asked
constexpr std::int32_t kNoSuchUpdateStatus = 1;
constexpr std::int32_t kNoSuchProgramStatus = 127;  // the shell's
constexpr std::string_view kStartOSInstall = "/Contents/Resources/startosinstall";

/// The first quoted word of a command line, with its escapes: a label, or a program's path.
std::string_view firstQuoted(std::string_view command) {
  command.remove_prefix(std::min(command.find('"'), command.size() - 1) + 1);
  std::size_t end = 0;
  while (end < command.size() && command[end] != '"') {
    end += command[end] == '\\' ? 2 : 1;
  }
  return command.substr(0, end);
}

/// How an installer's command is known to fail: `softwareupdate` doesn't list its label, or the
/// InstallAssistant application is not there. Absent if it may succeed.
std::optional<CommandResult> failureOf(std::string_view command, const Facts& facts) {
  const auto isMissing = [](std::string_view escaped, const auto& known) {
    return known && std::ranges::find(*known, escaped, vexlo::insideDoubleQuotes) == known->end();
  };
  std::string_view name = firstQuoted(command);
  if (!name.ends_with(kStartOSInstall)) {
    return isMissing(name, facts.softwareUpdateLabels)
               ? std::optional(CommandResult{.exitCode = kNoSuchUpdateStatus,
                                             .output = "softwareupdate doesn't list this label"})
               : std::nullopt;
  }
  name.remove_suffix(kStartOSInstall.size());
  return name.substr(0, name.rfind('/')) == kApplicationsFolder &&
                 isMissing(name, facts.installAssistants)
             ? std::optional(CommandResult{.exitCode = kNoSuchProgramStatus,
                                           .output = "there is no such application"})
             : std::nullopt;
}

/// Never written.
struct RecordedFile final : vexlo::PlistManager {
  [[nodiscard]] std::optional<platform::PropertyList> fetchValue(const std::string& key) override {
    if (!facts->values) {
      return std::nullopt;
    }
    const auto found = facts->values->find(key);
    return found == facts->values->end() ? std::nullopt : std::optional(found->second);
  }
  void updateValue(std::optional<platform::PropertyList> /*value*/,
                   const std::string& /*key*/) override {}
  void save(const std::optional<std::string>& /*path*/) override {}

  const SettingsFile* facts = nullptr;
};

/// The list of updates, as far as labels are read in it.
struct RecordedLabels final : vexlo::SoftwareUpdateLister {
  [[nodiscard]] CommandResult fetchSoftwareUpdates() override {
    std::string list;
    for (const std::string& label :
         facts->softwareUpdateLabels.value_or(std::vector<std::string>())) {
      list += "* Label: " + label + '\n';
    }
    return {.exitCode = 0, .output = std::move(list)};
  }

  const Facts* facts = nullptr;
};

}  // namespace

/// Answers the library from facts, and counts what they lack as not asked. Whatever would change
/// the machine, ask a user or wait becomes part of the evaluation instead.
class Evaluator::RecordedMachine final : public vexlo::PowerSourceResolver,
                                         public vexlo::DiskInfoProvider,
                                         public vexlo::UserSessionProvider,
                                         public vexlo::MDMStausProvider,
                                         public vexlo::SoftwareUpdateLister,
                                         public vexlo::AvailableOSUpdatesResolver,
                                         public vexlo::RunningApplicationQuerying,
                                         public vexlo::AppKilling,
                                         public vexlo::RunningAppPromptCustomizing,
                                         public vexlo::RunningAppPromptDataStoring,
                                         public vexlo::RunningAppPromptCleaning,
                                         public vexlo::RunningAppPromptPresenting,
                                         public vexlo::CredentialsFetcher,
                                         public vexlo::CommandExecutor,
                                         public vexlo::SoftwareUpdateOutputAnalyser,
                                         public vexlo::SoftwareUpdateNotifier,
                                         public vexlo::ActionObserver {
 public:
  const vexlo::MachineFacts machine = recordedMachine(facts_);
  RecordedFile patchData;
  RecordedLabels labels;

  void use(const Facts& facts) {
    facts_ = &facts;
    labels.facts = &facts;
    patchData.facts = &facts.patchData;
    promptCounts_.facts = &facts.promptCounts;
  }
  [[nodiscard]] const Facts& facts() const { return *facts_; }

  /// Begins the evaluation of another action.
  void begin() {
    evaluation_ = {};
    doubt_.clear();
  }
  /// Ends it, when the library returned `result`.
  [[nodiscard]] const Evaluation& end(vexlo::PatchActionResult result) {
    if (evaluation_.prediction == Prediction::wouldRun) {
      evaluation_.next = "would run " + platform::joined(evaluation_.commands, ", then ");
    } else if (!doubt_.empty() && result.outcome == vexlo::PatchActionResult::Outcome::success &&
               isFirst(Prediction::notAsked)) {
      evaluation_.next = "not asked: " + doubt_;
      evaluation_.measurements.clear();
    } else if (isFirst(predictionOf(result.outcome))) {
      evaluation_.result = std::move(result);
    }
    return evaluation_;
  }

  [[nodiscard]] std::optional<vexlo::PowerSource> currentPowerSource() override {
    return facts_->powerSource;
  }
  [[nodiscard]] std::optional<std::int64_t> availableDiskSpace() override {
    return facts_->freeDiskSpace;
  }
  [[nodiscard]] std::string currentConsoleUserName() override { return facts_->consoleUser; }
  [[nodiscard]] std::optional<std::string> loggedOnUsers() override {
    return facts_->loggedOnUsers;
  }
  [[nodiscard]] std::optional<std::uint32_t> userID(const std::string& name) override {
    return name == facts_->consoleUser ? facts_->consoleUserID : std::nullopt;
  }
  [[nodiscard]] bool isMDMEnrolled() override {
    return machine.mdmEnrollment() != vxutils::EnrollmentType::not_enrolled;
  }

  /// Whether Apple's servers can be reached, without a list.
  [[nodiscard]] CommandResult fetchSoftwareUpdates() override {
    if (!facts_->softwareUpdateReachable) {
      if (isFirst(Prediction::notAsked)) {
        evaluation_.next = "not asked: softwareupdate --list";
      }
      return {.exitCode = kUnreachableStatus, .output = "(not asked)"};
    }
    return *facts_->softwareUpdateReachable
               ? CommandResult{.exitCode = 0, .output = {}}
               : CommandResult{
                     .exitCode = facts_->softwareUpdateStatus.value_or(kUnreachableStatus),
                     .output = std::string(vexlo::kCantConnectToSoftwareUpdate)};
  }
  [[nodiscard]] std::optional<vexlo::AvailableOSUpdates> availableOSUpdates() override {
    return facts_->availableOSUpdates.transform([this](const auto& updates) {
      return vexlo::AvailableOSUpdates{.updates = updates,
                                       .isListed = facts_->updatesListed.value_or(true)};
    });
  }

  [[nodiscard]] std::vector<vexlo::RunningApplication> runningApplications(
      const std::string& bundleID) override {
    std::vector<vexlo::RunningApplication> running;
    const auto found = facts_->applications.find(bundleID);
    if (found != facts_->applications.end()) {
      for (const ApplicationInstance& instance : found->second) {
        running.push_back({.bundleIdentifier = bundleID,
                           .localizedName = instance.name,
                           .processIdentifier = instance.processIdentifier,
                           .executableURL = instance.executable,
                           .forceTerminate = [] { return false; }});
      }
    } else if (!facts_->allApplications && doubt_.empty()) {
      doubt_ = text("whether ", bundleID, " runs");
    }
    return running;
  }
  void killApps(const std::vector<std::string>& bundleIDs) override {
    if (!isFirst(Prediction::wouldKill)) {
      return;
    }
    for (const std::string& bundleID : bundleIDs) {
      for (const auto& application : runningApplications(bundleID)) {
        evaluation_.applications.push_back(application.localizedName.value_or(bundleID));
      }
    }
    evaluation_.next = "would kill " + platform::joined(evaluation_.applications, ", ");
  }

  [[nodiscard]] std::optional<RunningAppPromptCustomization> customization() override {
    return customizationData();
  }
  [[nodiscard]] const std::optional<RunningAppPromptCustomization>& customizationData() override {
    // A value of the wrong type, in a line written by hand, invalidates all settings, as in the
    // file.
    try {
      customization_ =
          facts_->customization.values.transform(RunningAppPromptCustomization::decode);
    } catch (const FileCodec::DecodingError&) {
      customization_.reset();
    }
    return customization_;
  }
  [[nodiscard]] std::optional<Record> data(const std::string& key) override {
    return storedCounts_.data(key);
  }
  void saveData(const Record& /*record*/, const std::string& /*key*/) override {}
  void clean() override {}
  /// Nobody answers.
  [[nodiscard]] bool requestUserAcknowledgement(const std::vector<std::string>& names,
                                                const RunningAppPromptEvaluation& prompt,
                                                std::int64_t /*timeoutSeconds*/) override {
    const bool forces = prompt.decision == vexlo::RunningAppPromptDecision::forceDeployment;
    if (isFirst(forces ? Prediction::wouldForce : Prediction::wouldAsk)) {
      const std::int64_t left = prompt.remainingSkipAttempts;
      evaluation_.applications = names;
      evaluation_.postponementsLeft = left;
      evaluation_.next = forces ? "would force" : "would ask";
      if (left >= 1) {
        evaluation_.next +=
            text(": ", left, left == 1 ? " postponement left" : " postponements left");
      }
    }
    return forces;
  }

  /// Placeholders, unless none are stored.
  [[nodiscard]] std::optional<vexlo::Credentials> credentials() override {
    const AgentState& agent = facts_->agent;
    return agent.credentialsStored == false ? std::nullopt
                                            : std::optional(vexlo::Credentials::placeholder(
                                                  agent.userName.value_or("<user>"), "<password>"));
  }
  /// Commands succeed unless the facts say that they would fail.
  CommandResult run(const std::string& command, const std::optional<std::string>& /*launchPath*/,
                    const std::optional<std::string>& /*pipeInput*/) override {
    std::optional<CommandResult> failure = failureOf(command, *facts_);
    if (failure || isFirst(Prediction::wouldRun) ||
        evaluation_.prediction == Prediction::wouldRun) {
      evaluation_.commands.push_back(command);
    }
    return std::move(failure).value_or(CommandResult{.exitCode = 0, .output = "(not run)"});
  }
  [[nodiscard]] std::optional<vexlo::PatchActionResult> validate(
      std::string_view /*output*/) override {
    return std::nullopt;
  }
  void notifyUpdatesInProgress() override {}

  void measured(const vexlo::ActionID& /*action*/, const vexlo::Measurement& found) override {
    if (evaluation_.prediction == Prediction::success) {
      evaluation_.measurements.push_back(found);
    }
  }

 private:
  /// Whether nothing else would happen before what `prediction` says, which it then becomes.
  bool isFirst(Prediction prediction) {
    if (evaluation_.prediction != Prediction::success) {
      return false;
    }
    evaluation_.prediction = prediction;
    return true;
  }

  const Facts* facts_ = nullptr;
  Evaluation evaluation_;
  std::string doubt_;  // what a success without any consequence depends on
  std::optional<RunningAppPromptCustomization> customization_;
  RecordedFile promptCounts_;
  vexlo::RunningAppPromptDataStore storedCounts_{promptCounts_};
};

class Evaluator::Checks final : public vexlo::PatchProcessingDependencies,
                                public vexlo::SoftwareUpdateInstallerDependencies,
                                public vexlo::UpgradeInstallerDependencies {
 public:
  explicit Checks(std::shared_ptr<RecordedMachine> machine) : machine_(std::move(machine)) {}

  vexlo::BatteryLevelChecker& batteryLevelChecker() override { return battery_; }
  vexlo::MacOSUpdateDeferralChecker& macOSUpdateDeferralChecker() override { return deferral_; }
  vexlo::DiskSpaceChecker& diskSpaceChecker() override { return disk_; }
  vexlo::UserLoginStatusChecker& userLoginStatusChecker() override { return userLogin_; }
  vexlo::MDMPatchingStatusChecker& mdmPatchingStatusChecker() override { return mdmPatching_; }
  vexlo::AppleSoftwareUpdateConnectivityChecker& appleSoftwareUpdateConnectivityChecker() override {
    return connectivity_;
  }
  vexlo::MacOSUpdateDeferralEligibilityChecker& deferralEligibilityChecker() override {
    return deferralEligibility_;
  }
  vexlo::MDMStausProvider& mdmStatus() override { return *machine_; }
  vexlo::RunningAppPolicyChecking& runningAppPolicy() override { return policy_; }
  vexlo::AppKilling& appKiller() override { return *machine_; }
  vexlo::RunningAppDetecting& runningAppDetector() override { return detector_; }
  vexlo::RunningAppDetailsProviding& runningAppDetailsProvider() override { return details_; }
  vexlo::RunningAppPromptCustomizing& runningAppPromptCustomizationProvider() override {
    return *machine_;
  }
  vexlo::RunningAppPromptDataStoring& runningAppPromptDataStore() override { return *machine_; }
  vexlo::RunningAppPromptEvaluating& runningAppPromptEvaluator() override { return prompts_; }
  vexlo::RunningAppPromptCleaning& runningAppPromptCleaner() override { return *machine_; }
  vexlo::RunningAppPromptPresenting& runningAppPromptPresenter() override { return *machine_; }
  const vexlo::MachineFacts& machine() override { return machine_->machine; }
  platform::Sleeper sleeper() override {
    return [](std::chrono::milliseconds) {};
  }

  vexlo::SoftwareUpdateInstallerDependencies* softwareUpdateInstallerDependencies() override {
    return isServiceMissing() ? nullptr : this;
  }
  vexlo::UpgradeInstallerDependencies* upgradeInstallerDependencies() override {
    return isServiceMissing() ? nullptr : this;
  }
  vexlo::CredentialsFetcher* userCredentials() override {
    return facts().isAppleSilicon ? machine_.get() : nullptr;
  }
  vexlo::CommandExecutor& executor() override { return *machine_; }
  vexlo::SoftwareUpdateOutputAnalyser& outputValidator() override { return *machine_; }
  vexlo::SoftwareUpdateLabelProvider& labelProvider() override { return labels_; }
  vexlo::UserSessionProvider& userSessionProvider() override { return *machine_; }
  vexlo::SoftwareUpdateNotifier& notifier() override { return *machine_; }
  std::optional<std::string> preferredLanguage() override {
    const auto& languages = facts().preferredLanguages;
    return languages.empty() ? std::nullopt : std::optional(languages.front());
  }

 private:
  [[nodiscard]] const Facts& facts() const { return machine_->facts(); }
  /// Whether the agent's service is needed, but can't be reached as far as is known.
  [[nodiscard]] bool isServiceMissing() const {
    const AgentState& agent = facts().agent;
    return facts().isAppleSilicon && !agent.credentialsStored && agent.serviceAnswers == false;
  }

  std::shared_ptr<RecordedMachine> machine_;
  vexlo::BatteryLevelChecker battery_{*machine_};
  vexlo::MacOSUpdateDeferralChecker deferral_{
      *machine_, [this] { return facts().time; },
      [this](std::chrono::year_month_day day) {  // in the machine's time zone
        return platform::Moment(std::chrono::sys_days(day)) - facts().offsetFromUTC;
      }};
  vexlo::DiskSpaceChecker disk_{*machine_};
  vexlo::UserLoginStatusChecker userLogin_{*machine_};
  vexlo::MDMPatchingStatusChecker mdmPatching_{machine_->patchData};
  vexlo::AppleSoftwareUpdateConnectivityChecker connectivity_{*machine_};
  vexlo::MacOSUpdateDeferralEligibilityChecker deferralEligibility_{machine_->patchData};
  vexlo::RunningAppPolicy policy_{machine_->patchData};
  vexlo::RunningAppDetector detector_{*machine_};
  vexlo::RunningAppDetailsProvider details_{*machine_};
  vexlo::RunningAppPromptEvaluator prompts_{*machine_, *machine_,
                                            [this] { return facts().promptDay; }};
  vexlo::DefaultSoftwareUpdateLabel labels_{machine_->labels};
};

std::optional<std::string> Evaluation::reason() const {
  return result.and_then(&vexlo::PatchActionResult::description)
      .transform([](const auto& description) { return name(description); });
}

Evaluator::Evaluator(vexlo::PatchIdentifier patch,
                     std::shared_ptr<const vexlo::PatchActionGroup> actionFile)
    : machine_(std::make_shared<RecordedMachine>()) {
  struct Processor final : vexlo::ProcessPatchActions {
    Processor(vexlo::PatchIdentifier patch,
              std::shared_ptr<const vexlo::PatchActionGroup> actionFile,
              std::unique_ptr<vexlo::PatchProcessingDependencies> dependencies)
        : ProcessPatchActions(std::move(patch), std::move(actionFile), std::move(dependencies)) {}
  };
  processor_ = std::make_unique<Processor>(std::move(patch), std::move(actionFile),
                                           std::make_unique<Checks>(machine_));
  processor_->setObserver(machine_);
}

void Evaluator::use(const Facts& facts) { machine_->use(facts); }

const Evaluation& Evaluator::evaluate(const vexlo::ActionID& action) {
  machine_->begin();
  return machine_->end(processor_->execute(action));
}

}  // namespace agent_tool
