#include "SimulatedMac/AgentServiceStandIn.h"

#include <unistd.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"

namespace simulated_mac {
namespace {

/// Notifies `enter` that the service can be reached.
void reportReady(int ready) {
  print(ready, kReady);
  close(ready);
}

/// A broken service, which answers every request with garbage or nothing, or dies at the first one.
[[noreturn]] void misbehave(std::string_view state, int ready) {
  const auto listener = platform::listenOnLocalSocket(kServiceSocket);
  if (!listener) {
    throw std::runtime_error(std::string(kServiceSocket) + ": " + listener.error());
  }
  reportReady(ready);
  while (true) {
    platform::Awaited connection{.descriptor = listener->get()};
    platform::waitForAny({&connection, 1});
    const auto peer = platform::acceptLocalSocket(*listener);
    std::array<char, 4096> request{};
    while (peer && platform::receive(*peer, request, true) > 0) {
      if (state == "dies") {
        _exit(0);
      }
      if (state == "garbage" &&
          platform::sendWithoutWaiting(*peer, "{\"id\":\n[no answer at all]\n") < 0) {
        break;
      }
    }
  }
}

}  // namespace

void serveAgent(const Scenario& scenario, int ready) {
  const std::string state = scenario.valueOr("agent service", "state", "answers");
  if (state == "dies" || state == "garbage" || state == "silent") {
    misbehave(state, ready);
  }
  const int delay = milliseconds(scenario.valueOr("agent service", "delay", "0 s")).value_or(0);
  const vxutils::AgentServiceServer server(
      kServiceSocket, [&](const std::string& key) -> std::optional<std::string> {
        if (state == "silent on " + key) {
          waitForever();
        }
        waitMilliseconds(delay);
        return serviceValue(scenario, key);
      });
  reportReady(ready);
  waitForever();
}

}  // namespace simulated_mac
