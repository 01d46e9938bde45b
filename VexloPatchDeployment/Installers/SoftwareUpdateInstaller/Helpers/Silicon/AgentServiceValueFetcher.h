// Fetches values from the agent's service.
#pragma once
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"

namespace vexlo {

class AgentServiceValueFetcher {
 public:
  virtual ~AgentServiceValueFetcher() = default;
  /// The value of `key`; absent if the service has none or doesn't answer. May be a secret, which
  /// the caller must wipe.
  [[nodiscard]] virtual std::optional<std::string> value(const std::string& key) = 0;
};

/// Asks the service on every call and waits for a limited time, including a reconnect. If the
/// request fails, returns immediately and logs why. A late answer is wiped unread. Values are never
/// logged.
class DefaultAgentServiceValueFetcher final : public AgentServiceValueFetcher {
 public:
  /// `service` must not be null.
  explicit DefaultAgentServiceValueFetcher(
      std::shared_ptr<vxutils::AgentServiceProtocol> service,
      std::chrono::milliseconds timeout = PatchDeploymentConstants::agentServiceTimeoutSeconds)
      : service_(std::move(service)), timeout_(timeout) {}
  [[nodiscard]] std::optional<std::string> value(const std::string& key) override;

 private:
  std::shared_ptr<vxutils::AgentServiceProtocol> service_;
  std::chrono::milliseconds timeout_;
};

}  // namespace vexlo
