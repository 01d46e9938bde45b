// Fetches the user name and password with which macOS updates are authorised.
#pragma once
#include <memory>
#include <optional>
#include <string>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/AgentServiceValueFetcher.h"

namespace vexlo {

/// An account's name and password. Every copy wipes its password when it goes; while there is one,
/// the process leaves no core file, and where it may the password stays out of the swap space. It
/// has no text form: both came from the agent's service.
struct Credentials {
  std::string userName;
  std::string password;

  Credentials(std::string name, std::string secret);
  Credentials(const Credentials& other);
  Credentials(Credentials&&) noexcept = default;
  Credentials& operator=(const Credentials& other);
  Credentials& operator=(Credentials&& other) noexcept;
  ~Credentials();

  friend bool operator==(const Credentials&, const Credentials&) = default;

 private:
  platform::NoCoreFile noCoreFile_;
};

class CredentialsFetcher {
 public:
  virtual ~CredentialsFetcher() = default;
  /// The stored credentials; absent when they are not entered or can't be had.
  [[nodiscard]] virtual std::optional<Credentials> credentials() = 0;
};

/// Asks the agent's service anew on every call. An empty text counts as absent, blanks don't.
class UserCredentials final : public CredentialsFetcher {
 public:
  /// `agentServiceValueProvider` must outlive this object.
  explicit UserCredentials(AgentServiceValueFetcher& agentServiceValueProvider);
  [[nodiscard]] std::optional<Credentials> credentials() override;

 private:
  [[nodiscard]] std::optional<std::string> textUnder(const char* key);

  AgentServiceValueFetcher& agentServiceValueProvider_;
};

/// The connection to the agent's service, and the fetcher of the credentials that it keeps.
struct AgentServiceCredentials {
  std::unique_ptr<vxutils::AgentServiceConnection> connection;
  std::unique_ptr<AgentServiceValueFetcher> values;
  std::unique_ptr<CredentialsFetcher> fetcher;
};
/// Absent when the service can't be reached.
[[nodiscard]] std::optional<AgentServiceCredentials> agentServiceCredentials();

}  // namespace vexlo
