#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

#include <utility>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kCredentialsFetcherTag{"credentials()"};
constexpr const char* kUserNameKey = "PatchOSUpdateUserName";
constexpr const char* kPasswordKey = "PatchOSUpdatePassword";

/// The stored credentials together with the connection to the service.
class ConnectedCredentials final : public CredentialsFetcher {
 public:
  ConnectedCredentials(std::unique_ptr<vxutils::AgentServiceConnection> connection,
                       std::shared_ptr<vxutils::AgentServiceProtocol> service)
      : connection_(std::move(connection)), values_(std::move(service)) {}
  [[nodiscard]] std::optional<Credentials> credentials() override {
    return userCredentials_.credentials();
  }

 private:
  std::unique_ptr<vxutils::AgentServiceConnection> connection_;
  DefaultAgentServiceValueFetcher values_;
  UserCredentials userCredentials_{values_};
};

}  // namespace

Credentials::Credentials(std::string name, std::string secret)
    : userName(std::move(name)), password(std::move(secret)), noCoreFile_(std::in_place) {
  platform::wipe(secret);  // moving a short string leaves its bytes behind
  platform::keepFromSwap(password);
}

Credentials Credentials::placeholder(std::string name, std::string text) {
  Credentials credentials;
  credentials.userName = std::move(name);
  credentials.password = std::move(text);
  return credentials;
}

Credentials::Credentials(const Credentials& other)
    : userName(other.userName), password(other.password), noCoreFile_(other.noCoreFile_) {
  if (noCoreFile_) {
    platform::keepFromSwap(password);
  }
}

Credentials& Credentials::operator=(const Credentials& other) { return *this = Credentials(other); }

Credentials& Credentials::operator=(Credentials&& other) noexcept {
  if (this != &other) {
    platform::wipe(password);
    userName = std::move(other.userName);
    password = std::move(other.password);
    noCoreFile_ = other.noCoreFile_;
  }
  return *this;
}

Credentials::~Credentials() { platform::wipe(password); }

std::optional<Credentials> UserCredentials::credentials() {
  if (const std::optional<std::string> userName = textUnder(kUserNameKey)) {
    if (std::optional<std::string> password = textUnder(kPasswordKey)) {
      const platform::WipeAtEnd wipePassword(*password);
      return Credentials(*userName, *password);
    }
  }
  logError(kCredentialsFetcherTag, [] {
    return "Unable to get username and password from agent service connection. Need to retry "
           "later.";
  });
  return std::nullopt;
}

std::optional<std::string> UserCredentials::textUnder(const char* key) {
  std::optional<std::string> text = agentServiceValueProvider_.value(key);
  if (text && text->empty()) {
    text.reset();
  }
  return text;
}

std::unique_ptr<CredentialsFetcher> agentServiceCredentials() {
  auto connection = std::make_unique<vxutils::AgentServiceConnection>();
  std::shared_ptr<vxutils::AgentServiceProtocol> service = connection->getService();
  return service ? std::make_unique<ConnectedCredentials>(std::move(connection), std::move(service))
                 : nullptr;
}

std::unique_ptr<CredentialsFetcher> agentServiceCredentialsOrError(const LogPlace& place) {
  auto credentials = agentServiceCredentials();
  if (!credentials) {
    logError(place, [] {
      return "Failed to establish connection with AgentService. Unable to get user credentials.";
    });
  }
  return credentials;
}

}  // namespace vexlo
