#include "tools/Fleet.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Facts/FactsTable.h"
#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

namespace fleet {
namespace {

using agent_tool::ApplicationInstance;
using agent_tool::Facts;
using LogCore::text;
using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;

constexpr std::int64_t kGigabyte = 1'000'000'000;
constexpr std::chrono::sys_days kDay = std::chrono::year(2026) / 11 / 24;
constexpr const char* kPromptDay = "24-11-2026";
constexpr const char* kYesterday = "23-11-2026";

/// SplitMix64: reproducible everywhere, unlike the standard library's distributions.
class Random {
 public:
  explicit Random(std::uint64_t state) : state_(state) {}

  std::uint64_t next() {
    std::uint64_t bits = state_ += 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31);
  }
  /// Uniform from `first` to `last`.
  std::int64_t between(std::int64_t first, std::int64_t last) {
    const auto steps = static_cast<std::uint64_t>(last - first);
    return first + static_cast<std::int64_t>(next() % std::max<std::uint64_t>(steps + 1, 1));
  }
  /// True with this probability in thousandths.
  bool perMille(int cases) { return between(1, 1000) <= cases; }
  bool percent(int cases) { return perMille(cases * 10); }

  template <typename Row, std::size_t size>
  const Row& among(const std::array<Row, size>& rows) {
    std::int64_t weights = 0;
    for (const Row& row : rows) {
      weights += row.weight;
    }
    std::int64_t left = between(1, weights);
    const auto found =
        std::ranges::find_if(rows, [&](const Row& row) { return (left -= row.weight) <= 0; });
    return *found;
  }

 private:
  std::uint64_t state_;
};

struct Release {
  int weight;
  const char* version;
  std::int64_t major;
};
constexpr std::array kReleasesOfAppleSilicon{
    Release{21, "26.1", 26},   Release{9, "26.0.1", 26}, Release{22, "15.7.2", 15},
    Release{12, "15.6.1", 15}, Release{6, "15.5", 15},   Release{11, "14.8.2", 14},
    Release{6, "14.7.6", 14},  Release{4, "14.4.1", 14}, Release{5, "13.7.8", 13},
    Release{2, "13.6.9", 13},  Release{2, "12.7.6", 12}};
constexpr std::array kReleasesOfIntel{
    Release{6, "26.1", 26},    Release{18, "15.7.2", 15}, Release{8, "15.6.1", 15},
    Release{20, "14.8.2", 14}, Release{9, "14.7.6", 14},  Release{16, "13.7.8", 13},
    Release{5, "13.6.9", 13},  Release{15, "12.7.6", 12}, Release{3, "12.6.3", 12}};

struct Text {
  int weight;
  const char* text;
};
constexpr std::array kLanguages{Text{68, "en-US"}, Text{9, "en-GB"}, Text{8, "de-DE"},
                                Text{6, "fr-FR"},  Text{5, "ja-JP"}, Text{4, "es-ES"}};
constexpr std::array kUsers{Text{1, "amara"},  Text{1, "bo"},    Text{1, "chiara"},
                            Text{1, "dmitri"}, Text{1, "elif"},  Text{1, "farid"},
                            Text{1, "grace"},  Text{1, "hiro"},  Text{1, "ines"},
                            Text{1, "jonas"},  Text{1, "kwame"}, Text{1, "lena"}};

struct Enrollment {
  int weight;
  vxutils::EnrollmentType type;
};
constexpr std::array kEnrollments{Enrollment{71, vxutils::EnrollmentType::dep},
                                  Enrollment{22, vxutils::EnrollmentType::user_approved},
                                  Enrollment{7, vxutils::EnrollmentType::not_enrolled}};

struct Application {
  const char* bundleIdentifier;
  const char* name;
  const char* folder;
  int percentRunning;  // if a user is at the console
};
constexpr std::array kApplications{
    Application{"com.apple.Safari", "Safari", "/Applications", 41},
    Application{"com.apple.TextEdit", "TextEdit", "/System/Applications", 9},
    Application{"com.apple.iCal", "Calendar", "/System/Applications", 27},
    Application{"com.apple.mail", "Mail", "/System/Applications", 33}};

constexpr const char* kBase = "/Library/Application Support/VexloAgent";

class Machine {
 public:
  Machine(std::uint64_t seed, std::uint64_t number)
      // The first draw decorrelates neighbouring numbers and seeds.
      : random_(Random(seed).next() ^ (number * 0xD1342543DE82EF95U)), number_(number) {}

