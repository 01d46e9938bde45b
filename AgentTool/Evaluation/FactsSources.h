// A machine's facts as the source of an evaluation.
#pragma once
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Evaluation/Intentions.h"
#include "AgentTool/Facts/Facts.h"
#include "VexloPatchDeployment/Adapters/MachineFacts.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace agent_tool {

/// Providers that answer from facts, without reading anything from this machine. What the facts
/// lack counts as not asked. Not thread-safe.
class FactsSources {
 public:
  /// `intentions` must outlive this object.
  explicit FactsSources(Intentions& intentions)
      : applications(*this, intentions), apple(*this, intentions) {}
  FactsSources(const FactsSources&) = delete;
  FactsSources& operator=(const FactsSources&) = delete;

  /// Answers from `facts`, which must stay valid until the next call. Must be called before
  /// evaluating.
  void use(const Facts& facts) {
    facts_ = &facts;
    customization.forget();
  }

  /// The day for which prompts are counted.
  [[nodiscard]] std::string promptDay() const { return facts_->promptDay; }
  [[nodiscard]] platform::Moment now() const { return facts_->time; }
  /// In the machine's time zone.
  [[nodiscard]] platform::Moment startOfDay(std::chrono::year_month_day day) const {
    return platform::Moment(std::chrono::sys_days(day)) - facts_->offsetFromUTC;
  }
  [[nodiscard]] std::optional<std::string> preferredLanguage() const;
  [[nodiscard]] const AgentState& agent() const { return facts_->agent; }
  /// Whether the agent's service can be reached, as far as is known.
  [[nodiscard]] bool agentServiceAnswers() const {
    return agent().credentialsStored || agent().serviceAnswers.value_or(true);
  }
  /// How an installer's command is known to fail: `softwareupdate` doesn't list its label, or
  /// the InstallAssistant application is not there. Absent if it may succeed.
  [[nodiscard]] std::optional<vexlo::CommandResult> failureOf(std::string_view command) const;

 private:
  class Part {
   public:
    explicit Part(const FactsSources& whole) : whole_(whole) {}

   protected:
    [[nodiscard]] const Facts& facts() const { return *whole_.facts_; }

   private:
    const FactsSources& whole_;
  };

  struct Power final : vexlo::PowerSourceResolver, Part {
    using Part::Part;
    [[nodiscard]] std::optional<vexlo::PowerSource> currentPowerSource() override {
      return facts().powerSource;
    }
  };
  struct Disk final : vexlo::DiskInfoProvider, Part {
    using Part::Part;
    [[nodiscard]] std::optional<std::int64_t> availableDiskSpace() override {
      return facts().freeDiskSpace;
    }
  };
  struct Users final : vexlo::UserSessionProvider, Part {
    using Part::Part;
    [[nodiscard]] std::string currentConsoleUserName() override { return facts().consoleUser; }
    [[nodiscard]] std::optional<std::string> loggedOnUsers() override {
      return facts().loggedOnUsers;
    }
    [[nodiscard]] std::optional<std::uint32_t> userID(const std::string& name) override {
      return name == facts().consoleUser ? facts().consoleUserID : std::nullopt;
    }
  };
  /// Never written.
  class Settings final : public vexlo::PlistManager, Part {
   public:
    Settings(const FactsSources& whole, SettingsFile Facts::* file) : Part(whole), file_(file) {}
    [[nodiscard]] std::optional<platform::PropertyList> fetchValue(const std::string& key) override;
    void updateValue(std::optional<platform::PropertyList> /*value*/,
                     const std::string& /*key*/) override {}
    void save(const std::optional<std::string>& /*path*/) override {}

   private:
    SettingsFile Facts::* file_;
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
    /// Of the current facts; decoded on first use.
    std::optional<std::optional<vexlo::RunningAppPromptCustomization>> settings_;
  };
  /// Used only for names and paths.
  class Applications final : public vexlo::RunningApplicationQuerying, Part {
   public:
    Applications(const FactsSources& whole, Intentions& intentions)
        : Part(whole), intentions_(intentions) {}
    [[nodiscard]] std::vector<vexlo::RunningApplication> runningApplications(
        const std::string& bundleIdentifier) override;

   private:
    Intentions& intentions_;
  };
  /// The answers of Apple's servers, if they were asked.
  class Apple final : public vexlo::SoftwareUpdateLister,
                      public vexlo::AvailableOSUpdatesResolver,
                      Part {
   public:
    Apple(const FactsSources& whole, Intentions& intentions)
        : Part(whole), intentions_(intentions) {}
    [[nodiscard]] vexlo::CommandResult fetchSoftwareUpdates() override;
    [[nodiscard]] std::optional<vexlo::AvailableOSUpdates> availableOSUpdates() override {
      return facts().availableOSUpdates.transform([this](const auto& updates) {
        return vexlo::AvailableOSUpdates{.updates = updates,
                                         .isListed = facts().updatesListed.value_or(true)};
      });
    }

   private:
    Intentions& intentions_;
  };

  /// The list of updates, as far as labels are read in it.
  struct Labels final : vexlo::SoftwareUpdateLister, Part {
    using Part::Part;
    [[nodiscard]] vexlo::CommandResult fetchSoftwareUpdates() override;
  };

  const Facts* facts_ = nullptr;

 public:
  vexlo::MachineFacts machine{
      .macOSMajorVersion = [this] { return facts_->macOSMajorVersion; },
      .isAppleSilicon = [this] { return facts_->isAppleSilicon; },
      .mdmEnrollment =
          [this] { return facts_->mdmEnrollment.value_or(vxutils::EnrollmentType::not_enrolled); }};
  Power powerSource{*this};
  Disk disk{*this};
  Users users{*this};
  Settings patchData{*this, &Facts::patchData};
  Settings promptCounts{*this, &Facts::promptCounts};
  Customization customization{*this};
  Applications applications;
  Apple apple;
  Labels labels{*this};
};

}  // namespace agent_tool
