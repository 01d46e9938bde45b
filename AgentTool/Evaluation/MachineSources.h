// This machine as the source of an evaluation; only reads.
#pragma once
#include <memory>
#include <optional>

#include "AgentTool/Evaluation/EvaluationDependencies.h"
#include "VexloPatchDeployment/Adapters/PlistDecoding.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"

namespace agent_tool {

/// The library's production providers, as far as they only read.
class MachineSources {
 public:
  /// `asksApple` permits asking Apple's servers, which takes a while; `asksAgent` permits asking
  /// the agent's service whether credentials are stored. The agent's directories must be set.
  MachineSources(bool asksApple, bool asksAgent) : asksApple_(asksApple), asksAgent_(asksAgent) {}
  MachineSources(const MachineSources&) = delete;
  MachineSources& operator=(const MachineSources&) = delete;

  [[nodiscard]] EvaluationSources sources();

 private:
  /// A settings file that is only read.
  class Settings final : public vexlo::PlistManager {
   public:
    explicit Settings(std::string path) : file_(std::move(path)) {}
    [[nodiscard]] std::optional<platform::PropertyList> fetchValue(
        const std::string& key) override {
      return file_.fetchValue(key);
    }
    void updateValue(std::optional<platform::PropertyList> /*value*/,
                     const std::string& /*key*/) override {}
    void save(const std::optional<std::string>& /*path*/) override {}

   private:
    vexlo::PlistFile file_;
  };

  [[nodiscard]] vexlo::CredentialsFetcher* credentials();

  bool asksApple_;
  bool asksAgent_;
  vexlo::MachineFacts machine_;
  vexlo::SystemPowerSources powerSources_;
  vexlo::SystemPowerSource powerSource_{powerSources_};
  vexlo::SystemDiskInfo disk_;
  vexlo::SystemUserSession users_;
  Settings patchData_{vexlo::patchDataFile()};
  Settings promptCounts_{vexlo::RunningAppPromptDataStore::plistPath()};
  vexlo::PlistSerializer plistDecoder_;
  vexlo::RunningAppPromptCustomizationProvider customization_{plistDecoder_};
  vexlo::SystemRunningApplicationQuery applications_;
  vexlo::SystemSoftwareUpdateLister softwareUpdates_;
  vexlo::SystemMDMClient mdmClient_;
  vexlo::SystemAvailableOSUpdates availableOSUpdates_{mdmClient_};
  vexlo::OnFirstUse<std::unique_ptr<vexlo::CredentialsFetcher>> credentials_{
      vexlo::agentServiceCredentials};
};

}  // namespace agent_tool
