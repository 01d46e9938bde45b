#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <ranges>
#include <tuple>
#include <utility>

#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace vexlo {
namespace {

constexpr LogTag kInitTag{"init(for:)"};
constexpr LogTag kExecuteTag{"execute(for:)"};
constexpr LogTag kDispatchTag{"execute(for:using:)"};
constexpr LogTag kSiliconBatteryTag{"hasMinimumBatteryForSiliconMachine(for:using:)"};
constexpr LogTag kIntelBatteryTag{"hasMinimumBatteryForIntelMachine(for:using:)"};
constexpr LogTag kUserLoggedInTag{"isUserLoggedIn()"};
constexpr LogTag kMultipleUsersTag{"isMultipleUsersLoggedIn()"};
constexpr LogTag kDiskSpaceTag{"hasMinimumDiskSpace(for:using:)"};
constexpr LogTag kDeferralTag{"isMacOSUpdateDeferred(for:using:)"};
constexpr LogTag kInstallTag{"installmacOSUpdates(for:using:)"};
constexpr LogTag kUpgradeTag{"installMacOSUpdatesUsingInstallAssistant(for:using:)"};
constexpr LogTag kRunningTag{"applicationRunningCheck(for:using:)"};

constexpr std::int64_t kBytesPerGigabyte = 1'000'000'000;

std::shared_ptr<const PatchActionGroup> decodedFileFor(const PatchIdentifier& patch) {
  const PatchActionJSONParser::Outcome& outcome =
      PatchActionJSONParser::shared().cachedPatchActionGroup();
  if (!outcome) {
    logError(kInitTag, [&] {
      return text("Unable to evaluate patch actions for patchID: ", patch.patchID(),
                  ". Error: ", outcome.error().what(), ".");
    });
    throw outcome.error();
  }
  return *outcome;
}

/// An action that applies to the patch.
struct ApplicableAction {
  ActionID actionID;
  std::vector<std::string> arguments;
};

PatchActionResult hasMinimumBattery(const LogTag& tag, const ActionRun& run, bool isForSilicon) {
  const bool isSilicon = run.dependencies.machine().isAppleSilicon();
  if (isSilicon != isForSilicon) {
    logInfo(tag, [&] {
      return text(isSilicon ? "Its an" : "Its not an",
                  " Apple Silicon machine, skipping actionID: ", describe(run.action), ".");
    });
    decidedBy(DecidingRule::otherProcessor);
    return PatchActionResult::success();
  }
  const std::optional<std::int64_t> minimumPercent = run.integer(0);
  if (!minimumPercent) {
    logInfo(tag, [&] {
      return text("Unable to get minimum battery percentage for actionID: ", describe(run.action),
                  ", considering as failure.");
    });
    return inSufficientArguments("minimum battery percentage", run.argument(0));
  }
  return run.dependencies.batteryLevelChecker().hasMinimumBattery(*minimumPercent)
             ? PatchActionResult::success()
             : PatchActionResult::applyLater(PlainReason::inSufficientBattery);
}

PatchActionResult nothingToRun(const ActionRun& run, std::string_view why, DecidingRule rule) {
  decidedBy(rule);
  logError(kDispatchTag, [&] {
    return text("ActionID ", describe(run.action), ":", listText(run.arguments), " not ", why,
                ", considering as success.");
  });
  return PatchActionResult::success();
}

}  // namespace

struct ProcessPatchActions::Implementation {
  std::shared_ptr<const PatchActionGroup> patchActionGroup;
  PatchIdentifier patchIdentifier;
  std::unique_ptr<PatchProcessingDependencies> dependencies;
  std::shared_ptr<ActionObserver> observer = nullptr;
  std::optional<std::vector<ApplicableAction>> actions = std::nullopt;

  /// In running order; determined on the first call.
  [[nodiscard]] const std::vector<ApplicableAction>& applicableActions() {
    if (!actions) {
      std::vector<ApplicableAction> found;
      for (const auto& [actionID, arguments, origin] :
           PatchActionProvider(patchIdentifier, patchActionGroup).actionDetails()) {
        found.push_back({.actionID = actionID, .arguments = {arguments.begin(), arguments.end()}});
      }
      actions = std::move(found);
    }
    return *actions;
  }

