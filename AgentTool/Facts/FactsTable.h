// The table of facts: how each one is named, what it means, how it is read and shown.
#pragma once
#include <array>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Facts/FactsForms.h"
#include "AgentTool/JSON/JSONFields.h"
#include "VexloPatchDeployment/Adapters/MachineFacts.h"

namespace agent_tool {

/// A fact: a member of a line.
struct FactsMember : JSONField<Facts> {
  /// Reads the fact from this machine and returns whether it is available. Null for facts that
  /// `readFacts` reads in another way.
  bool (*ask)(const vexlo::MachineFacts& machine, Facts& facts) = nullptr;
  /// The heading of the fact's row in the table for people, and its value. Empty and null for a
  /// fact that has no row, or several.
  std::string_view heading = {};
  std::optional<std::string> (*show)(const Facts& facts) = nullptr;
};

// A value in the table for people, printable.

[[nodiscard]] std::string shown(const std::string& text);
[[nodiscard]] std::string shown(const std::vector<std::string>& texts);
[[nodiscard]] std::string shown(platform::Moment time);
[[nodiscard]] std::string shown(const vexlo::PowerSource& source);
[[nodiscard]] inline std::string shown(vxutils::EnrollmentType type) {
  return std::string(nameOf(type));
}
[[nodiscard]] inline std::string shown(bool flag) { return flag ? "yes" : "no"; }
[[nodiscard]] std::string shown(std::integral auto number) { return LogCore::text(number); }
template <typename Value>
[[nodiscard]] std::optional<std::string> shown(const std::optional<Value>& value) {
  return value.transform([](const Value& present) { return shown(present); });
}
/// In decimal gigabytes, as used by the disk check.
[[nodiscard]] std::string gigabytes(std::int64_t bytes);

/// A fact that is stored in `member`.
template <auto member>
[[nodiscard]] constexpr FactsMember fact(std::string_view name, std::string_view meaning) {
  return {field<member>(name, meaning)};
}

/// The same, with a row in the table for people.
template <auto member>
[[nodiscard]] constexpr FactsMember fact(std::string_view name, std::string_view meaning,
                                         std::string_view heading) {
  FactsMember fact = agent_tool::fact<member>(name, meaning);
  fact.heading = heading;
  fact.show = [](const Facts& facts) { return std::optional<std::string>(shown(facts.*member)); };
  return fact;
}

/// A fact about the machine as a whole, which `question` of `vexlo::MachineFacts` reads.
template <auto member, auto question>
[[nodiscard]] constexpr FactsMember machineFact(std::string_view name, std::string_view meaning,
                                                std::string_view heading) {
  FactsMember fact = agent_tool::fact<member>(name, meaning, heading);
  fact.ask = [](const vexlo::MachineFacts& machine, Facts& facts) {
    facts.*member = (machine.*question)();
    if constexpr (requires { (facts.*member).has_value(); }) {
      return (facts.*member).has_value();
    }
    return true;
  };
  return fact;
}

[[nodiscard]] constexpr FactsMember shownAs(FactsMember fact, std::string_view heading,
                                            std::optional<std::string> (*show)(const Facts&)) {
  fact.heading = heading;
  fact.show = show;
  return fact;
}

/// A member that `facts` writes only if it is present.
template <auto member>
[[nodiscard]] constexpr FactsMember omittable(FactsMember fact) {
  fact.write = [](const Facts& facts) { return facts.*member ? asJSON(facts.*member) : ""; };
  return fact;
}

/// All facts, in the order in which `facts` writes them.
template <>
struct JSONFields<Facts> {
  static constexpr std::array list{
      needed(fact<&Facts::version>("version",
                                   "incremented if a member changes its meaning or is removed")),
      omittable<&Facts::name>(
          fact<&Facts::name>("name",
                             "the machine's name in the output of `what-if`, from `--name`; "
                             "omitted without one",
                             "name")),
      fact<&Facts::time>("time", "when it was read, UTC: `2026-11-24T10:11:12Z`", "time"),
      fact<&Facts::offsetFromUTC>("utcOffset",
                                  "the time zone's offset when the day began, in seconds east of "
                                  "UTC; deferrals end at midnight there"),
      fact<&Facts::promptDay>(
          "promptDay",
          "the day for which prompts are counted: `24-11-2026`; on macOS in the "
          "calendar of the user who runs the command"),
      needed(shownAs(machineFact<&Facts::isAppleSilicon, &vexlo::MachineFacts::isAppleSilicon>(
                         "appleSilicon",
                         "whether the processor is Apple silicon; `--machine` overrides it", ""),
                     "processor",
                     [](const Facts& facts) -> std::optional<std::string> {
                       return facts.isAppleSilicon ? "Apple silicon" : "Intel";
                     })),
      fact<&Facts::macOSVersion>("macOSVersion", "`14.4.1`", "macOS"),
      needed(machineFact<&Facts::macOSMajorVersion, &vexlo::MachineFacts::macOSMajorVersion>(
          "macOSMajorVersion", "the version that the library uses: 12 if it can't be determined",
          "macOS major version")),
      fact<&Facts::preferredLanguages>("preferredLanguages", "best first: `en-US`", "languages"),
      informative(fact<&Facts::powerSources>(
          "powerSources", "the system's description of each source; `powerSource` decides")),
      fact<&Facts::powerSource>("powerSource",
                                "the battery checks' interpretation: `{\"kind\":\"mains\"}` or "
                                "`{\"kind\":\"battery\",\"percentage\":82}`; null counts as "
                                "sufficient",
                                "power source"),
      shownAs(fact<&Facts::freeDiskSpace>(
                  "freeDiskSpace", "free bytes of the startup volume; null counts as sufficient"),
              "free disk space",
              [](const Facts& facts) { return facts.freeDiskSpace.transform(gigabytes); }),
      needed(fact<&Facts::consoleUser>("consoleUser", "`NOUSERNAME` when nobody is at the console",
                                       "console user")),
      fact<&Facts::consoleUserID>("consoleUserID", "the ID of that account"),
      fact<&Facts::loggedOnUsers>("loggedOnUsers",
                                  "names separated by `,`; null when nobody is logged on",
                                  "logged-on users"),
      fact<&Facts::mdmEnrollment>("mdmEnrollment",
                                  "`not_enrolled`, `user_approved` (by a user, approved or not) or "
                                  "`dep`; null counts as `not_enrolled`",
                                  "MDM enrollment"),
      fact<&Facts::agent>(
          "agent",
          "`base`, `data`, `logs`: directories, each a string or null; "
          "`serviceAnswers`: Boolean or null; `credentialsStored`: Boolean, whether "
          "its service has a user name and a password; null: not asked "
          "(`--ask-agent`), or an Intel Mac, which needs none"),
      fact<&Facts::patchData>("patchData",
                              "`AlwaysKillApps`, `ApplicationRunningPrompt`, "
                              "`DisableMacOSUpdateDeferralCheck`, `IsMDMPatchingEnabled` and "
                              "`OSPatchingViaMDMStatus`, if present; no other keys"),
      fact<&Facts::customization>(
          "customization",
          "those settings of the prompt that the file has; `values` is null "
          "without the file, or if one of them has a wrong type, since none "
          "counts then"),
      fact<&Facts::promptCounts>("promptCounts",
                                 "for each prompt key: `patchID`, `promptShownCount` and the count "
                                 "of each day"),
      informative(fact<&Facts::inForce>(
          "inForce",
          "the library's interpretation of the patch data: `alwaysKillApps`, `prompt`, "
          "`deferralCheckDisabled`, `patchingViaMDM`; `patchData` decides")),
      fact<&Facts::applications>("applications",
                                 "for each bundle identifier an array of instances: `name` (string "
                                 "or null), `pid` (integer), `executable` (path or null); empty if "
                                 "none is running"),
      fact<&Facts::allApplications>("allApplications",
                                    "true: applications that aren't listed aren't running; false: "
                                    "it isn't known whether they are"),
      fact<&Facts::softwareUpdateReachable>("softwareUpdateReachable",
                                            "whether `softwareupdate --list` reaches Apple's "
                                            "servers; null: not asked"),
      fact<&Facts::softwareUpdateStatus>("softwareUpdateStatus",
                                         "exit status of `softwareupdate --list`; null: not asked"),
      fact<&Facts::softwareUpdateLabels>(
          "softwareUpdateLabels",
          "what `softwareupdate --list` lists: `macOS Sonoma 14.5-23F79`; null: not asked, or "
          "it failed"),
      fact<&Facts::availableOSUpdates>(
          "availableOSUpdates",
          "what `mdmclient` reports: `version`, `build`, `productKey`, "
          "`deferredUntil` (`2024-06-15 00:00:00 +0000`), each a "
          "string or null; null: not asked, or it failed"),
      fact<&Facts::updatesListed>("updatesListed",
                                  "false: `mdmclient` printed no list of updates, as on macOS 27; "
                                  "`availableOSUpdates` is then empty, which counts as not "
                                  "deferred; null: not asked, or it failed"),
      fact<&Facts::installAssistants>("installAssistants",
                                      "the paths of the InstallAssistant applications in "
                                      "/Applications; null: can't be read",
                                      "InstallAssistants"),
      informative(fact<&Facts::reasons>(
          "absent",
          "for each absent member the reason; `agentService` for `serviceAnswers`, `applications` "
          "if not all running ones are known"))};
};

/// A readable, aligned table.
[[nodiscard]] std::string factsAsTable(const Facts& facts, const Console& console);
/// One JSON object on one line, as docs/FACTS.md describes it.
[[nodiscard]] std::string factsAsJSON(const Facts& facts);

/// The JSON Schema (2020-12) of such a line, and the table of its members in Markdown.
[[nodiscard]] std::string factsSchema();
[[nodiscard]] std::string factsAsMarkdown();

}  // namespace agent_tool
