#include "AgentTool/Evaluation/FactsSources.h"

#include <algorithm>
#include <utility>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/LogCore/Text.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"

namespace agent_tool {
namespace {

using vexlo::RunningAppPromptCustomization;

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

}  // namespace

std::optional<std::string> FactsSources::preferredLanguage() const {
  const auto& languages = facts_->preferredLanguages;
  return languages.empty() ? std::nullopt : std::optional(languages.front());
}

std::optional<platform::PropertyList> FactsSources::Settings::fetchValue(const std::string& key) {
  const auto& values = (facts().*file_).values;
  if (!values) {
    return std::nullopt;
  }
  const auto found = values->find(key);
  return found == values->end() ? std::nullopt : std::optional(found->second);
}

const std::optional<RunningAppPromptCustomization>&
FactsSources::Customization::customizationData() {
  if (!settings_) {
    // A value of the wrong type, in a line written by hand, invalidates all settings, as in the
    // file.
    settings_.emplace();
    try {
      *settings_ = facts().customization.values.transform(RunningAppPromptCustomization::decode);
    } catch (const FileCodec::DecodingError&) {
      settings_->reset();
    }
  }
  return *settings_;
}

std::vector<vexlo::RunningApplication> FactsSources::Applications::runningApplications(
    const std::string& bundleIdentifier) {
  std::vector<vexlo::RunningApplication> running;
  const auto found = facts().applications.find(bundleIdentifier);
  if (found != facts().applications.end()) {
    for (const ApplicationInstance& instance : found->second) {
      running.push_back({.bundleIdentifier = bundleIdentifier,
                         .localizedName = instance.name,
                         .processIdentifier = instance.processIdentifier,
                         .executableURL = instance.executable,
                         .forceTerminate = [] { return false; }});
    }
  } else if (!facts().allApplications) {
    intentions_.recordDoubt(LogCore::text("whether ", bundleIdentifier, " runs"));
  }
  return running;
}

std::optional<vexlo::CommandResult> FactsSources::failureOf(std::string_view command) const {
  const auto isAmong = [](const std::vector<std::string>& names, std::string_view escaped) {
    return std::ranges::find(names, escaped, vexlo::insideDoubleQuotes) != names.end();
  };
  std::string_view name = firstQuoted(command);
  if (!name.ends_with(kStartOSInstall)) {
    return !facts_->softwareUpdateLabels || isAmong(*facts_->softwareUpdateLabels, name)
               ? std::nullopt
               : std::optional(
                     vexlo::CommandResult{.exitCode = kNoSuchUpdateStatus,
                                          .output = "softwareupdate doesn't list this label"});
  }
  name.remove_suffix(kStartOSInstall.size());
  const bool isLookedUp = name.substr(0, name.rfind('/')) == kApplicationsFolder;
  return !isLookedUp || !facts_->installAssistants || isAmong(*facts_->installAssistants, name)
             ? std::nullopt
             : std::optional(vexlo::CommandResult{.exitCode = kNoSuchProgramStatus,
                                                  .output = "there is no such application"});
}

vexlo::CommandResult FactsSources::Labels::fetchSoftwareUpdates() {
  std::string list;
  for (const std::string& label :
       facts().softwareUpdateLabels.value_or(std::vector<std::string>())) {
    list += "* Label: " + label + '\n';
  }
  return {.exitCode = 0, .output = std::move(list)};
}

vexlo::CommandResult FactsSources::Apple::fetchSoftwareUpdates() {
  const std::optional<bool> isReachable = facts().softwareUpdateReachable;
  if (!isReachable) {
    intentions_.recordUnasked("softwareupdate --list");
    return {.exitCode = kUnreachableStatus, .output = "(not asked)"};
  }
  if (*isReachable) {
    return {.exitCode = 0, .output = {}};
  }
  return {.exitCode = facts().softwareUpdateStatus.value_or(kUnreachableStatus),
          .output = std::string(vexlo::kCantConnectToSoftwareUpdate)};
}

}  // namespace agent_tool
