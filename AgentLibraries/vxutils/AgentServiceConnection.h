// The connection to the agent's own service, which keeps the stored credentials.
#pragma once
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vxutils {

/// What the agent's service offers.
class AgentServiceProtocol {
 public:
  /// Takes the service's answer: the value, or absent when the service holds none. The string is
  /// the connection's own and is wiped after the call; a copy is for its holder to wipe. Must not
  /// throw.
  using Reply = std::function<void(const std::optional<std::string>& value)>;
  /// Takes the reason why there will be no answer, such as "the service closed the connection";
  /// it is a constant that stays valid. Must not throw.
  using Failure = std::function<void(std::string_view reason)>;

  virtual ~AgentServiceProtocol() = default;
  /// Asks for the value under `key`, connecting anew when the service has gone since (at most five
  /// seconds). Either `reply` or `failure` is called, once: on a thread of the connection; or, for
  /// a request that can't be sent, `failure` on the caller's thread before the return. Never while
  /// a lock is held. Safe from any thread.
  virtual void fetchStatusMessageForKey(const std::string& key, Reply reply, Failure failure) = 0;
};

/// Opens the Unix-domain socket `run/agent-service.sock` below the agent's base directory. One
/// JSON object a line: `{"id":1,"fetchStatusMessageForKey":"KEY"}` out,
/// `{"id":1,"value":"…"}` or `null` back, in any order. No key is sent to a peer that runs
/// neither as root nor as the agent's own user. A line that is no reply, or is longer than 64 KiB,
/// ends the conversation. For one thread at a time. Destruction ends the connection: what is still
/// unanswered fails, and a running reply is waited for unless it is the one that destroys the
/// connection.
class AgentServiceConnection {
 public:
  /// `longestConnect` bounds the wait for a service whose queue of connections is full.
  explicit AgentServiceConnection(
      std::chrono::milliseconds longestConnect = std::chrono::seconds(5));
  ~AgentServiceConnection();
  AgentServiceConnection(const AgentServiceConnection&) = delete;
  AgentServiceConnection& operator=(const AgentServiceConnection&) = delete;

  /// The connected proxy, always the same; null, with the reason in the log, when the service
  /// can't be reached or its peer can't be trusted. The proxy may outlive the connection: every
  /// request then fails.
  [[nodiscard]] std::shared_ptr<AgentServiceProtocol> getService();

 private:
  class Proxy;
  std::shared_ptr<Proxy> proxy_;
};

}  // namespace vxutils
