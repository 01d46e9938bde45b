// The collaborators of the software update installers.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Machine.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateNotifier.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// Members live as long as the container. Tests and other containers replace the default.
class SoftwareUpdateInstallerDependencies {
 public:
  virtual ~SoftwareUpdateInstallerDependencies() = default;
  /// Null on Intel machines, where the tool needs no credentials.
  [[nodiscard]] virtual CredentialsFetcher* userCredentials() = 0;
  [[nodiscard]] virtual CommandExecutor& executor() = 0;
  [[nodiscard]] virtual SoftwareUpdateOutputAnalyser& outputValidator() = 0;
  [[nodiscard]] virtual SoftwareUpdateLabelProvider& labelProvider() = 0;
  [[nodiscard]] virtual UserSessionProvider& userSessionProvider() = 0;
  [[nodiscard]] virtual SoftwareUpdateNotifier& notifier() = 0;
  /// The first of the user's preferred languages, for log lines; absent without any.
  [[nodiscard]] virtual std::optional<std::string> preferredLanguage() = 0;
};

/// The production collaborators.
class DefaultSoftwareUpdateInstallerDependencies final
    : public SoftwareUpdateInstallerDependencies {
 public:
  /// `userCredentials` is null on Intel machines.
  explicit DefaultSoftwareUpdateInstallerDependencies(
      std::unique_ptr<CredentialsFetcher> userCredentials)
      : userCredentials_(std::move(userCredentials)) {}
  /// Without credentials; never null.
  [[nodiscard]] static std::unique_ptr<SoftwareUpdateInstallerDependencies> intel() {
    return std::make_unique<DefaultSoftwareUpdateInstallerDependencies>(nullptr);
  }
  /// With the credentials of the agent's service; null, with an error line, if the service can't be
  /// reached.
  [[nodiscard]] static std::unique_ptr<SoftwareUpdateInstallerDependencies> silicon();

  [[nodiscard]] CredentialsFetcher* userCredentials() override { return userCredentials_.get(); }
  [[nodiscard]] CommandExecutor& executor() override { return TerminalUtil::defaultInstance(); }
  [[nodiscard]] SoftwareUpdateOutputAnalyser& outputValidator() override {
    return outputValidator_;
  }
  [[nodiscard]] SoftwareUpdateLabelProvider& labelProvider() override { return labelProvider_; }
  [[nodiscard]] UserSessionProvider& userSessionProvider() override { return userSessionProvider_; }
  [[nodiscard]] SoftwareUpdateNotifier& notifier() override { return notifier_; }
  [[nodiscard]] std::optional<std::string> preferredLanguage() override {
    return platform::preferredLanguage();
  }

 private:
  std::unique_ptr<CredentialsFetcher> userCredentials_;
  DefaultSoftwareUpdateOutputAnalyser outputValidator_;
  SystemSoftwareUpdateLister softwareUpdateLister_;
  DefaultSoftwareUpdateLabel labelProvider_{softwareUpdateLister_};
  SystemUserSession userSessionProvider_;
  DefaultSoftwareUpdateNotifier notifier_;
};

}  // namespace vexlo
