#include "SimulatedMac/AgentServiceStandIn.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ScenarioValues.h"

namespace simulated_mac {
namespace {

constexpr std::string_view kSilentOn = "silent on ";

/// TEXT from the line `value = KEY TEXT` of the scenario; absent when there is none.
std::optional<std::string> held(const Scenario& scenario, std::string_view key) {
  for (const std::string& value : scenario.values("agent service", "value")) {
    if (value.starts_with(key) && (value.size() == key.size() || value[key.size()] == ' ')) {
      return value.size() == key.size() ? "" : value.substr(key.size() + 1);
    }
  }
  return std::nullopt;
}

/// Notifies `enter` that the service can be reached.
void reportReady(int ready) {
  if (write(ready, kReady.data(), kReady.size()) < 0) {
    _exit(1);
  }
  close(ready);
}

[[noreturn]] void stay() {
  while (true) {
    pause();
  }
}

/// A broken service: answers every request with the bytes of `answer`, or exits at the first
/// request without one.
[[noreturn]] void misbehave(const std::optional<std::string>& answer, int ready) {
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, kServiceSocket, sizeof address.sun_path - 1);
  if (listening < 0 ||
      bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listening, 8) != 0) {
    _exit(1);
  }
  reportReady(ready);
  while (true) {
    const int peer = accept(listening, nullptr, nullptr);
    std::array<char, 4096> request{};
    while (peer >= 0 && read(peer, request.data(), request.size()) > 0) {
      if (!answer) {
        _exit(0);
      }
      if (send(peer, answer->data(), answer->size(), MSG_NOSIGNAL) < 0) {
        break;
      }
    }
    close(peer);
  }
}

}  // namespace

void serveAgent(const Scenario& scenario, int ready) {
  const std::string state = scenario.valueOr("agent service", "state", "answers");
  if (state == "dies") {
    misbehave(std::nullopt, ready);
  }
  if (state == "garbage") {
    misbehave("{\"id\":\n[no answer at all]\n", ready);
  }
  if (state == "silent") {
    misbehave("", ready);
  }
  const std::string silentOn =
      state.starts_with(kSilentOn) ? state.substr(kSilentOn.size()) : std::string();
  const int delay = milliseconds(scenario.valueOr("agent service", "delay", "0 s")).value_or(0);
  const vxutils::AgentServiceServer server(
      kServiceSocket, [&](const std::string& key) -> std::optional<std::string> {
        if (key == silentOn) {
          stay();
        }
        usleep(static_cast<useconds_t>(delay) * 1000);
        return held(scenario, key);
      });
  reportReady(ready);
  stay();
}

bool hasAgentService(const Scenario& scenario) {
  return scenario.valueOr("agent service", "state", "answers") != "absent";
}

}  // namespace simulated_mac
