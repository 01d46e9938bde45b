// The server side of the agent service, for agents, tests and simulations.
#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Export.h"

namespace vxutils {

/// Listens on a socket and answers the requests of any number of clients with `answer(key)`, on its
/// own thread; absent is sent as null. `answer` must not throw. Clients that run neither as root
/// nor as this process's user are rejected; those that send anything but requests are disconnected.
/// The constructor throws `std::runtime_error` if it can't listen. The destructor, which `answer`
/// must not call, stops the thread and removes the socket.
class VEXLO_EXPORT AgentServiceServer {
 public:
  using Answer = std::function<std::optional<std::string>(const std::string& key)>;
  AgentServiceServer(const std::string& socketPath, Answer answer);
  ~AgentServiceServer();
  AgentServiceServer(const AgentServiceServer&) = delete;
  AgentServiceServer& operator=(const AgentServiceServer&) = delete;

 private:
  class VEXLO_HIDDEN Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace vxutils
