// Fetches the credentials that authorise macOS updates.
#pragma once
#include <memory>
#include <optional>
#include <string>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/AgentServiceValueFetcher.h"

namespace vexlo {

/// An account's name and password. Every copy wipes its password on destruction. While a copy
/// exists, the process leaves no core file, and the password is locked in memory if possible. Not
/// printable, because both come from the agent's service.
struct Credentials {
  std::string userName;
  std::string password;

  Credentials(std::string name, std::string secret);
  /// A placeholder for command lines that are only shown. `text` replaces the password and is not
  /// protected.
  [[nodiscard]] static Credentials placeholder(std::string name, std::string text);
  Credentials(const Credentials& other);
  Credentials(Credentials&&) noexcept = default;
  Credentials& operator=(const Credentials& other);
  Credentials& operator=(Credentials&& other) noexcept;
  ~Credentials();

  friend bool operator==(const Credentials&, const Credentials&) = default;

 private:
  Credentials() = default;

  std::optional<platform::NoCoreFile> noCoreFile_;  ///< Absent for a placeholder.
};

/// An evaluation of recorded facts replaces it.
class CredentialsFetcher {
 public:
  virtual ~CredentialsFetcher() = default;
  /// The stored credentials; absent if none are stored or they can't be fetched.
  [[nodiscard]] virtual std::optional<Credentials> credentials() = 0;
};

/// Asks the agent's service on every call. An empty string counts as absent.
class UserCredentials final : public CredentialsFetcher {
 public:
  /// `agentServiceValueProvider` must outlive this object.
  explicit UserCredentials(AgentServiceValueFetcher& agentServiceValueProvider)
      : agentServiceValueProvider_(agentServiceValueProvider) {}
  [[nodiscard]] std::optional<Credentials> credentials() override;

 private:
  [[nodiscard]] std::optional<std::string> textUnder(const char* key);

  AgentServiceValueFetcher& agentServiceValueProvider_;
};

/// The credentials stored by the agent's service, with the connection to it. Null if the service
/// can't be reached.
[[nodiscard]] std::unique_ptr<CredentialsFetcher> agentServiceCredentials();
/// The same; if null, an error line says so.
[[nodiscard]] std::unique_ptr<CredentialsFetcher> agentServiceCredentialsOrError(
    const LogPlace& place);

/// The credentials from an installer's container; also absent if it has no fetcher.
template <typename InstallerDependencies>
[[nodiscard]] std::optional<Credentials> storedCredentials(InstallerDependencies& dependencies) {
  CredentialsFetcher* const fetcher = dependencies.userCredentials();
  return fetcher != nullptr ? fetcher->credentials() : std::nullopt;
}

}  // namespace vexlo
