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

/// Answers with its public field and counts.
class FakeCredentialsFetcher final : public CredentialsFetcher {
 public:
  std::optional<Credentials> answer;
  int timesAsked = 0;
  std::optional<Credentials> credentials() override {
    ++timesAsked;
    return answer;
  }
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

/// Records in the test's list of events how many commands had run when it was called.
class FakeSoftwareUpdateNotifier final : public SoftwareUpdateNotifier {
 public:
  FakeSoftwareUpdateNotifier(const FakeCommandExecutor& commands, std::vector<std::string>& events)
      : commands_(commands), events_(events) {}
  void notifyUpdatesInProgress() override {
    events_.push_back("notified after command " + std::to_string(commands_.calls.size()));
  }

 private:
  const FakeCommandExecutor& commands_;
  std::vector<std::string>& events_;
};

/// What both containers hold, over fakes; a container without credentials is that of an Intel Mac.
template <typename Container>
class FakeInstallation : public Container {
 public:
  std::unique_ptr<FakeCredentialsFetcher> fetcher;
  FakeCommandExecutor commands;
  std::vector<std::string> events;

  CredentialsFetcher* userCredentials() override { return fetcher.get(); }
  CommandExecutor& executor() override { return commands; }
  SoftwareUpdateNotifier& notifier() override { return notifier_; }

  /// Makes it the container of an Apple silicon Mac, where credentials may be absent.
  void holdCredentials(std::optional<Credentials> credentials) {
    fetcher = std::make_unique<FakeCredentialsFetcher>();
    fetcher->answer = std::move(credentials);
  }

 private:
  FakeSoftwareUpdateNotifier notifier_{commands, events};
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
