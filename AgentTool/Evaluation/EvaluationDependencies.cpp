#include "AgentTool/Evaluation/EvaluationDependencies.h"

namespace agent_tool {
namespace {

using vexlo::Credentials;

constexpr const char* kNotAsked = "(not asked)";
constexpr std::int32_t kNotAskedStatus = 1;  // stops the check that asked
constexpr const char* kNotRun = "(not run)";
constexpr const char* kUserPlaceholder = "<user>";
constexpr const char* kPasswordPlaceholder = "<password>";

}  // namespace

vexlo::SoftwareUpdateList UnreachableApple::fetchSoftwareUpdates() {
  intentions_.leaveUnasked("softwareupdate --list");
  return {.exitCode = kNotAskedStatus, .output = kNotAsked};
}

std::optional<std::vector<vexlo::AvailableOSUpdate>> UnreachableApple::availableOSUpdates() {
  intentions_.leaveUnasked("mdmclient AvailableOSUpdates");
  return std::nullopt;
}

vexlo::CommandResult RecordedCommands::run(const std::string& command,
                                           const std::optional<std::string>& /*launchPath*/,
                                           const std::optional<std::string>& /*pipeInput*/) {
  intentions_.run(command);
  return {.exitCode = 0, .output = kNotRun};
}

std::optional<Credentials> MaskedCredentials::credentials() {
  if (stored_ == nullptr) {
    return Credentials::placeholder(kUserPlaceholder, kPasswordPlaceholder);
  }
  const std::optional<Credentials> stored = stored_->credentials();
  return stored ? std::optional(Credentials::placeholder(stored->userName, kPasswordPlaceholder))
                : std::nullopt;
}

EvaluationInstallerDependencies::EvaluationInstallerDependencies(EvaluationSources& sources,
                                                                 Intentions& intentions)
    : sources_(sources), commands_(intentions), unreachableApple_(intentions) {}

EvaluationInstallerDependencies* EvaluationInstallerDependencies::forThisMachine() {
  if (sources_.machine.isAppleSilicon() && sources_.credentials) {
    vexlo::CredentialsFetcher* const stored = sources_.credentials();
    if (stored == nullptr) {
      return nullptr;
    }
    credentials_.mask(stored);
  }
  return this;
}

vexlo::CredentialsFetcher* EvaluationInstallerDependencies::userCredentials() {
  return sources_.machine.isAppleSilicon() ? &credentials_ : nullptr;
}

EvaluationDependencies::EvaluationDependencies(EvaluationSources sources, Intentions& intentions)
    : sources_(std::move(sources)),
      unreachableApple_(intentions),
      battery_(sources_.powerSource),
      deferral_(
          sources_.availableOSUpdates != nullptr ? *sources_.availableOSUpdates : unreachableApple_,
          sources_.now, sources_.startOfDay),
      disk_(sources_.disk),
      userLogin_(sources_.users),
      mdmPatching_(sources_.patchData),
      connectivity_(sources_.softwareUpdates != nullptr ? *sources_.softwareUpdates
                                                        : unreachableApple_),
      deferralEligibility_(sources_.patchData),
      mdmStatus_(sources_.machine),
      installers_(sources_, intentions),
      policy_(sources_.patchData),
      killer_(sources_.applications, intentions),
      detector_(sources_.applications),
      details_(sources_.applications),
      counts_(sources_.promptCounts),
      evaluator_(sources_.customization, counts_, sources_.promptDay),
      presenter_(intentions) {}

void EvaluationDependencies::Killer::killApps(const std::vector<std::string>& bundleIDs) {
  std::vector<std::string> names;
  for (const std::string& bundleID : bundleIDs) {
    for (const auto& application : query_.runningApplications(bundleID)) {
      names.push_back(application->localizedName().value_or(bundleID));
    }
  }
  intentions_.kill(names);
}

bool EvaluationDependencies::Presenter::requestUserAcknowledgement(
    const std::vector<std::string>& names, const vexlo::RunningAppPromptEvaluation& evaluation,
    std::int64_t /*timeoutSeconds*/) {
  intentions_.prompt(names, evaluation);
  return evaluation.decision == vexlo::RunningAppPromptDecision::forceDeployment;
}

}  // namespace agent_tool
