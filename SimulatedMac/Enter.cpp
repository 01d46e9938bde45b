// Runs a command inside a simulated Mac: enter SCENARIO -- COMMAND…
#include <fcntl.h>
#include <sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "Platform/Descriptor.h"
#include "SimulatedMac/EnterMessages.h"
#include "SimulatedMac/EnterOptions.h"
#include "SimulatedMac/FirstProcess.h"
#include "SimulatedMac/Scenario.h"
#include "SimulatedMac/ScenarioFiles.h"

namespace simulated_mac {
namespace {

using platform::Descriptor;

void writeToProc(const std::string& path, const std::string& text) {
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  if (!file || write(file.get(), text.data(), text.size()) < 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

/// Moves the calling process into new namespaces; its next child is process 1 there.
void makeNamespaces(bool userNamespace) {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  const int flags = CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWIPC;
  if (unshare(userNamespace ? flags | CLONE_NEWUSER : flags) != 0) {
    throw std::system_error(errno, std::generic_category(), "unshare");
  }
  if (userNamespace) {
    writeToProc("/proc/self/setgroups", "deny");
    writeToProc("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    writeToProc("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
  }
}

/// Creates the record file, writable by the Mac's users. Leaves an existing file unchanged.
void prepareRecords(const std::string& path, bool hasUsers) {
  struct stat facts{};
  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  const bool isNew = static_cast<bool>(file);
  if (!isNew && errno == EEXIST) {
    file = Descriptor(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK));
  }
  if (!file || (isNew && fchmod(file.get(), 0666) != 0) || fstat(file.get(), &facts) != 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  if (hasUsers && (facts.st_mode & S_IWOTH) == 0) {
    throw std::runtime_error(path + ": expected a new file or one that everyone can write to");
  }
}

constexpr unsigned kSecondsToEnd = 5;

pid_t firstProcess = 0;
volatile sig_atomic_t isEnding = 0;

/// Gives the command some seconds to exit; then, or on a second signal, kills everything in the Mac
/// and this process. A signal from the terminal has already reached the command.
void endMac(int signal, siginfo_t* facts, void* /*context*/) {
  if (signal == SIGALRM || isEnding != 0) {
    kill(firstProcess, SIGKILL);
    return;
  }
  isEnding = 1;
  alarm(kSecondsToEnd);
  if (facts->si_code != SI_KERNEL) {
    kill(firstProcess, signal);
  }
}

int enterMac(const Scenario& scenario, const EnterOptions& options) {
  if (access(standInProgram().c_str(), X_OK) != 0) {
    return report(standInProgram() + ": " + std::strerror(errno), kDoesntStart);
  }
  const bool needsUserNamespace = options.userNamespace || geteuid() != 0;
  try {
    if (options.records) {
      prepareRecords(*options.records, !needsUserNamespace);
    }
  } catch (const std::exception& error) {
    return report(error.what(), kBadUsage);
  }
  try {
    makeNamespaces(needsUserNamespace);
  } catch (const std::system_error& error) {
    return report(kCantMakeMac + std::string(error.what()), kCantEnter);
  }
  firstProcess = fork();
  if (firstProcess < 0) {
    return report(kCantMakeMac + std::string("fork: ") + std::strerror(errno), kCantEnter);
  }
  if (firstProcess == 0) {
    umask(022);
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // the Mac ends when its parent is killed
    _exit(runFirstProcess(scenario, options));
  }
  struct sigaction action{};
  action.sa_sigaction = endMac;
  action.sa_flags = SA_SIGINFO;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM}) {
    sigaction(signal, &action, nullptr);
  }
  int status = 0;
  while (waitpid(firstProcess, &status, 0) < 0 && errno == EINTR) {
  }
  // Not exit(): after unshare() this process can't start threads, which the leak check at exit
  // needs.
  _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

int run(const std::vector<std::string>& arguments) {
  if (arguments == std::vector<std::string>{"--list"}) {
    listScenarios();
    return 0;
  }
  if (arguments == std::vector<std::string>{"--help"}) {
    std::cout << kEnterUsage;
    return 0;
  }
  const auto options = parseOptions(arguments);
  if (!options) {
    report(options.error(), 0);
    std::cerr << kEnterUsage;
    return kBadUsage;
  }
  const auto scenario = readScenario(options->scenario, options->settings);
  if (!scenario) {
    return report(scenario.error(), kBadScenario);
  }
  if (options->prints) {
    std::cout << scenario->serialized();
    return 0;
  }
  return enterMac(*scenario, *options);
}

}  // namespace
}  // namespace simulated_mac

int main(int count, char** values) { return simulated_mac::run({values + 1, values + count}); }
