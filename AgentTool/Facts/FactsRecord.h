// A machine's facts, parsed from a line of `facts --json`.
#pragma once
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentTool/Facts/CompactJSON.h"
#include "AgentTool/Facts/PlainFacts.h"
#include "Platform/Calendar.h"
#include "Platform/PropertyList.h"

namespace agent_tool {

/// A settings file of the agent.
class RecordedSettings {
 public:
  RecordedSettings() = default;  ///< Of a file that could not be read.
  RecordedSettings(std::optional<std::string_view> file, const JSONValue* values)
      : file_(file), values_(values) {}

  /// Its path on the machine.
  [[nodiscard]] std::optional<std::string_view> file() const noexcept { return file_; }
  /// Whether the file could be read.
  [[nodiscard]] bool arePresent() const noexcept { return values_ != nullptr; }
  /// The value of a top-level key; absent if the file or the key is missing.
  [[nodiscard]] std::optional<platform::PropertyList> value(std::string_view key) const;
  /// All values; absent if the file is missing.
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

/// A macOS update offered by Apple's servers, as reported by the MDM client.
struct RecordedUpdate {
  std::optional<std::string_view> build;
  std::optional<std::string_view> deferredUntil;  ///< «2024-06-15 00:00:00 +0000»
  std::optional<std::string_view> productKey;
  std::optional<std::string_view> version;
};

/// The facts that the checks use; docs/FACTS.md describes them. Derived facts such as `inForce` are
/// left out. The strings belong to the reader.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): ordered by meaning
struct FactsRecord : PlainFacts {
  std::optional<std::string_view> name;  ///< The machine's name, if the line has one.
  std::optional<platform::Moment> time;
  std::optional<std::string_view> promptDay;

  std::optional<std::string_view> macOSVersion;
  std::vector<std::string_view> preferredLanguages;

  std::string_view consoleUser;
  std::optional<std::string_view> loggedOnUsers;
  std::optional<std::string_view> baseDirectory;
  std::optional<std::string_view> dataDirectory;
  std::optional<std::string_view> logDirectory;
  RecordedSettings patchData;
  RecordedSettings customization;
  RecordedSettings promptCounts;

  bool updatesAreKnown = false;  ///< Whether the MDM client was asked and answered.
  std::vector<RecordedUpdate> availableOSUpdates;

  bool allApplicationsAreKnown = false;  ///< Whether those not listed are known not to run.

  /// The running instances of an application; absent if unknown.
  [[nodiscard]] std::optional<std::span<const RecordedInstance>> instancesOf(
      std::string_view bundleIdentifier) const;

  struct Application {
    std::string_view bundleIdentifier;
    std::size_t firstInstance;
    std::size_t instanceCount;
  };
  std::vector<Application> applications;    ///< Those whose instances are known.
  std::vector<RecordedInstance> instances;  ///< The instances of all applications.
};

/// A longer line of facts is an error where lines are read.
constexpr std::size_t kLongestFactsLine = std::size_t{1} << 20;

/// Parses lines one at a time into the same record, reusing memory, so that it stops allocating
/// after the largest line. Not thread-safe.
class FactsReader {
 public:
  FactsReader() = default;
  FactsReader(const FactsReader&) = delete;
  FactsReader& operator=(const FactsReader&) = delete;

  /// The record of a line, with or without its line feed; valid until the next call and as long as
  /// `line`. Unknown members are ignored, and the last of duplicate members counts. Errors name no
  /// file; their place is a column («column 7») or a member («powerSource › percentage»).
  [[nodiscard]] std::expected<const FactsRecord*, FileCodec::DecodingError> read(
      std::string_view line);

 private:
  CompactJSON document_;
  FactsRecord record_;
};

}  // namespace agent_tool
