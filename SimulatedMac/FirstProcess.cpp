// Process 1 of a simulated Mac.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <ranges>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Platform/Descriptor.h"
#include "Platform/Polling.h"
#include "SimulatedMac/AgentServiceStandIn.h"
#include "SimulatedMac/Enter.h"
#include "SimulatedMac/LayeredRoot.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/MacFiles.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/QuitTriggers.h"
#include "SimulatedMac/ScenarioFiles.h"
#include "SimulatedMac/ScenarioRules.h"

namespace simulated_mac {
namespace {

/// Sets the environment of a daemon on the Mac, plus what the caller's terminal and the sanitizers
/// need.
void setEnvironment(const Scenario& scenario) {
  std::vector<std::pair<std::string, std::string>> kept;
  for (const char* const name : {"TERM", "COLUMNS", "NO_COLOR", "ASAN_OPTIONS", "UBSAN_OPTIONS",
                                 "LSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* const value = std::getenv(name)) {
      kept.emplace_back(name, value);
    }
  }
  clearenv();
  for (const auto& [name, value] : kept) {
    setenv(name.c_str(), value.c_str(), 1);
  }
  setenv("PATH", ("/usr/bin:/bin:/usr/sbin:/sbin:" + programDirectory()).c_str(), 1);
  setenv("HOME", "/", 1);
  setenv("USER", "root", 1);
  setenv("SHELL", "/bin/sh", 1);
  setenv("TMPDIR", "/private/tmp", 1);
  setenv("LANG", scenario.valueOr("mac", "language", "en_US.UTF-8").c_str(), 1);
  setenv("TZ", scenario.valueOr("mac", "time zone", "UTC").c_str(), 1);
  setenv("VEXLO_AGENT_ROOT", kAgentRoot, 1);
}

/// Forks a child that calls `work` with the write end of a pipe, and waits until the child writes
/// to it. Throws `std::runtime_error`, which names `what`, if the child exits before that.
pid_t startAndWaitUntilReady(const std::string& what, const std::function<void(int ready)>& work) {
  auto ready = platform::makePipe();
  failIf(!ready, "pipe");
  const pid_t child = fork();
  failIf(child < 0, "fork");
  if (child == 0) {
    setsid();
    const platform::Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    dup2(null.get(), STDIN_FILENO);
    dup2(null.get(), STDOUT_FILENO);
    try {
      work(ready->writeEnd.get());
    } catch (const std::exception& error) {
      report(what + ": " + error.what(), 0);
    }
    _exit(kDoesntStart);
  }
  ready->writeEnd.reset();
  char answer = 0;
  if (read(ready->readEnd.get(), &answer, 1) != 1) {
    throw std::runtime_error(what + " doesn't start");
  }
  return child;
}

/// Starts all instances of all applications and returns those with a quit trigger.
std::vector<Quitter> startApplications(const Scenario& scenario) {
  std::vector<Quitter> quitters;
  for (const auto& [section, settings] : scenario.sectionsWith(kApplicationPrefix)) {
    const std::string executable = applicationExecutable(scenario, section);
    const auto quits = scenario.value(section, "quits");
    for (int count = std::atoi(scenario.valueOr(section, "instances", "1").c_str()); count > 0;
         --count) {
      const pid_t process = startAndWaitUntilReady("[" + section + "]", [&](int ready) {
        dup2(ready, STDOUT_FILENO);
        becomeUser(scenario.valueOr("users", "console", "none"));
        failIf(execl(executable.c_str(), executable.c_str(), nullptr) != 0, executable);
      });
      if (quits) {
        quitters.push_back({*quits, process});
      }
    }
  }
  return quitters;
}

/// Builds the Mac's files and makes them the root directory.
void buildMac(const Scenario& scenario, const EnterOptions& options) {
  LayeredRoot root(scenario.valueOr("mac", "free disk", "64g"));
  if (options.records) {
    root.bindFile(*options.records, kRecordFile, LayeredRoot::Access::readWrite);
  } else {
    root.writeFile(kRecordFile, "", 0666);
  }
  writeMacFiles(root, scenario, sourceDirectory() + "/root", standInProgram());
  root.finish();
}

/// Looks the program up in the Mac's PATH, then in the caller's.
[[noreturn]] void executeCommand(std::vector<std::string> command, std::string_view callersPath) {
  const std::vector<char*> arguments = argumentPointers(command);
  execvp(arguments[0], arguments.data());
  const int reason = errno;
  if (reason == ENOENT && !command[0].contains('/')) {
    for (const auto folder : std::views::split(callersPath, ':')) {
      execv((std::string(std::string_view(folder)) + "/" + command[0]).c_str(), arguments.data());
    }
  }
  _exit(report(command[0] + ": " + std::strerror(reason),
               reason == ENOENT ? kNotFound : kNotExecutable));
}

}  // namespace

int runFirstProcess(const Scenario& scenario, const EnterOptions& options) {
  const char* const path = std::getenv("PATH");
  const std::string callersPath = path == nullptr ? "" : path;
  try {
    setEnvironment(scenario);
    buildMac(scenario, options);
    if (scenario.value("agent service", "state") != "absent") {
      startAndWaitUntilReady("[agent service]", [&](int ready) { serveAgent(scenario, ready); });
    }
    QuitTriggers triggers(startApplications(scenario));
    const pid_t command = fork();
    failIf(command < 0, "fork");
    if (command == 0) {
      triggers.redirectStandardError();
      executeCommand(options.command, callersPath);
    }
    passOnSignals(command);
    triggers.forward(command);
    return waitFor(command);
  } catch (const std::system_error& error) {
    return report(kCantMakeMac + std::string(error.what()), kCantEnter);
  } catch (const std::exception& error) {
    return report(error.what(), kDoesntStart);
  }
}

}  // namespace simulated_mac