  /// Null if the action doesn't apply.
  [[nodiscard]] const std::vector<std::string>* argumentsOf(const ActionID& action) {
    const auto place = [](const ActionID& id) { return std::tuple(id.sortOrder(), id.code()); };
    const std::vector<ApplicableAction>& all = applicableActions();
    const auto found = std::ranges::lower_bound(
        all, place(action), {}, [&](const ApplicableAction& each) { return place(each.actionID); });
    return found != all.end() && found->actionID == action ? &found->arguments : nullptr;
  }
};

ProcessPatchActions::ProcessPatchActions(PatchIdentifier patchIdentifier)
    : implementation_(std::make_unique<Implementation>(Implementation{
          .patchActionGroup = decodedFileFor(patchIdentifier),
          .patchIdentifier = std::move(patchIdentifier),
          .dependencies = std::make_unique<DefaultPatchProcessingDependencies>()})) {}

ProcessPatchActions::ProcessPatchActions(PatchIdentifier patchIdentifier,
                                         std::shared_ptr<const PatchActionGroup> patchActionGroup)
    : ProcessPatchActions(std::move(patchIdentifier), std::move(patchActionGroup),
                          std::make_unique<DefaultPatchProcessingDependencies>()) {}

ProcessPatchActions::ProcessPatchActions(PatchIdentifier patchIdentifier,
                                         std::shared_ptr<const PatchActionGroup> patchActionGroup,
                                         std::unique_ptr<PatchProcessingDependencies> dependencies)
    : implementation_(std::make_unique<Implementation>(
          Implementation{.patchActionGroup = std::move(patchActionGroup),
                         .patchIdentifier = std::move(patchIdentifier),
                         .dependencies = std::move(dependencies)})) {}

ProcessPatchActions::~ProcessPatchActions() = default;

std::optional<std::vector<std::string>> ProcessPatchActions::arguments(const ActionID& action) {
  const auto* const arguments = implementation_->argumentsOf(action);
  return arguments != nullptr ? std::optional(*arguments) : std::nullopt;
}

PatchActionResult ProcessPatchActions::execute() {
  for (const ApplicableAction& each : implementation_->applicableActions()) {
    PatchActionResult result = execute(each.actionID);
    if (result.outcome != PatchActionResult::Outcome::success) {
      return result;
    }
  }
  return PatchActionResult::success();
}

void ProcessPatchActions::setObserver(std::shared_ptr<ActionObserver> observer) {
  implementation_->observer = std::move(observer);
}

PatchActionResult ProcessPatchActions::execute(const ActionID& action) {
  const RunningAction running(action, implementation_->observer);
  const auto* const arguments = implementation_->argumentsOf(action);
  if (arguments == nullptr) {
    logDebug(kExecuteTag, [&] {
      return text("No action details found for actionID: ", describe(action),
                  ", considering as success.");
    });
    decidedBy(DecidingRule::notInPlan);
    return PatchActionResult::success();
  }
  const ActionRun run{.action = action,
                      .arguments = *arguments,
                      .patch = implementation_->patchIdentifier,
                      .dependencies = *implementation_->dependencies};
  const auto* const known = std::get_if<KnownAction>(&action.value());
  PatchActionResult result = known != nullptr
                                 ? rowOf(*known).run(run)
                                 : nothingToRun(run, "defined", DecidingRule::undefinedAction);
  logInfo(kExecuteTag, [&] {
    return text("Patch action result for action detail (actionID: ", describe(action),
                ", arguments: ", escapedListText(*arguments), ") : ", describe(result), ".");
  });
  return result;
}

PatchActionResult applicationRunningNotifier(const ActionRun& run) {
  return nothingToRun(run, "implemented", DecidingRule::notImplemented);
}

PatchActionResult hasMinimumBatteryForSiliconMachine(const ActionRun& run) {
  return hasMinimumBattery(kSiliconBatteryTag, run, /*isForSilicon=*/true);
}

PatchActionResult hasMinimumBatteryForIntelMachine(const ActionRun& run) {
  return hasMinimumBattery(kIntelBatteryTag, run, /*isForSilicon=*/false);
}

