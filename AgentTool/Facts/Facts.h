// The facts about a machine that the checks use.
#pragma once
#include <array>
#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/JSON/JSONDocument.h"
#include "AgentTool/JSON/JSONFields.h"
#include "Platform/Calendar.h"
#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Adapters/MachineFacts.h"
#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

namespace agent_tool {

template <>
struct JSONNames<vxutils::EnrollmentType> {
  static constexpr std::array list{
      NamedValue{vxutils::EnrollmentType::not_enrolled, "not_enrolled"},
      NamedValue{vxutils::EnrollmentType::user_approved, "user_approved"},
      NamedValue{vxutils::EnrollmentType::dep, "dep"}};
};

/// The agent's directories, and what its service answers; absent if it was not asked.
struct AgentState {
  std::optional<std::string> base;
  std::optional<std::string> data;
  std::optional<std::string> logs;
  std::optional<bool> serviceAnswers;
  std::optional<bool> credentialsStored;  ///< Both the user name and the password.
  std::optional<std::string> userName;    ///< For this machine's command lines; never written.
};

/// A property-list file of the agent.
struct SettingsFile {
  std::optional<std::string> file;  ///< Its path; absent if the agent's data directory is unknown.
  /// Absent if the file can't be read. For the patch data, only the keys that the library reads.
  std::optional<platform::PropertyList::Dictionary> values;
};

/// The patch data as the checks interpret it; an unreadable file leaves them all off.
struct SettingsInForce {
  bool alwaysKillApps = false;
  bool prompt = false;
  bool deferralCheckDisabled = false;
  bool patchingViaMDM = false;
};

/// A running instance of an application.
struct ApplicationInstance {
  std::optional<std::string> name;
  std::int32_t processIdentifier = 0;
  std::optional<std::string> executable;  ///< The path.
};

/// The facts of one machine at one moment. The table in `FactsTable.cpp` says how each is named and
/// what it means; unavailable ones are absent.
struct Facts {
  std::optional<std::string> name;  ///< Of the machine, if a line has one.

  platform::Moment time;
  std::chrono::seconds offsetFromUTC{0};
  std::string promptDay;

  bool isAppleSilicon = false;
  std::optional<std::string> macOSVersion;
  std::int64_t macOSMajorVersion = 0;
  std::vector<std::string> preferredLanguages;

  std::vector<platform::PropertyList> powerSources;
  std::optional<vexlo::PowerSource> powerSource;
  std::optional<std::int64_t> freeDiskSpace;

  std::string consoleUser;
  std::optional<std::uint32_t> consoleUserID;
  std::optional<std::string> loggedOnUsers;
  std::optional<vxutils::EnrollmentType> mdmEnrollment;

  AgentState agent;
  SettingsFile patchData;
  SettingsFile customization;
  SettingsFile promptCounts;
  SettingsInForce inForce;

  /// By bundle identifier.
  std::map<std::string, std::vector<ApplicationInstance>, std::less<>> applications;
  bool allApplications = false;

  std::optional<bool> softwareUpdateReachable;
  std::optional<std::int32_t> softwareUpdateStatus;
  std::optional<std::vector<std::string>> softwareUpdateLabels;
  std::optional<std::vector<vexlo::AvailableOSUpdate>> availableOSUpdates;
  /// False if `availableOSUpdates` is empty for lack of a list.
  std::optional<bool> updatesListed;
  /// The paths of those in /Applications.
  std::optional<std::vector<std::string>> installAssistants;

  /// Why facts are absent, under their names in JSON.
  std::map<std::string, std::string, std::less<>> reasons;
};

/// What to read, besides what is available at once.
struct FactsExtent {
  /// The running instances of these bundle identifiers.
  std::vector<std::string> applications;
  bool allApplications = false;  ///< All running ones.
  bool agentService = false;     ///< Whether the agent's service answers.
  bool credentials = false;      ///< Whether it has credentials, if this Mac needs them.
  bool appleServers = false;     ///< The updates that Apple's servers offer.
  /// For `profiles`, which says how the machine is enrolled.
  std::chrono::milliseconds profilesTimeout{600};
};

/// Reads the facts of this machine with the providers that the checks use. Takes at most a second,
/// even if a tool or the agent's service doesn't answer, plus the time for asking Apple's servers
/// and, for credentials, up to 10 seconds a key.
[[nodiscard]] Facts readFacts(const FactsExtent& extent);

/// The machine as `*facts` records it at the time of each call.
[[nodiscard]] vexlo::MachineFacts recordedMachine(const Facts* const& facts);

/// Where `installAssistants` are searched.
constexpr std::string_view kApplicationsFolder = "/Applications";

/// A longer line of facts is an error where lines are read.
constexpr std::size_t kLongestFactsLine = std::size_t{1} << 20;

/// What a file holds that begins like this and can't be lines of facts, for errors: «gzip data (try
/// gzip -dc)». Empty if it may be lines.
[[nodiscard]] std::string_view otherFormat(std::string_view beginning);

/// Parses lines one at a time into the same facts, reusing memory. Not thread-safe.
class FactsReader {
 public:
  /// The facts of a line, with or without its line feed; valid until the next call. Informative
  /// and unknown members are ignored, and the last of duplicate members counts. Errors name no
  /// file; their place is a column («column 7») or a member («powerSource › percentage»).
  [[nodiscard]] std::expected<const Facts*, FileCodec::DecodingError> read(std::string_view line);

 private:
  JSONDocument document_;
  Facts facts_;
};

/// A readable, aligned table.
[[nodiscard]] std::string factsAsTable(const Facts& facts, const Console& console);
/// One JSON object on one line, as docs/FACTS.md describes it.
[[nodiscard]] std::string factsAsJSON(const Facts& facts);

/// The JSON Schema (2020-12) of such a line, and the table of its members in Markdown.
[[nodiscard]] std::string factsSchema();
[[nodiscard]] std::string factsAsMarkdown();

}  // namespace agent_tool
