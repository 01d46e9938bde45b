#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

#include <utility>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kCredentialsFetcherTag{"credentials()"};
constexpr const char* kUserNameKey = "PatchOSUpdateUserName";
constexpr const char* kPasswordKey = "PatchOSUpdatePassword";

}  // namespace

Credentials::Credentials(std::string name, std::string secret)
    : userName(std::move(name)), password(std::move(secret)) {
  platform::wipe(secret);  // a short text's move leaves it behind
  platform::keepFromSwap(password);
}

Credentials::Credentials(const Credentials& other)
    : userName(other.userName), password(other.password) {
  platform::keepFromSwap(password);
}

Credentials& Credentials::operator=(const Credentials& other) { return *this = Credentials(other); }

Credentials& Credentials::operator=(Credentials&& other) noexcept {
  if (this != &other) {
    platform::wipe(password);
    userName = std::move(other.userName);
    password = std::move(other.password);
  }
  return *this;
}

Credentials::~Credentials() { platform::wipe(password); }

UserCredentials::UserCredentials(AgentServiceValueFetcher& agentServiceValueProvider)
    : agentServiceValueProvider_(agentServiceValueProvider) {}

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

std::optional<AgentServiceCredentials> agentServiceCredentials() {
  auto connection = std::make_unique<vxutils::AgentServiceConnection>();
  std::shared_ptr<vxutils::AgentServiceProtocol> service = connection->getService();
  if (!service) {
    return std::nullopt;
  }
  auto values = std::make_unique<DefaultAgentServiceValueFetcher>(std::move(service));
  auto fetcher = std::make_unique<UserCredentials>(*values);
  return AgentServiceCredentials{.connection = std::move(connection),
                                 .values = std::move(values),
                                 .fetcher = std::move(fetcher)};
}

}  // namespace vexlo
