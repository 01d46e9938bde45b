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
  if (std::optional<vexlo::CommandResult> failure = sources_.failureOf(command)) {
    intentions_.recordFailingRun(command);
    return *std::move(failure);
  }
  intentions_.recordRun(command);
  return {.exitCode = 0, .output = kNotRun};
}

std::optional<Credentials> DryCredentials::credentials() {
  const AgentState& agent = sources_.agent();
  return agent.credentialsStored == false
             ? std::nullopt
             : std::optional(Credentials::placeholder(agent.userName.value_or(kUserPlaceholder),
                                                      kPasswordPlaceholder));
}

EvaluationDependencies::EvaluationDependencies(Intentions& intentions)
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
      installers_(sources_, intentions),
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
      names.push_back(application.localizedName.value_or(bundleID));
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
