// The stand-ins for the tools that run other programs: open, sudo, launchctl.
#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Text.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/StandIns.h"

namespace simulated_mac {

void openApplication(ToolCall& call) {
  call.record();
  call.performScript("open");
  const std::string program = call.argumentAfter("-a").value_or("");
  if (access(program.c_str(), X_OK) != 0) {
    exitWith(1, "Unable to find application named '" + program + "'");
  }
  std::vector<std::string> command{program};
  const auto separator = std::ranges::find(call.arguments, "--args");
  if (separator != call.arguments.end()) {
    command.insert(command.end(), separator + 1, call.arguments.end());
  }
  std::array<int, 2> started{};
  if (pipe2(started.data(), O_CLOEXEC) != 0 || fork() != 0) {
    close(started[1]);
    char none = 0;  // end of file: the program has been executed
    [[maybe_unused]] const ssize_t size = read(started[0], &none, 1);
    _exit(0);
  }
  [[maybe_unused]] const int ignored = daemon(1, 0);  // a session and /dev/null of its own
  const std::string user = call.scenario.valueOr("users", "console", "none");
  becomeUser(call.scenario.valueOr("prompt", "answers as", user == "none" ? "root" : user));
  execute(std::move(command));
}

void sudo(ToolCall& call) {
  call.record();
  std::vector<std::string> command = call.arguments;
  std::string user = "root";
  if (command.size() >= 2 && command[0] == "-u") {
    user = command[1];
    command.erase(command.begin(), command.begin() + 2);
  }
  if (command.empty()) {
    exitWith(1, "usage: sudo [-u user] command");
  }
  if (getpwnam(user.c_str()) == nullptr) {
    exitWith(1, "sudo: unknown user: " + user);
  }
  becomeUser(user);
  execute(std::move(command));
}

void launchctl(ToolCall& call) {
  call.record();
  if (call.arguments.size() < 3 || call.arguments[0] != "asuser" ||
      !platform::wholeNumber<uid_t>(call.arguments[1])) {
    exitWith(64, "Usage: launchctl asuser <UID> <program> [<program arguments>]");
  }
  setenv(kSessionVariable, call.arguments[1].c_str(), 1);
  execute({call.arguments.begin() + 2, call.arguments.end()});
}

}  // namespace simulated_mac
