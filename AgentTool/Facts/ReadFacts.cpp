#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <sstream>
#include <string_view>
#include <utility>

#include "AgentLibraries/FileCodec/PropertyListFile.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentTool/Facts/Facts.h"
#include "Platform/Machine.h"
#include "Platform/RunningApplications.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Adapters/PlistDecoding.h"
#include "VexloPatchDeployment/Adapters/PlistManager.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"
#include "VexloPatchDeployment/Validators/Battery/PowerSourcesProvider.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"
#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"
#include "VexloPatchDeployment/Validators/Disk/DiskInfoProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPolicy.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace agent_tool {
namespace {

using platform::PropertyList;
using std::make_shared;

// With these, and the default for `profiles`, everything together takes at most a second.
constexpr std::chrono::milliseconds kServiceConnectTimeout{250};
constexpr std::chrono::milliseconds kServiceTimeout{750};  // including connecting

constexpr const char* kNotAsked = "not asked";
constexpr const char* kNoDataDirectory = "the agent's data directory is not given";

/// Forwards log lines and keeps the last one, because the library explains only in its log why a
/// fact is absent.
class ReasonListener final : public LogCore::LogSink {
 public:
  /// The result of `read`, and the last line that it logged, if any.
  template <typename Read>
  static auto listenTo(const Read& read) {
    const auto listener = make_shared<ReasonListener>();
    LogCore::setLogSink(listener);
    auto value = read();
    LogCore::setLogSink(listener->next_);
    const std::scoped_lock lock(listener->mutex_);
    return std::pair(std::move(value), listener->lastMessage_);
  }

  void write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
             const LogCore::MessageBuilder& build) override {
    if (level >= LogCore::LogLevel::info) {
      std::string message = build().text;
      const std::scoped_lock lock(mutex_);
      lastMessage_ = std::move(message);
    }
    next_->write(level, tag, line, build);
  }

 private:
  // The only way to get the sink is to replace it.
  std::shared_ptr<LogCore::LogSink> next_ = LogCore::setLogSink(make_shared<LogCore::NullSink>());
  std::mutex mutex_;
  std::string lastMessage_;
};

/// Reads the descriptions only once.
struct KnownPowerSources final : vexlo::PowerSourcesProvider {
  std::vector<PropertyList> sources = vexlo::SystemPowerSources().powerSourcesInfo();
  [[nodiscard]] std::vector<PropertyList> powerSourcesInfo() override { return sources; }
};

/// Fetches the list only once.
struct FetchedSoftwareUpdates final : vexlo::SoftwareUpdateLister {
  vexlo::CommandResult list = vexlo::SystemSoftwareUpdateLister().fetchSoftwareUpdates();
  [[nodiscard]] vexlo::CommandResult fetchSoftwareUpdates() override { return list; }
};

/// A request to the agent's service, whose answer is awaited later.
class ServiceQuestion {
 public:
  ServiceQuestion() {
    const auto service = connection_.getService();
    if (!service) {
      return;
    }
    isConnected_ = true;
    auto answered = make_shared<std::promise<std::string>>();
    answer_ = answered->get_future();
    // The value, a user name, is not used.
    service->fetchStatusMessageForKey(
        "PatchOSUpdateUserName",
        [answered](const std::optional<std::string>& /*value*/) { answered->set_value({}); },
        [answered](std::string_view reason) { answered->set_value(std::string(reason)); });
  }

  [[nodiscard]] bool isConnected() const noexcept { return isConnected_; }
  /// Empty if the service has answered, else the reason.
  [[nodiscard]] std::string whyNoAnswer() {
    return answer_.wait_until(deadline_) == std::future_status::ready
               ? answer_.get()
               : "the service accepted the request but didn't answer";
  }

 private:
  std::chrono::steady_clock::time_point deadline_ =
      std::chrono::steady_clock::now() + kServiceTimeout;
  bool isConnected_ = false;
  std::future<std::string> answer_;
  // Last, because its destructor calls the pending callbacks.
  vxutils::AgentServiceConnection connection_{kServiceConnectTimeout};
};

class Reader {
 public:
  Facts read(const FactsExtent& extent) {
    facts_.time = platform::systemClock()();
    const std::chrono::year_month_day today = platform::dayOf(facts_.time);
    facts_.offsetFromUTC = std::chrono::sys_days(today) - platform::startOfDay(today);
    facts_.promptDay = vexlo::RunningAppPromptDataStoreKeys::currentDate();
    auto [service, whyNoService] = ReasonListener::listenTo(
        [&] { return extent.agentService ? std::make_unique<ServiceQuestion>() : nullptr; });
    readMachine();
    readUsers(extent.profilesTimeout);
    readSettings();
    for (const std::string& identifier : extent.applications) {
      readApplications(identifier);
    }
    if (extent.allApplications) {
      readApplications(std::nullopt);
    }
    if (service) {
      whyNoService = service->isConnected() ? service->whyNoAnswer() : whyNoService;
      facts_.agent.serviceAnswers = service->isConnected() && whyNoService.empty();
    }
    noteUnless(facts_.agent.serviceAnswers == true, "agentService",
               service ? std::move(whyNoService) : kNotAsked);
    if (extent.credentials && facts_.isAppleSilicon) {
      readCredentials();
    }
    readUpdates(extent.appleServers);
    readInstallAssistants();
    return std::move(facts_);
  }

