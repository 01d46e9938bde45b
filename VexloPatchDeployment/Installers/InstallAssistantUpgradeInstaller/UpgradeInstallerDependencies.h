// The collaborators of the macOS upgrade installers.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Machine.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateNotifier.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

namespace vexlo {

/// Members live as long as the container. Tests and other containers replace the default.
class UpgradeInstallerDependencies {
 public:
  virtual ~UpgradeInstallerDependencies() = default;
  /// Null on Intel machines, where the tool needs no credentials.
  [[nodiscard]] virtual CredentialsFetcher* userCredentials() = 0;
  [[nodiscard]] virtual CommandExecutor& executor() = 0;
  [[nodiscard]] virtual SoftwareUpdateNotifier& notifier() = 0;
  /// The first of the user's preferred languages, for log lines; absent without any.
  [[nodiscard]] virtual std::optional<std::string> preferredLanguage() = 0;
};

/// The production collaborators.
class DefaultUpgradeInstallerDependencies final : public UpgradeInstallerDependencies {
 public:
  /// `userCredentials` is null on Intel machines.
  explicit DefaultUpgradeInstallerDependencies(std::unique_ptr<CredentialsFetcher> userCredentials)
      : userCredentials_(std::move(userCredentials)) {}
  /// Without credentials; never null.
  [[nodiscard]] static std::unique_ptr<UpgradeInstallerDependencies> intel() {
    return std::make_unique<DefaultUpgradeInstallerDependencies>(nullptr);
  }
  /// With the credentials of the agent's service; null, with an error line, if the service can't be
  /// reached.
  [[nodiscard]] static std::unique_ptr<UpgradeInstallerDependencies> silicon();

  [[nodiscard]] CredentialsFetcher* userCredentials() override { return userCredentials_.get(); }
  [[nodiscard]] CommandExecutor& executor() override { return TerminalUtil::defaultInstance(); }
  [[nodiscard]] SoftwareUpdateNotifier& notifier() override { return notifier_; }
  [[nodiscard]] std::optional<std::string> preferredLanguage() override {
    return platform::preferredLanguage();
  }

 private:
  std::unique_ptr<CredentialsFetcher> userCredentials_;
  DefaultSoftwareUpdateNotifier notifier_;
};

}  // namespace vexlo
