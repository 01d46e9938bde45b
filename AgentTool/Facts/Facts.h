// The facts about this machine that the checks use.
#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentTool/Facts/PlainFacts.h"
#include "Platform/Calendar.h"
#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

namespace agent_tool {

/// A property-list file of the agent.
struct SettingsFile {
  std::string path;  ///< Empty if the agent's data directory is unknown.
  /// Absent if the file can't be read. For the patch data, only the keys that the library reads.
  std::optional<platform::PropertyList::Dictionary> values;
};

/// A running instance of an application.
struct ApplicationInstance {
  std::optional<std::string> name;
  std::int32_t processIdentifier = 0;
  std::optional<std::string> executable;  ///< The path.
};

/// The settings as the checks interpret them; an unreadable file leaves them all off.
struct SettingsInForce {
  bool alwaysKillApps = false;
  bool prompt = false;
  bool deferralCheckDisabled = false;
  bool patchingViaMDM = false;
};

/// The facts at one moment, from the providers that the checks use. Unavailable facts are absent,
/// and `reasons` says why, under their names in the JSON form.
struct Facts : PlainFacts {
  platform::Moment time;
  std::string promptDay;  ///< The day for which prompts are counted: «16-11-2026».

  std::optional<std::string> macOSVersion;
  std::vector<std::string> preferredLanguages;

  std::vector<platform::PropertyList> powerSources;  ///< As described by the system.
  std::string consoleUser;                           ///< "NOUSERNAME" when there is none.
  std::optional<std::string> loggedOnUsers;          ///< Separated by ",".

  vxutils::AgentDirectories directories;
  SettingsFile patchData;
  SettingsFile customization;
  SettingsFile promptCounts;
  SettingsInForce inForce;

  std::map<std::string, std::vector<ApplicationInstance>> applications;  ///< By bundle identifier.
  bool allApplications = false;  ///< Those not listed aren't running.

  /// Absent if Apple's servers were not asked or can't be reached, or the MDM client failed.
  std::optional<std::vector<vexlo::AvailableOSUpdate>> availableOSUpdates;
  std::map<std::string, std::string, std::less<>> reasons;
};

/// What to read in addition.
struct FactsExtent {
  bool allApplications = false;  ///< All running ones, not only those named.
  bool appleServers = false;     ///< The updates that Apple's servers offer.
};

/// Reads the facts of this machine, with the running instances of these bundle identifiers. Takes
/// at most a second, even if a tool or the agent's service doesn't answer, plus the time for asking
/// Apple's servers.
[[nodiscard]] Facts readFacts(const std::vector<std::string>& bundleIdentifiers,
                              const FactsExtent& extent);

}  // namespace agent_tool