 private:
  void noteUnless(bool present, std::string_view name, std::string reason) {
    if (!present) {
      facts_.reasons.emplace(name, std::move(reason));
    }
  }

  /// Reads a value and notes why it is absent.
  template <typename Read>
  auto optional(const char* name, const Read& read) {
    auto [value, reason] = ReasonListener::listenTo(read);
    noteUnless(value.has_value(), name, std::move(reason));
    return std::move(value);
  }

  void readMachine() {
    const vexlo::MachineFacts machine;
    facts_.isAppleSilicon = machine.isAppleSilicon();
    facts_.macOSMajorVersion = machine.macOSMajorVersion();
    facts_.macOSVersion = platform::macOSProductVersion();
    noteUnless(facts_.macOSVersion.has_value(), "macOSVersion", "the macOS version can't be read");
    facts_.preferredLanguages = platform::preferredLanguages();
    KnownPowerSources known;
    facts_.powerSources = known.sources;
    facts_.powerSource = optional(
        "powerSource", [&] { return vexlo::SystemPowerSource(known).currentPowerSource(); });
    facts_.freeDiskSpace =
        optional("freeDiskSpace", [] { return vexlo::SystemDiskInfo().availableDiskSpace(); });
  }

  void readUsers(std::chrono::milliseconds profilesTimeout) {
    vexlo::SystemUserSession session;
    facts_.consoleUser = session.currentConsoleUserName();
    facts_.consoleUserID = session.userID(facts_.consoleUser);
    noteUnless(facts_.consoleUserID.has_value(), "consoleUserID", "there is no such account");
    facts_.loggedOnUsers = session.loggedOnUsers();
    noteUnless(facts_.loggedOnUsers.has_value(), "loggedOnUsers", "nobody is logged on");
    // The library treats a failing tool as "not enrolled" and logs a line only then.
    auto [enrollment, reason] = ReasonListener::listenTo(
        [&] { return vxutils::MDMEnrollmentUtil::shared().getEnrollmentType(profilesTimeout); });
    if (reason.empty()) {
      facts_.mdmEnrollment = enrollment;
    }
    noteUnless(facts_.mdmEnrollment.has_value(), "mdmEnrollment", std::move(reason));
  }

  SettingsFile settingsFile(const char* name, const std::string& path) {
    if (!facts_.agent.data) {
      noteUnless(false, name, kNoDataDirectory);
      return {};
    }
    auto dictionary = FileCodec::readPropertyListFile(path);
    SettingsFile file{.file = path, .values = {}};
    if (dictionary) {
      file.values = *std::move(dictionary);
    } else {
      const auto& [kind, error] = dictionary.error();
      noteUnless(false, name,
                 kind == FileCodec::PropertyListFileError::Kind::missing
                     ? "there is no file " + path
                     : error.what());
    }
    return file;
  }

  void readSettings() {
    const auto& agent = vxutils::gv_globvars;
    facts_.agent = {.base = agent.vxagentBasePath(),
                    .data = agent.vxagentDataDictPath(),
                    .logs = agent.vxagentLogPath()};
    facts_.patchData = settingsFile("patchData", vexlo::patchDataFile());
    facts_.promptCounts =
        settingsFile("promptCounts", vexlo::RunningAppPromptDataStore::plistPath());
    if (auto& values = facts_.patchData.values) {
      std::erase_if(*values, [](const auto& entry) {
        return std::ranges::find(vexlo::PatchDataKeys::all, entry.first) ==
               vexlo::PatchDataKeys::all.end();
      });
    }
    if (!facts_.agent.data) {
      noteUnless(false, "customization", kNoDataDirectory);
      return;
    }
    readCustomization();
    vexlo::PlistFile settings(vexlo::patchDataFile());
    vexlo::RunningAppPolicy policy(settings);
    facts_.inForce = {.alwaysKillApps = policy.isAlwaysKillAppsEnabled(),
                      .prompt = policy.isPromptEnabled(),
                      .deferralCheckDisabled =
                          vexlo::MacOSUpdateDeferralEligibilityChecker(settings).isDisabled(),
                      .patchingViaMDM = vexlo::MDMPatchingStatusChecker(settings).isEnabled()};
  }

