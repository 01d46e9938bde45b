// The connection to the agent's own service, which keeps the stored credentials.
#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vxutils {

/// What the agent's service offers.
class AgentServiceProtocol {
 public:
  /// Takes the value, or absent when the service holds none. The text is wiped by its holder.
  using Reply = std::function<void(std::optional<std::string> value)>;

  virtual ~AgentServiceProtocol() = default;
  /// Asks for the value under `key`. `reply` is called at most once, on a thread of the
  /// connection: with the value or absent, or with absent when the connection ends first.
  virtual void fetchStatusMessageForKey(const std::string& key, Reply reply) = 0;
};

/// Opens the Unix-domain socket `run/agent-service.sock` below the agent's base directory. One
/// JSON object a line: `{"id":1,"fetchStatusMessageForKey":"KEY"}` out,
/// `{"id":1,"value":"…"}` or `null` back, in any order. No key is sent to a peer that runs
/// neither as root nor as the agent's own user. Destruction ends the connection's thread.
class AgentServiceConnection {
 public:
  AgentServiceConnection();
  ~AgentServiceConnection();
  AgentServiceConnection(const AgentServiceConnection&) = delete;
  AgentServiceConnection& operator=(const AgentServiceConnection&) = delete;

  /// The service's proxy, connected on the first call; null when the service can't be reached or
  /// its peer can't be trusted. The proxy may outlive the connection: it then replies absent.
  [[nodiscard]] std::shared_ptr<AgentServiceProtocol> getService();

 private:
  class Channel;
  std::shared_ptr<Channel> channel_;
};

}  // namespace vxutils
