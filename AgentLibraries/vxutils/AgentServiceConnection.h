// The connection to the agent's service, which stores the credentials.
#pragma once
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vxutils {

/// The interface of the agent's service.
class AgentServiceProtocol {
 public:
  /// Receives the value, absent if the service has none. The string is wiped after the call;
  /// a copy must be wiped by its owner. Must not throw.
  using Reply = std::function<void(const std::optional<std::string>& value)>;
  /// Receives the reason why there is no answer, such as "the service closed the connection", as a
  /// string constant. Must not throw.
  using Failure = std::function<void(std::string_view reason)>;

  virtual ~AgentServiceProtocol() = default;
  /// Requests the value of `key`, reconnecting (for at most five seconds) if the service has
  /// disconnected. Calls either `reply` or `failure`, once, on a thread of the connection; if the
  /// request can't be sent, calls `failure` on the caller's thread before returning. No lock is
  /// held during the calls. Thread-safe.
  virtual void fetchStatusMessageForKey(const std::string& key, Reply reply, Failure failure) = 0;
};

/// Connects to the Unix-domain socket `run/agent-service.sock` in the agent's base directory. The
/// protocol has one JSON object per line: `{"id":1,"fetchStatusMessageForKey":"KEY"}` is answered
/// by `{"id":1,"value":"…"}` or a null value, in any order. Keys are sent only to peers that run as
/// root or as the agent's user. A line that isn't a reply, or is longer than 64 KiB, ends the
/// connection. Not thread-safe. The destructor closes the connection: pending requests fail, and a
/// running reply is waited for unless it is the one that destroys the connection.
class AgentServiceConnection {
 public:
  /// `longestConnect` limits the wait for a service whose backlog is full.
  explicit AgentServiceConnection(
      std::chrono::milliseconds longestConnect = std::chrono::seconds(5));
  ~AgentServiceConnection();
  AgentServiceConnection(const AgentServiceConnection&) = delete;
  AgentServiceConnection& operator=(const AgentServiceConnection&) = delete;

  /// The connected proxy, always the same one; null, with the reason in the log, if the service
  /// can't be reached or trusted. The proxy may outlive the connection; its requests then fail.
  [[nodiscard]] std::shared_ptr<AgentServiceProtocol> getService();

 private:
  class Proxy;
  std::shared_ptr<Proxy> proxy_;
};

}  // namespace vxutils
