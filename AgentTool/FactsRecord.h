// What a machine said of itself: one line of `facts --json`, read back.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "AgentTool/CompactJSON.h"
#include "Platform/Calendar.h"
#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"

namespace agent_tool {

/// A settings file of the agent's, as the machine read it.
class RecordedSettings {
 public:
  RecordedSettings() = default;  ///< Of a file that could not be read.
  RecordedSettings(std::optional<std::string_view> file, const JSONValue* values)
      : file_(file), values_(values) {}

  /// Its path on the machine.
  [[nodiscard]] std::optional<std::string_view> file() const noexcept { return file_; }
  /// Whether the file could be read.
  [[nodiscard]] bool arePresent() const noexcept { return values_ != nullptr; }
  /// The value under a top-level key; absent without the file or the key.
  [[nodiscard]] std::optional<platform::PropertyList> value(std::string_view key) const;
  /// All of them; absent without the file.
  [[nodiscard]] std::optional<platform::PropertyList::Dictionary> dictionary() const;

 private:
  std::optional<std::string_view> file_;
  const JSONValue* values_ = nullptr;
};

/// A running instance of an application.
struct RecordedInstance {
  std::optional<std::string_view> name;
  std::int32_t processIdentifier = 0;
  std::optional<std::string_view> executable;  ///< Its path.
};

/// A macOS update that Apple's servers offer the machine, as its MDM client tells.
struct RecordedUpdate {
  std::optional<std::string_view> build;
  std::optional<std::string_view> deferredUntil;  ///< «2024-06-15 00:00:00 +0000»
  std::optional<std::string_view> productKey;
  std::optional<std::string_view> version;
};

/// The readings that checks base their answers on; what they mean and which may be absent stands in
/// docs/FACTS.md. What the checks work out again from these, such as `inForce`, is left out. The
/// texts belong to the reader that made the record.
struct FactsRecord {
  std::optional<std::string_view> name;  ///< Of the machine, where the line has one.
  std::optional<platform::Moment> time;
  std::chrono::seconds offsetFromUTC{0};  ///< Of the machine's time zone, positive in the east.
  std::optional<std::string_view> promptDay;

  bool isAppleSilicon = false;
  std::optional<std::string_view> macOSVersion;
  std::int64_t macOSMajorVersion = 0;
  std::vector<std::string_view> preferredLanguages;

  std::optional<vexlo::PowerSource> powerSource;
  std::optional<std::int64_t> freeDiskSpace;
  std::string_view consoleUser;
  std::optional<std::uint32_t> consoleUserID;
  std::optional<std::string_view> loggedOnUsers;
  std::optional<vxutils::EnrollmentType> mdmEnrollment;

  std::optional<std::string_view> baseDirectory;
  std::optional<std::string_view> dataDirectory;
  std::optional<std::string_view> logDirectory;
  bool agentServiceAnswers = false;
  RecordedSettings patchData;
  RecordedSettings customization;
  RecordedSettings promptCounts;

  /// Whether Apple's software update service can be reached; absent when it was not asked.
  std::optional<bool> softwareUpdateReachable;
  std::optional<std::int32_t> softwareUpdateStatus;  ///< How the tool that was asked ended.
  bool updatesAreKnown = false;  ///< Whether the MDM client was asked and answered.
  std::vector<RecordedUpdate> availableOSUpdates;

  bool allApplicationsAreKnown = false;  ///< Whether those that aren't listed don't run.

  /// The running instances of an application; absent when the machine was not asked for it.
  [[nodiscard]] std::optional<std::span<const RecordedInstance>> instancesOf(
      std::string_view bundleIdentifier) const;

  struct Application {
    std::string_view bundleIdentifier;
    std::size_t firstInstance;
    std::size_t instanceCount;
  };
  std::vector<Application> applications;    ///< That the machine was asked for.
  std::vector<RecordedInstance> instances;  ///< Of all of them.
};

/// Reads one line after the other into the same record; it allocates nothing once the largest line
/// has been seen. For one thread at a time.
class FactsReader {
 public:
  FactsReader() = default;
  FactsReader(const FactsReader&) = delete;
  FactsReader& operator=(const FactsReader&) = delete;

  /// The record of a line, with or without its line feed. It lives until the next reading and as
  /// long as `line`. Members that aren't known are ignored; of those that are there twice the last
  /// one counts. An error names no file, and as its place a column («column 7») or a member
  /// («powerSource › percentage»).
  [[nodiscard]] std::expected<const FactsRecord*, FileCodec::DecodingError> read(
      std::string_view line);

 private:
  CompactJSON document_;
  FactsRecord record_;
};

}  // namespace agent_tool
