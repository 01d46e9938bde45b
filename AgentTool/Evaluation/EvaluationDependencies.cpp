#include "AgentTool/Evaluation/EvaluationDependencies.h"

#include <utility>

namespace agent_tool {
namespace {

using vexlo::Credentials;

constexpr const char* kNotRun = "(not run)";
constexpr const char* kUserPlaceholder = "<user>";
constexpr const char* kPasswordPlaceholder = "<password>";

}  // namespace

vexlo::CommandResult DryCommands::run(const std::string& command,
                                      const std::optional<std::string>& /*launchPath*/,
                                      const std::optional<std::string>& /*pipeInput*/) {
  intentions_.recordRun(command);
  return {.exitCode = 0, .output = kNotRun};
}

std::optional<Credentials> DryCredentials::credentials() {
  if (stored_ == nullptr) {
    return Credentials::placeholder(kUserPlaceholder, kPasswordPlaceholder);
  }
  const std::optional<Credentials> stored = stored_->credentials();
  return stored ? std::optional(Credentials::placeholder(stored->userName, kPasswordPlaceholder))
                : std::nullopt;
}

EvaluationInstallerDependencies::EvaluationInstallerDependencies(FactsSources& sources,
                                                                 Intentions& intentions,
                                                                 CredentialsSource credentials)
    : sources_(sources), stored_(std::move(credentials)), commands_(intentions) {}

EvaluationInstallerDependencies* EvaluationInstallerDependencies::ifReachable() {
  if (sources_.machine.isAppleSilicon() && stored_) {
    vexlo::CredentialsFetcher* const stored = stored_();
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

EvaluationDependencies::EvaluationDependencies(Intentions& intentions,
                                               CredentialsSource credentials)
    : sources_(intentions),
      battery_(sources_.powerSource),
      deferral_(
          sources_.apple, [this] { return sources_.now(); },
          [this](std::chrono::year_month_day day) { return sources_.startOfDay(day); }),
      disk_(sources_.disk),
      userLogin_(sources_.users),
      mdmPatching_(sources_.patchData),
      connectivity_(sources_.apple),
      deferralEligibility_(sources_.patchData),
      mdmStatus_(sources_.machine),
      installers_(sources_, intentions, std::move(credentials)),
      policy_(sources_.patchData),
      killer_(sources_.applications, intentions),
      detector_(sources_.applications),
      details_(sources_.applications),
      counts_(sources_.promptCounts),
      evaluator_(sources_.customization, counts_, [this] { return sources_.promptDay(); }),
      presenter_(intentions) {}

void EvaluationDependencies::DryKiller::killApps(const std::vector<std::string>& bundleIDs) {
  std::vector<std::string> names;
  for (const std::string& bundleID : bundleIDs) {
    for (const auto& application : query_.runningApplications(bundleID)) {
      names.push_back(application->localizedName().value_or(bundleID));
    }
  }
  intentions_.recordKill(names);
}

bool EvaluationDependencies::DryPresenter::requestUserAcknowledgement(
    const std::vector<std::string>& names, const vexlo::RunningAppPromptEvaluation& evaluation,
    std::int64_t /*timeoutSeconds*/) {
  intentions_.recordPrompt(names, evaluation);
  return evaluation.decision == vexlo::RunningAppPromptDecision::forceDeployment;
}

}  // namespace agent_tool