PatchActionResult isUserLoggedIn(const ActionRun& run) {
  if (run.dependencies.mdmPatchingStatusChecker().isEnabled()) {
    logInfo(kUserLoggedInTag,
            [] { return "MDM patching is enabled, Skipping user logged in check."; });
    decidedBy(DecidingRule::patchedThroughMDM);
    return PatchActionResult::success();
  }
  return run.dependencies.userLoginStatusChecker().isUserLoggedIn()
             ? PatchActionResult::success()
             : PatchActionResult::applyLater(PlainReason::userNotLoggedIn);
}

PatchActionResult isMultipleUsersLoggedIn(const ActionRun& run) {
  if (run.dependencies.mdmPatchingStatusChecker().isEnabled()) {
    logInfo(kMultipleUsersTag,
            [] { return "MDM patching is enabled, Skipping multiple logged in check."; });
    decidedBy(DecidingRule::patchedThroughMDM);
    return PatchActionResult::success();
  }
  return run.dependencies.userLoginStatusChecker().isSingleUserLoggedIn()
             ? PatchActionResult::success()
             : PatchActionResult::applyLater(PlainReason::multipleUsersLoggedIn);
}

PatchActionResult hasMinimumDiskSpace(const ActionRun& run) {
  const std::optional<std::int64_t> gigabytes = run.integer(0);
  if (!gigabytes) {
    logInfo(kDiskSpaceTag, [&] {
      return text("Unable to get minimum disk space for actionID: ", describe(run.action),
                  ", considering as failure.");
    });
    return inSufficientArguments("minimum free space in GB", run.argument(0));
  }
  const std::int64_t requiredBytes = saturatingProduct(*gigabytes, kBytesPerGigabyte);
  return run.dependencies.diskSpaceChecker().hasMinimumFreeSpace(requiredBytes)
             ? PatchActionResult::success()
             : PatchActionResult::applyLater(PlainReason::inSufficientDiskSpaceForSoftwareUpdate);
}

PatchActionResult isMacOSUpdateDeferred(const ActionRun& run) {
  if (run.dependencies.machine().mdmEnrollment() == vxutils::EnrollmentType::not_enrolled) {
    logInfo(kDeferralTag,
            [] { return "Machine not enrolled in MDM yet, skipping macOS defer check."; });
    decidedBy(DecidingRule::notEnrolled);
    return PatchActionResult::success();
  }
  if (run.dependencies.deferralEligibilityChecker().isDisabled()) {
    decidedBy(DecidingRule::deferralCheckDisabled);
    return PatchActionResult::success();
  }
  if (run.dependencies.mdmPatchingStatusChecker().isEnabled()) {
    logInfo(kDeferralTag, [] { return "MDM patching is enabled, Skipping macOS defer check."; });
    decidedBy(DecidingRule::patchedThroughMDM);
    return PatchActionResult::success();
  }
  if (run.arguments.empty()) {
    logInfo(kDeferralTag, [&] {
      return text("Unable to get macOS version for actionID: ", describe(run.action),
                  ", considering as failure.");
    });
    return inSufficientArguments("macOS version");
  }
  if (!run.dependencies.appleSoftwareUpdateConnectivityChecker().isAppleSoftwareUpdateReachable()) {
    logError(kDeferralTag, [] {
      return "Apple softwareupdate is not reachable, skipping macOSDeferCheck, considering as "
             "failure.";
    });
    return PatchActionResult::applyLater(PlainReason::softwareUpdateUnreachable);
  }
  MacOSUpdateDeferral deferral =
      run.dependencies.macOSUpdateDeferralChecker().isMacOSUpdateDeferred(run.arguments.front());
  if (!deferral.isDeferred) {
    return PatchActionResult::applyLater(PlainReason::softwareUpdateUnreachable);
  }
  return *deferral.isDeferred
             ? PatchActionResult::applyLater(MacOSUpdateIsDeferred{std::move(deferral.date)})
             : PatchActionResult::success();
}

PatchActionResult installmacOSUpdates(const ActionRun& run) {
  if (run.arguments.size() < 2) {
    logError(kInstallTag, [&] {
      return text("Unable to perform macOS update/upgrade, not enough arguments. Arguments ",
                  listText(run.arguments), ".");
    });
    return inSufficientArguments("macOS version and update label");
  }
  SoftwareUpdateInstallerDependencies* const installerDependencies =
      run.dependencies.softwareUpdateInstallerDependencies();
  if (installerDependencies == nullptr) {
    return PatchActionResult::applyLater(PlainReason::unableToGetAgentServiceConnection);
  }
  const std::string& version = run.arguments[0];
  const std::string& macOSLabel = run.arguments[1];
  return run.dependencies.machine().isAppleSilicon()
             ? SiliconSoftwareUpdateInstaller(version, macOSLabel, *installerDependencies,
                                              run.dependencies.sleeper(),
                                              run.dependencies.machine().macOSMajorVersion)
                   .installMacOS()
             : IntelSoftwareUpdateInstaller(version, macOSLabel, *installerDependencies,
                                            run.dependencies.sleeper(),
                                            run.dependencies.machine().macOSMajorVersion)
                   .installMacOS();
}

