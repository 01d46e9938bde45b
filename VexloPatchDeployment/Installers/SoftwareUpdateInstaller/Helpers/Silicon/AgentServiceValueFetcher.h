// Fetches values that the agent's service keeps.
#pragma once
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"

namespace vexlo {

class AgentServiceValueFetcher {
 public:
  virtual ~AgentServiceValueFetcher() = default;
  /// The value under `key`; absent when the service has none or doesn't answer. It can be a
  /// secret: the caller wipes it.
  [[nodiscard]] virtual std::optional<std::string> value(const std::string& key) = 0;
};

/// Asks the service anew on every call and waits a limited time for its answer, a reconnect
/// included. When there can be no answer, the wait ends at once and the log says why. An answer
/// that comes later is wiped unread. Values are never logged.
class DefaultAgentServiceValueFetcher final : public AgentServiceValueFetcher {
 public:
  /// `service` is shared with the caller and never null.
  explicit DefaultAgentServiceValueFetcher(
      std::shared_ptr<vxutils::AgentServiceProtocol> service,
      std::chrono::milliseconds timeout = PatchDeploymentConstants::agentServiceTimeoutSeconds);
  [[nodiscard]] std::optional<std::string> value(const std::string& key) override;

 private:
  std::shared_ptr<vxutils::AgentServiceProtocol> service_;
  std::chrono::milliseconds timeout_;
};

}  // namespace vexlo
