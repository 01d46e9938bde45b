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
  /// Takes the value, or absent when the service holds none. The text is the connection's own and
  /// is wiped after the call; a copy is for its holder to wipe. Must not throw.
  using Reply = std::function<void(const std::optional<std::string>& value)>;

  virtual ~AgentServiceProtocol() = default;
  /// Asks for the value under `key`, connecting anew when the service has gone since (at most five
  /// seconds). `reply` is called once: on a thread of the connection with the service's answer, or
  /// with absent when the service goes first; on the caller's thread, before the return, when the
  /// service can't be reached. Never while a lock is held. Safe from any thread.
  virtual void fetchStatusMessageForKey(const std::string& key, Reply reply) = 0;
};

/// Opens the Unix-domain socket `run/agent-service.sock` below the agent's base directory. One
/// JSON object a line: `{"id":1,"fetchStatusMessageForKey":"KEY"}` out,
/// `{"id":1,"value":"…"}` or `null` back, in any order. No key is sent to a peer that runs
/// neither as root nor as the agent's own user. For one thread at a time. Destruction ends the
/// connection: what is still unanswered is answered with absent, and a running reply is waited
/// for unless it is the one that destroys the connection.
class AgentServiceConnection {
 public:
  AgentServiceConnection();
  ~AgentServiceConnection();
  AgentServiceConnection(const AgentServiceConnection&) = delete;
  AgentServiceConnection& operator=(const AgentServiceConnection&) = delete;

  /// The connected proxy, always the same; null, with the reason in the log, when the service
  /// can't be reached or its peer can't be trusted. The proxy may outlive the connection: it then
  /// replies absent.
  [[nodiscard]] std::shared_ptr<AgentServiceProtocol> getService();

 private:
  class Proxy;
  std::shared_ptr<Proxy> proxy_;
};

}  // namespace vxutils