PatchActionResult installMacOSUpdatesUsingInstallAssistant(const ActionRun& run) {
  if (run.arguments.empty()) {
    logError(kUpgradeTag, [&] {
      return text(
          "Unable to perform macOS update/upgrade using InstallAssistant, not enough "
          "arguments. Arguments ",
          listText(run.arguments), ".");
    });
    return inSufficientArguments("InstallAssistant application");
  }
  UpgradeInstallerDependencies* const installerDependencies =
      run.dependencies.upgradeInstallerDependencies();
  if (installerDependencies == nullptr) {
    return PatchActionResult::applyLater(PlainReason::unableToGetAgentServiceConnection);
  }
  const std::string& appPath = run.arguments.front();
  return run.dependencies.machine().isAppleSilicon()
             ? SiliconUpgradeInstaller(appPath, *installerDependencies).installMacOS()
             : IntelUpgradeInstaller(appPath, *installerDependencies).installMacOS();
}

PatchActionResult applicationRunningCheck(const ActionRun& run) {
  const std::vector<std::string>& bundleIDs = run.arguments;
  if (bundleIDs.empty()) {
    logError(kRunningTag, [&] {
      return text("Unable to perform application running check, not enough arguments. Arguments ",
                  listText(bundleIDs), ".");
    });
    return inSufficientArguments("bundle identifiers");
  }
  if (!run.dependencies.runningAppDetector().isAnyAppRunning(bundleIDs)) {
    return PatchActionResult::success();
  }
  if (run.dependencies.runningAppPolicy().isAlwaysKillAppsEnabled()) {
    decidedBy(DecidingRule::killWithoutAsking);
    run.dependencies.appKiller().killApps(bundleIDs);
    return PatchActionResult::success();
  }
  if (!run.dependencies.runningAppPolicy().isPromptEnabled()) {
    decidedBy(DecidingRule::promptDisabled);
    return PatchActionResult::applyLater(PlainReason::appIsRunning);
  }

  std::map<std::string, std::string> applications;
  for (const std::string& bundleID : bundleIDs) {
    if (auto details = run.dependencies.runningAppDetailsProvider().appDetails(bundleID)) {
      applications.insert_or_assign(bundleID, std::move(details->appName));
    }
  }
  if (applications.empty()) {
    logError(kRunningTag, [&] {
      return text("Unable to obtain app names for the following bundle IDs: ", listText(bundleIDs),
                  ". Considering as no app is running.");
    });
    decidedBy(DecidingRule::applicationsUnnamed);
    return PatchActionResult::success();
  }

  const RunningAppPromptEvaluation evaluation =
      run.dependencies.runningAppPromptEvaluator().evaluate(platform::joined(bundleIDs, ","),
                                                            run.patch.patchID());
  if (evaluation.decision == RunningAppPromptDecision::skipDeployment) {
    measured([&] { return PromptMeasurement{.decision = evaluation.decision}; });
    return PatchActionResult::applyLater(PlainReason::appIsRunning);
  }
  run.dependencies.runningAppPromptCleaner().clean();
  const std::int64_t timeout = promptTimeoutSeconds(
      run.dependencies.runningAppPromptCustomizationProvider().customizationData());
  const auto appNames = std::views::values(applications);
  const std::vector<std::string> names(appNames.begin(), appNames.end());
  if (!run.dependencies.runningAppPromptPresenter().requestUserAcknowledgement(names, evaluation,
                                                                               timeout)) {
    return PatchActionResult::applyLater(PlainReason::appIsRunning);
  }
  run.dependencies.appKiller().killApps(bundleIDs);
  return PatchActionResult::success(
      GotUserAcknowledgementForPatchingRunningApplications{std::move(applications)});
}

}  // namespace vexlo
