// The serving end of the agent service, for agents, tests and simulations.
#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vxutils {

/// Listens at a socket path and answers every request, of several clients at a time, with
/// `answer(key)`, which must not throw, on its own thread (absent is sent as null). Clients that
/// run neither as root nor as this process's user are turned away; one that sends something else
/// than requests is disconnected. Construction throws `std::runtime_error` when it can't listen;
/// destruction, which `answer` itself must not cause, ends the thread and removes the socket.
class AgentServiceServer {
 public:
  using Answer = std::function<std::optional<std::string>(const std::string& key)>;
  AgentServiceServer(const std::string& socketPath, Answer answer);
  ~AgentServiceServer();
  AgentServiceServer(const AgentServiceServer&) = delete;
  AgentServiceServer& operator=(const AgentServiceServer&) = delete;

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace vxutils
