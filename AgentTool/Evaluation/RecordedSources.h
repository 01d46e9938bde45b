// Recorded facts of a machine as the source of an evaluation elsewhere.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AgentTool/Evaluation/EvaluationDependencies.h"
#include "AgentTool/Evaluation/Intentions.h"
#include "AgentTool/Facts/FactsRecord.h"

namespace agent_tool {

/// Providers that answer from a record, without reading anything from this machine. Facts that are
/// missing in the record count as not asked. Not thread-safe.
class RecordedSources {
 public:
  /// `intentions` must outlive this object.
  explicit RecordedSources(Intentions& intentions)
      : applications_(*this, intentions), apple_(*this, intentions) {}
  RecordedSources(const RecordedSources&) = delete;
  RecordedSources& operator=(const RecordedSources&) = delete;

  /// Answers from `record`, which must stay valid until the next call. Must be called before
  /// evaluating.
  void use(const FactsRecord& record);

  [[nodiscard]] EvaluationSources sources();

 private:
  class Part {
   public:
    explicit Part(const RecordedSources& whole) : whole_(whole) {}

   protected:
    [[nodiscard]] const FactsRecord& record() const { return *whole_.record_; }

   private:
    const RecordedSources& whole_;
  };

  struct Power final : vexlo::PowerSourceResolver, Part {
    using Part::Part;
    [[nodiscard]] std::optional<vexlo::PowerSource> currentPowerSource() override {
      return record().powerSource;
    }
  };
  struct Disk final : vexlo::DiskInfoProvider, Part {
    using Part::Part;
    [[nodiscard]] std::optional<std::int64_t> availableDiskSpace() override {
      return record().freeDiskSpace;
    }
  };
  struct Users final : vexlo::UserSessionProvider, Part {
    using Part::Part;
    [[nodiscard]] std::string currentConsoleUserName() override {
      return std::string(record().consoleUser);
    }
    [[nodiscard]] std::optional<std::string> loggedOnUsers() override;
    [[nodiscard]] std::optional<std::uint32_t> userID(const std::string& name) override;
  };
  class Settings final : public vexlo::PlistManager, Part {
   public:
    Settings(const RecordedSources& whole, RecordedSettings FactsRecord::* file)
        : Part(whole), file_(file) {}
    [[nodiscard]] std::optional<platform::PropertyList> fetchValue(
        const std::string& key) override {
      return (record().*file_).value(key);
    }
    void updateValue(std::optional<platform::PropertyList> /*value*/,
                     const std::string& /*key*/) override {}
    void save(const std::optional<std::string>& /*path*/) override {}

   private:
    RecordedSettings FactsRecord::* file_;
  };
  class Customization final : public vexlo::RunningAppPromptCustomizing, Part {
   public:
    using Part::Part;
    void forget() { settings_.reset(); }
    [[nodiscard]] std::optional<vexlo::RunningAppPromptCustomization> customization() override {
      return customizationData();
    }
    [[nodiscard]] const std::optional<vexlo::RunningAppPromptCustomization>& customizationData()
        override;

   private:
    /// Of the current record; decoded on first use.
    std::optional<std::optional<vexlo::RunningAppPromptCustomization>> settings_;
  };
  class Applications final : public vexlo::RunningApplicationQuerying, Part {
   public:
    Applications(const RecordedSources& whole, Intentions& intentions)
        : Part(whole), intentions_(intentions) {}
    [[nodiscard]] std::vector<std::unique_ptr<vexlo::RunningApplication>> runningApplications(
        const std::string& bundleIdentifier) override;

   private:
    Intentions& intentions_;
  };

  /// The answers of Apple's servers, if recorded.
  class Apple final : public vexlo::SoftwareUpdateLister,
                      public vexlo::AvailableOSUpdatesResolver,
                      Part {
   public:
    Apple(const RecordedSources& whole, Intentions& intentions)
        : Part(whole), unreachable_(intentions) {}
    [[nodiscard]] vexlo::SoftwareUpdateList fetchSoftwareUpdates() override;
    [[nodiscard]] std::optional<std::vector<vexlo::AvailableOSUpdate>> availableOSUpdates()
        override;

   private:
    UnreachableApple unreachable_;
  };

  const FactsRecord* record_ = nullptr;
  vexlo::MachineFacts machine_{
      .macOSMajorVersion = [this] { return record_->macOSMajorVersion; },
      .isAppleSilicon = [this] { return record_->isAppleSilicon; },
      .mdmEnrollment =
          [this] {
            return record_->mdmEnrollment.value_or(vxutils::EnrollmentType::not_enrolled);
          }};
  Power powerSource_{*this};
  Disk disk_{*this};
  Users users_{*this};
  Settings patchData_{*this, &FactsRecord::patchData};
  Settings promptCounts_{*this, &FactsRecord::promptCounts};
  Customization customization_{*this};
  Applications applications_;
  Apple apple_;
};

}  // namespace agent_tool
