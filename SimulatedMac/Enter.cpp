// Runs a command inside a simulated Mac: enter SCENARIO -- COMMAND…
#include <fcntl.h>
#include <sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <expected>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/Descriptor.h"
#include "SimulatedMac/Enter.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/Scenario.h"
#include "SimulatedMac/ScenarioFiles.h"

namespace simulated_mac {
namespace {

using platform::Descriptor;

constexpr std::string_view kEnterUsage =
    "usage: enter [--records FILE] [--set SECTION/KEY=VALUE]… [--user-namespace]\n"
    "             SCENARIO -- COMMAND [ARGUMENT]…\n"
    "       enter [--set SECTION/KEY=VALUE]… --print SCENARIO\n"
    "       enter --list | --help\n"
    "SCENARIO is a name that --list shows, or the path of a file of your own, with a \"/\" in it.\n"
    "--records appends a line for each call of a tool to FILE. A new FILE is made writable for\n"
    "everyone, since the Mac's users write to it; an existing one must be writable for them.\n"
    "Exit status: the command's, or 64 for bad usage, 65 for an invalid scenario, 70 when "
    "something\n"
    "in the Mac doesn't start, 77 when the system allows no simulated Mac.\n";

/// Reads the arguments without the program's name. The error is one line for the user.
std::expected<EnterOptions, std::string> parseOptions(const std::vector<std::string>& arguments) {
  EnterOptions options;
  auto next = arguments.begin();
  for (; next != arguments.end() && *next != "--"; ++next) {
    if (*next == "--records" || *next == "--set") {
      const std::string& option = *next;
      ++next;
      if (next == arguments.end() || next->empty()) {
        return std::unexpected(option + " needs a value");
      }
      if (option == "--set") {
        options.settings.push_back(*next);
      } else {
        options.records = std::filesystem::absolute(*next);
      }
    } else if (*next == "--user-namespace") {
      options.userNamespace = true;
    } else if (*next == "--print") {
      options.prints = true;
    } else if (next->starts_with("-") || !options.scenario.empty()) {
      return std::unexpected("unexpected \"" + *next + "\"");
    } else {
      options.scenario = *next;
    }
  }
  if (next != arguments.end()) {
    options.command.assign(next + 1, arguments.end());
  }
  if (options.scenario.empty() || options.command.empty() != options.prints) {
    return std::unexpected("expected SCENARIO -- COMMAND");
  }
  return options;
}

void writeToProc(const std::string& path, const std::string& text) {
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  failIf(!file || write(file.get(), text.data(), text.size()) < 0, path);
}

/// Moves the calling process into new namespaces; its next child is process 1 there.
void makeNamespaces(bool userNamespace) {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  const int flags = CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWIPC;
  failIf(unshare(userNamespace ? flags | CLONE_NEWUSER : flags) != 0, "unshare");
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
  failIf(!file || (isNew && fchmod(file.get(), 0666) != 0) || fstat(file.get(), &facts) != 0, path);
  if (hasUsers && (facts.st_mode & S_IWOTH) == 0) {
    throw std::runtime_error(path + ": expected a new file or one that everyone can write to");
  }
}

int enterMac(const Scenario& scenario, const EnterOptions& options) {
  if (access(standInProgram().c_str(), X_OK) != 0) {
    return report(standInProgram() + ": " + std::strerror(errno), kDoesntStart);
  }
  signal(SIGCHLD, SIG_DFL);  // a caller may ignore it, and then no status could be learnt
  const bool needsUserNamespace = options.userNamespace || geteuid() != 0;
  try {
    if (options.records) {
      prepareRecords(*options.records, !needsUserNamespace);
    }
  } catch (const std::exception& error) {
    return report(error.what(), kBadUsage);
  }
  pid_t firstProcess = 0;
  try {
    makeNamespaces(needsUserNamespace);
    firstProcess = fork();
    failIf(firstProcess < 0, "fork");
  } catch (const std::system_error& error) {
    return report(kCantMakeMac + std::string(error.what()), kCantEnter);
  }
  if (firstProcess == 0) {
    umask(022);
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // the Mac ends when its parent is killed
    _exit(runFirstProcess(scenario, options));
  }
  passOnSignals(firstProcess);
  // Not exit(): after unshare() this process can't start threads, which the leak check at exit
  // needs.
  _exit(waitFor(firstProcess));
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
