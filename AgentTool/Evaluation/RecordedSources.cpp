#include "AgentTool/Evaluation/RecordedSources.h"

#include <algorithm>
#include <span>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/LogCore/Text.h"

namespace agent_tool {
namespace {

using vexlo::RunningAppPromptCustomization;

constexpr std::int32_t kUnreachableStatus = 1;

std::optional<std::string> owned(const std::optional<std::string_view>& text) {
  return text ? std::optional(std::string(*text)) : std::nullopt;
}

class RecordedApplication final : public vexlo::RunningApplication {
 public:
  explicit RecordedApplication(const RecordedInstance& instance) : instance_(instance) {}
  [[nodiscard]] std::optional<std::string> localizedName() const override {
    return owned(instance_.name);
  }
  [[nodiscard]] std::int32_t processIdentifier() const override {
    return instance_.processIdentifier;
  }
  [[nodiscard]] std::optional<std::string> executableURL() const override {
    return owned(instance_.executable);
  }
  bool forceTerminate() override { return false; }

 private:
  const RecordedInstance& instance_;
};

}  // namespace

void RecordedSources::use(const FactsRecord& record) {
  record_ = &record;
  customization_.forget();
}

EvaluationSources RecordedSources::sources() {
  return {.machine = machine_,
          .powerSource = powerSource_,
          .disk = disk_,
          .users = users_,
          .patchData = patchData_,
          .promptCounts = promptCounts_,
          .customization = customization_,
          .applications = applications_,
          .promptDay = [this] { return std::string(record_->promptDay.value_or("")); },
          .now = [this] { return record_->time.value_or(platform::Moment()); },
          .startOfDay =
              [this](std::chrono::year_month_day day) {
                return platform::Moment(std::chrono::sys_days(day)) - record_->offsetFromUTC;
              },
          .preferredLanguage =
              [this] {
                const auto& languages = record_->preferredLanguages;
                return languages.empty() ? std::nullopt
                                         : std::optional(std::string(languages.front()));
              },
          .softwareUpdates = &apple_,
          .availableOSUpdates = &apple_,
          .credentials = nullptr};
}

std::optional<std::string> RecordedSources::Users::loggedOnUsers() {
  return owned(record().loggedOnUsers);
}

std::optional<std::uint32_t> RecordedSources::Users::userID(const std::string& name) {
  return name == record().consoleUser ? record().consoleUserID : std::nullopt;
}

const std::optional<RunningAppPromptCustomization>&
RecordedSources::Customization::customizationData() {
  if (!settings_) {
    // A value of the wrong type, in a line written by hand, invalidates all settings, as in the
    // file.
    settings_.emplace();
    try {
      *settings_ =
          record().customization.dictionary().transform(RunningAppPromptCustomization::decode);
    } catch (const FileCodec::DecodingError&) {
      settings_->reset();
    }
  }
  return *settings_;
}

std::vector<std::unique_ptr<vexlo::RunningApplication>>
RecordedSources::Applications::runningApplications(const std::string& bundleIdentifier) {
  std::vector<std::unique_ptr<vexlo::RunningApplication>> found;
  if (const auto instances = record().instancesOf(bundleIdentifier)) {
    for (const RecordedInstance& instance : *instances) {
      found.push_back(std::make_unique<RecordedApplication>(instance));
    }
  } else {
    intentions_.doubt(LogCore::text("whether ", bundleIdentifier, " runs"));
  }
  return found;
}

vexlo::SoftwareUpdateList RecordedSources::Apple::fetchSoftwareUpdates() {
  const std::optional<bool> isReachable = record().softwareUpdateReachable;
  if (!isReachable) {
    return unreachable_.fetchSoftwareUpdates();
  }
  if (*isReachable) {
    return {.exitCode = 0, .output = {}};
  }
  return {.exitCode = record().softwareUpdateStatus.value_or(kUnreachableStatus),
          .output = std::string(vexlo::kCantConnectToSoftwareUpdate)};
}

std::optional<std::vector<vexlo::AvailableOSUpdate>> RecordedSources::Apple::availableOSUpdates() {
  if (!record().updatesAreKnown) {
    return std::nullopt;
  }
  std::vector<vexlo::AvailableOSUpdate> updates;
  updates.reserve(record().availableOSUpdates.size());
  for (const RecordedUpdate& update : record().availableOSUpdates) {
    updates.push_back({.build = owned(update.build),
                       .deferredUntil = owned(update.deferredUntil),
                       .productKey = owned(update.productKey),
                       .version = owned(update.version)});
  }
  return updates;
}

}  // namespace agent_tool