  std::string line() {
    facts_.time = platform::Moment(kDay) + std::chrono::seconds(random_.between(28'800, 64'800));
    facts_.offsetFromUTC = std::chrono::hours(
        std::array{-8, -5, 0, 1, 9}[static_cast<std::size_t>(random_.between(0, 4))]);
    facts_.promptDay = kPromptDay;
    makeMachine();
    makePower();
    makeUsers();
    makeAgent();
    makeApplications();
    makePromptCounts();
    askApple();
    const std::string line = agent_tool::factsAsJSON(facts_);
    return R"({"name":")" + name() + R"(",)" + line.substr(1);
  }

 private:
  void makeMachine() {
    facts_.isAppleSilicon = random_.percent(78);
    const Release release = facts_.isAppleSilicon ? random_.among(kReleasesOfAppleSilicon)
                                                  : random_.among(kReleasesOfIntel);
    facts_.macOSVersion = release.version;
    facts_.macOSMajorVersion = release.major;
    if (random_.perMille(1)) {
      facts_.macOSVersion.reset();
      facts_.macOSMajorVersion = 12;
      facts_.reasons.emplace("macOSVersion", "the macOS version can't be read");
    }
    facts_.preferredLanguages.emplace_back(random_.among(kLanguages).text);
    if (facts_.preferredLanguages.front() != "en-US" && random_.percent(60)) {
      facts_.preferredLanguages.emplace_back("en-US");
    }
    // Small, medium and large disks; one in twelve is nearly full.
    const std::int64_t size = std::array{
        245, 494, 994}[static_cast<std::size_t>(std::min<std::int64_t>(random_.between(0, 3), 2))];
    const std::int64_t free =
        random_.percent(8) ? random_.between(1'000, 22'000) : random_.between(15'000, size * 800);
    facts_.freeDiskSpace = free * (kGigabyte / 1000) + random_.between(0, 4095) * 4096 % 1'000'000;
    if (random_.perMille(2)) {
      facts_.freeDiskSpace.reset();
      facts_.reasons.emplace("freeDiskSpace", "Unable to obtain free disk space.");
    }
  }

  void makePower() {
    const bool isPortable = random_.percent(84);
    if (!isPortable) {  // desktop Macs list no power source
      facts_.reasons.emplace("powerSource", "Unable to obtain power source details.");
      return;
    }
    const bool onMains = random_.percent(57);
    // On battery the higher of two draws: few machines are nearly empty.
    const std::int64_t level = onMains ? std::min<std::int64_t>(100, random_.between(55, 130))
                                       : std::max(random_.between(3, 100), random_.between(3, 100));
    facts_.powerSources.emplace_back(
        Dictionary{{"Current Capacity", level},
                   {"Is Charging", onMains && level < 100},
                   {"Max Capacity", std::int64_t{100}},
                   {"Name", "InternalBattery-0"},
                   {"Power Source State", onMains ? "AC Power" : "Battery Power"},
                   {"Type", "InternalBattery"}});
    if (onMains) {
      facts_.powerSource = vexlo::AcPower{};
    } else {
      facts_.powerSource = vexlo::BatteryPower{level};
    }
  }

  void makeUsers() {
    std::string user = random_.among(kUsers).text;
    user += std::to_string(random_.between(1, 99));
    const bool isAtConsole = random_.percent(87);
    facts_.consoleUser = isAtConsole ? user : "NOUSERNAME";
    if (isAtConsole) {
      facts_.consoleUserID = static_cast<std::uint32_t>(random_.between(501, 503));
      facts_.loggedOnUsers = random_.percent(6) ? user + "," + random_.among(kUsers).text : user;
    } else {
      facts_.reasons.emplace("loggedOnUsers", "nobody is logged on");
    }
    facts_.mdmEnrollment = random_.among(kEnrollments).type;
    if (random_.perMille(4)) {
      facts_.mdmEnrollment.reset();
      facts_.reasons.emplace("mdmEnrollment", "profiles did not answer in time");
    }
  }

  void makeAgent() {
    const std::string data = std::string(kBase) + "/data";
    facts_.agent = {.base = kBase, .data = data, .logs = std::string(kBase) + "/logs"};
    facts_.agent.serviceAnswers = random_.percent(97);
    if (!facts_.agent.serviceAnswers) {
      facts_.reasons.emplace("agentService", "the service accepted the request but didn't answer");
    }
    facts_.inForce = {.alwaysKillApps = random_.percent(5),
                      .prompt = random_.percent(72),
                      .deferralCheckDisabled = random_.percent(3),
                      .patchingViaMDM = random_.percent(9)};
    facts_.patchData = {
        .file = data + "/vxpatch_data.plist",
        .values = Dictionary{
            {"AlwaysKillApps", facts_.inForce.alwaysKillApps},
            {"ApplicationRunningPrompt", facts_.inForce.prompt},
            {"DisableMacOSUpdateDeferralCheck", facts_.inForce.deferralCheckDisabled},
            {"OSPatchingViaMDMStatus", std::int64_t{facts_.inForce.patchingViaMDM ? 1 : 0}}}};
    facts_.customization.file = data + "/ApplicationRunningPromptCustomization.plist";
    if (random_.percent(61)) {
      facts_.customization.values =
          Dictionary{{"allowScreenGrab", random_.percent(30)},
                     {"dailyPromptLimit", random_.between(1, 3)},
                     {"forceDeploy", random_.percent(10)},
                     {"numberOfSkipAttempts", random_.between(2, 5)},
                     {"skipTimerCountInMinutes", random_.between(5, 30)},
                     {"subTitle", "Your IT department keeps this Mac up to date."}};
    } else {
      facts_.reasons.emplace("customization", "there is no file " + *facts_.customization.file);
    }
  }

  void makeApplications() {
    for (const Application& application : kApplications) {
      std::vector<ApplicationInstance>& instances =
          facts_.applications[application.bundleIdentifier];
      if (facts_.loggedOnUsers && random_.percent(application.percentRunning)) {
        instances.push_back(
            {.name = application.name,
             .processIdentifier = static_cast<std::int32_t>(random_.between(300, 99'998)),
             .executable = text(application.folder, '/', application.name, ".app/Contents/MacOS/",
                                application.name)});
      }
    }
  }

  /// Prompt counts for users who were prompted before.
  void makePromptCounts() {
    facts_.promptCounts.file = std::string(kBase) + "/data/ApplicationRunningPromptData.plist";
    if (!facts_.inForce.prompt || !facts_.customization.values || !random_.percent(45)) {
      facts_.reasons.emplace("promptCounts", "there is no file " + *facts_.promptCounts.file);
      return;
    }
    const std::int64_t today = random_.between(0, 2);
    facts_.promptCounts.values = Dictionary{
        {kPromptKey,
         Dictionary{{"patchID", random_.percent(80) ? kPatchID : "309871"},
                    {"promptShownCount", today + random_.between(0, 3)},
                    {today > 0 ? kPromptDay : kYesterday, std::max<std::int64_t>(today, 1)}}}};
  }

  void askApple() {
    facts_.softwareUpdateReachable = random_.percent(98);
    if (!*facts_.softwareUpdateReachable) {
      facts_.reasons.emplace("availableOSUpdates", "mdmclient can't reach Apple's server");
      return;
    }
    const bool isManaged = facts_.mdmEnrollment.value_or(vxutils::EnrollmentType::not_enrolled) !=
                           vxutils::EnrollmentType::not_enrolled;
    vexlo::AvailableOSUpdate newest{.build = "25C56",
                                    .deferredUntil = {},
                                    .productKey = "MSU_UPDATE_25C56_patch_26.2_minor",
                                    .version = "26.2"};
    if (isManaged && random_.percent(24)) {
      newest.deferredUntil = text("2026-12-", random_.between(10, 31), " 00:00:00 +0000");
    }
    facts_.availableOSUpdates = {std::move(newest)};
    if (facts_.macOSMajorVersion < 26) {
      facts_.availableOSUpdates->push_back({.build = "24G419",
                                            .deferredUntil = {},
                                            .productKey = "MSU_UPDATE_24G419_patch_15.7.3_minor",
                                            .version = "15.7.3"});
    }
  }

  [[nodiscard]] std::string name() const {
    std::string serial = std::to_string(number_);
    serial.insert(0, 8 - std::min<std::size_t>(8, serial.size()), '0');
    return "mac-" + serial;
  }

  Random random_;
  std::uint64_t number_;
  Facts facts_;
};

}  // namespace

std::string Fleet::line(std::uint64_t number) const { return Machine(seed_, number).line(); }

}  // namespace fleet
