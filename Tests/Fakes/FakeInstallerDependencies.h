// Collaborators of the macOS installers that a test makes up.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tests/Fakes/FakeCommandExecutor.h"
#include "Tests/Fakes/FakeUserSessionProvider.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

namespace vexlo {

/// Answers with its public field.
class FakeCredentialsFetcher final : public CredentialsFetcher {
 public:
  std::optional<Credentials> answer;
  std::optional<Credentials> credentials() override { return answer; }
};

/// Answers with its public field and records the builds asked for.
class FakeSoftwareUpdateLabelProvider final : public SoftwareUpdateLabelProvider {
 public:
  std::optional<std::string> answer;
  std::vector<std::string> builds;
  std::optional<std::string> label(std::string_view build) override {
    builds.emplace_back(build);
    return answer;
  }
};

/// What both containers hold, over fakes; a container without credentials is that of an Intel Mac.
/// Tells the test's list of events how many commands had run when the user was notified.
template <typename Container>
class FakeInstallation : public Container, SoftwareUpdateNotifier {
 public:
  std::unique_ptr<FakeCredentialsFetcher> fetcher;
  FakeCommandExecutor commands;
  std::vector<std::string> events;

  CredentialsFetcher* userCredentials() override { return fetcher.get(); }
  CommandExecutor& executor() override { return commands; }
  SoftwareUpdateNotifier& notifier() override { return *this; }

  /// Makes it the container of an Apple silicon Mac, where credentials may be absent.
  void holdCredentials(std::optional<Credentials> credentials) {
    fetcher = std::make_unique<FakeCredentialsFetcher>();
    fetcher->answer = std::move(credentials);
  }

 private:
  void notifyUpdatesInProgress() override {
    events.push_back("notified after command " + std::to_string(commands.calls.size()));
  }
};

using FakeUpgradeInstallerDependencies = FakeInstallation<UpgradeInstallerDependencies>;

/// The real analyser, and fakes for the rest.
class FakeSoftwareUpdateInstallerDependencies final
    : public FakeInstallation<SoftwareUpdateInstallerDependencies> {
 public:
  FakeSoftwareUpdateLabelProvider labels;
  FakeUserSessionProvider session;

  SoftwareUpdateOutputAnalyser& outputValidator() override { return analyser_; }
  SoftwareUpdateLabelProvider& labelProvider() override { return labels; }
  UserSessionProvider& userSessionProvider() override { return session; }

 private:
  DefaultSoftwareUpdateOutputAnalyser analyser_;
};

}  // namespace vexlo