  /// Only a file that decodes completely is used.
  void readCustomization() {
    const auto customization = optional("customization", [] {
      vexlo::PlistSerializer decoder;
      return vexlo::RunningAppPromptCustomizationProvider(decoder).customization();
    });
    facts_.customization.file = vexlo::RunningAppPromptCustomizationProviderConstants::plistPath();
    facts_.customization.values =
        customization.transform([](const auto& settings) { return settings.encode(); });
  }

  /// The running ones with this identifier, or all. A search that failed doesn't show that the
  /// others aren't running.
  void readApplications(const std::optional<std::string>& identifier) {
    std::error_code failure;
    const auto found = platform::runningApplications(identifier, &failure);
    noteUnless(!failure, "applications", failure.message());
    if (identifier && !failure) {
      facts_.applications[*identifier].clear();
    } else if (!identifier) {
      facts_.allApplications = !failure;
      for (auto& [known, instances] : facts_.applications) {
        instances.clear();  // those requested by name are found again here
      }
    }
    for (const auto& running : found) {
      facts_.applications[identifier.value_or(running.bundleIdentifier)].push_back(
          {.name = running.localizedName,
           .processIdentifier = running.processIdentifier,
           .executable = running.executableURL});
    }
  }

  void readCredentials() {
    const auto service = vexlo::agentServiceCredentials();
    if (service == nullptr) {
      facts_.agent.serviceAnswers = false;
      return;
    }
    const std::optional<vexlo::Credentials> stored = service->credentials();
    facts_.agent.credentialsStored = stored.has_value();
    if (stored) {
      facts_.agent.userName = stored->userName;
    }
  }

  void readInstallAssistants() {
    std::error_code error;
    std::vector<std::string> found;
    for (auto folder = std::filesystem::directory_iterator(kApplicationsFolder, error);
         !error && folder != std::filesystem::directory_iterator(); folder.increment(error)) {
      std::error_code missing;
      if (std::filesystem::exists(folder->path() / "Contents/Resources/startosinstall", missing)) {
        found.push_back(folder->path());
      }
    }
    std::ranges::sort(found);
    noteUnless(!error, "installAssistants", error.message());
    facts_.installAssistants = error ? std::nullopt : std::optional(std::move(found));
  }

  /// «macOS Sonoma 14.5-23F79» of «* Label: macOS Sonoma 14.5-23F79».
  static std::vector<std::string> labelsIn(const std::string& list) {
    constexpr std::string_view kMark = "Label: ";
    std::vector<std::string> labels;
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
      if (const std::size_t mark = line.find(kMark); mark != std::string::npos) {
        labels.emplace_back(platform::trimmed(std::string_view(line).substr(mark + kMark.size())));
      }
    }
    return labels;
  }

  void readUpdates(bool asksApple) {
    std::vector<std::string> labels;
    if (asksApple) {
      FetchedSoftwareUpdates fetched;
      facts_.softwareUpdateStatus = fetched.list.exitCode;
      labels = labelsIn(fetched.list.output);
      facts_.softwareUpdateReachable =
          vexlo::AppleSoftwareUpdateConnectivityChecker(fetched).isAppleSoftwareUpdateReachable();
    }
    if (facts_.softwareUpdateReachable == true) {
      facts_.softwareUpdateLabels = std::move(labels);
      auto available = optional("availableOSUpdates", [] {
        vexlo::SystemMDMClient client;
        return vexlo::SystemAvailableOSUpdates(client).availableOSUpdates();
      });
      if (available) {
        facts_.availableOSUpdates = std::move(available->updates);
        facts_.updatesListed = available->isListed;
        noteUnless(available->isListed, "availableOSUpdates",
                   "mdmclient printed no list of updates");
      }
    } else {
      for (const char* const absent : {"softwareUpdateLabels", "availableOSUpdates"}) {
        noteUnless(false, absent,
                   asksApple ? "Apple's software update service can't be reached" : kNotAsked);
      }
    }
    noteUnless(asksApple, "softwareUpdateReachable", kNotAsked);
    noteUnless(asksApple, "softwareUpdateStatus", kNotAsked);
  }

  Facts facts_;
};

}  // namespace

Facts readFacts(const FactsExtent& extent) { return Reader().read(extent); }

vexlo::MachineFacts recordedMachine(const Facts* const& facts) {
  return {
      .macOSMajorVersion = [&facts] { return facts->macOSMajorVersion; },
      .isAppleSilicon = [&facts] { return facts->isAppleSilicon; },
      .mdmEnrollment =
          [&facts] { return facts->mdmEnrollment.value_or(vxutils::EnrollmentType::not_enrolled); },
  };
}

}  // namespace agent_tool
