// Runs a command inside a simulated Mac: enter SCENARIO -- COMMAND…
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <expected>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "SimulatedMac/AgentServiceStandIn.h"
#include "SimulatedMac/LayeredRoot.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/MacFiles.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

/// Exit statuses of this program's own; every other one is the command's.
constexpr int kBadUsage = 64;
constexpr int kBadScenario = 65;
constexpr int kCantEnter = 77;
constexpr int kNotFound = 127;
constexpr int kNotExecutable = 126;

constexpr std::string_view kUsage =
    "usage: enter [--records FILE] [--set SECTION/KEY=VALUE]… [--user-namespace]\n"
    "             SCENARIO -- COMMAND [ARGUMENT]…\n"
    "       enter [--set SECTION/KEY=VALUE]… --print SCENARIO\n"
    "       enter --list\n"
    "SCENARIO is the name of a file in SimulatedMac/scenarios, or a path with a \"/\" in it.\n"
    "Exit status: the command's; 64 bad usage, 65 a scenario that can't be read, 77 when this\n"
    "system lets no simulated Mac be made.\n";

struct Options {
  std::string scenario;
  std::vector<std::string> settings;
  std::optional<std::string> records;
  bool userNamespace = false;  ///< Also for root.
  bool prints = false;         ///< Only shows the settings in force.
  std::vector<std::string> command;
};

int say(const std::string& problem, int status) {
  std::cerr << "enter: " << problem << "\n";
  return status;
}

std::string sourceDirectory() { return SIMULATED_MAC_DIRECTORY; }

std::expected<Scenario, std::string> readFile(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    return std::unexpected(path + ": no such scenario; enter --list shows them");
  }
  return Scenario::parse(std::string{std::istreambuf_iterator<char>(file), {}}, path);
}

/// The defaults, the named file over them, the command line's settings over both.
std::expected<Scenario, std::string> readScenario(const Options& options) {
  auto scenario = readFile(sourceDirectory() + "/defaults.ini");
  if (!scenario) {
    return scenario;
  }
  const bool isPath = options.scenario.find('/') != std::string::npos;
  const auto file = readFile(
      isPath ? options.scenario : sourceDirectory() + "/scenarios/" + options.scenario + ".ini");
  if (!file) {
    return file;
  }
  scenario->overlay(*file);
  Scenario given;
  for (const std::string& text : options.settings) {
    if (const auto added = given.add(text); !added) {
      return std::unexpected("--set: " + added.error());
    }
  }
  scenario->overlay(given);
  return scenario;
}

/// Each scenario's name and the first line of its opening comment.
int listScenarios() {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(sourceDirectory() + "/scenarios")) {
    if (entry.path().extension() == ".ini") {
      files.push_back(entry.path());
    }
  }
  std::ranges::sort(files);
  for (const fs::path& file : files) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    std::string name = file.stem();
    name.resize(std::max<std::size_t>(name.size() + 2, 26), ' ');
    std::cout << name << (line.starts_with("# ") ? line.substr(2) : "") << "\n";
  }
  return 0;
}

void writeToProc(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const bool written = file >= 0 && write(file, text.data(), text.size()) >= 0;
  const int reason = errno;
  close(file);
  if (!written) {
    throw std::system_error(reason, std::generic_category(), path);
  }
}

/// Moves the calling process into namespaces of its own; its next child is process 1 there.
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

/// Gives the process the environment that a daemon of the Mac has, and what the caller's terminal
/// and the sanitizers need.
void setEnvironment(const Scenario& scenario) {
  const std::string own = fs::path(fs::read_symlink("/proc/self/exe")).parent_path();
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
  setenv("PATH", ("/usr/bin:/bin:/usr/sbin:/sbin:" + own).c_str(), 1);
  setenv("HOME", "/", 1);
  setenv("USER", "root", 1);
  setenv("SHELL", "/bin/sh", 1);
  setenv("TMPDIR", "/private/tmp", 1);
  setenv("LANG", scenario.valueOr("mac", "language", "en_US.UTF-8").c_str(), 1);
  setenv("TZ", scenario.valueOr("mac", "time zone", "UTC").c_str(), 1);
  setenv("VEXLO_AGENT_ROOT", kAgentRoot, 1);
}

/// Starts a child that does `work` with the writing end of a pipe, and waits until every copy of
/// that end is closed.
template <typename Work>
void startAndWaitUntilReady(const Work& work) {
  std::array<int, 2> ready{};
  if (pipe2(ready.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  const pid_t child = fork();
  if (child < 0) {
    throw std::system_error(errno, std::generic_category(), "fork");
  }
  if (child == 0) {
    close(ready[0]);
    setsid();
    if (const int null = open("/dev/null", O_RDWR | O_CLOEXEC); null >= 0) {
      dup2(null, STDIN_FILENO);
      dup2(null, STDOUT_FILENO);
    }
    work(ready[1]);
    _exit(kNotFound);
  }
  close(ready[1]);
  char none = 0;
  while (read(ready[0], &none, 1) < 0 && errno == EINTR) {
  }
  close(ready[0]);
}

/// Changes to the user at the console, whose applications run; without one, or without a second
/// user in the namespace, the process stays root.
void becomeConsoleUser(const Scenario& scenario) {
  const passwd* const account = getpwnam(scenario.valueOr("users", "console", "none").c_str());
  if (account != nullptr && setgroups(0, nullptr) == 0 && setgid(account->pw_gid) == 0) {
    [[maybe_unused]] const int ignored = setuid(account->pw_uid);
  }
}

void startApplications(const Scenario& scenario) {
  for (const std::string& section : applicationSections(scenario)) {
    const std::string executable = applicationExecutable(scenario, section);
    const bool quits = scenario.value(section, "quits").has_value();
    for (int count = std::atoi(scenario.valueOr(section, "instances", "1").c_str()); count > 0;
         --count) {
      startAndWaitUntilReady([&](int ready) {
        dup2(ready, STDOUT_FILENO);
        becomeConsoleUser(scenario);
        execl(executable.c_str(), executable.c_str(),
              quits ? "--quit-when-settings-are-read" : nullptr, nullptr);
      });
    }
  }
}

/// Waits for the command's end and for that of every process that lost its parent. As process 1
/// of its namespace this process takes all others with it when it ends.
int waitFor(pid_t command) {
  while (true) {
    int status = 0;
    const pid_t ended = waitpid(-1, &status, 0);
    if (ended == command) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    if (ended < 0 && errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "waitpid");
    }
  }
}

/// Process 1 of the Mac: builds it, starts what runs in it, runs the command to its end.
int liveAsFirstProcess(const Scenario& scenario, const Options& options) {
  try {
    LayeredRoot root(scenario.valueOr("mac", "free disk", "64g"));
    if (options.records) {
      root.bind(*options.records, kRecordFile, false);
    } else {
      writeNewFile(root.place(kRecordFile), "", 0666);
    }
    const std::string tool =
        fs::path(fs::read_symlink("/proc/self/exe")).parent_path() / "simulated-mac-tool";
    writeMacFiles(root, scenario, sourceDirectory() + "/root", tool);
    root.enter();
    setEnvironment(scenario);
    if (hasAgentService(scenario)) {
      startAndWaitUntilReady([&](int ready) { serveAgent(scenario, ready); });
    }
    startApplications(scenario);
  } catch (const std::system_error& error) {
    return say(std::string("can't make a simulated Mac here: ") + error.what(), kCantEnter);
  } catch (const std::runtime_error& error) {
    return say(error.what(), kBadScenario);
  }
  const pid_t command = fork();
  if (command == 0) {
    std::vector<char*> arguments;
    arguments.reserve(options.command.size() + 1);
    for (const std::string& argument : options.command) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int reason = errno;
    _exit(say(options.command[0] + ": " + std::strerror(reason),
              reason == ENOENT ? kNotFound : kNotExecutable));
  }
  return command < 0 ? say(std::strerror(errno), kCantEnter) : waitFor(command);
}

pid_t firstProcess = 0;

/// Ends the Mac with everything that runs in it; its end then ends this process.
void endMac(int /*signal*/) { kill(firstProcess, SIGKILL); }

int enterMac(const Scenario& scenario, const Options& options) {
  try {
    if (options.records) {
      std::ofstream(*options.records, std::ios::app).flush();
      // Programs that run as the Mac's users write to it as well.
      if (chmod(options.records->c_str(), 0666) != 0) {
        throw std::system_error(errno, std::generic_category(), *options.records);
      }
    }
  } catch (const std::exception& error) {
    return say(error.what(), kBadUsage);
  }
  try {
    makeNamespaces(options.userNamespace || geteuid() != 0);
  } catch (const std::system_error& error) {
    return say(std::string("can't make a simulated Mac here: ") + error.what(), kCantEnter);
  }
  firstProcess = fork();
  if (firstProcess < 0) {
    return say(std::string("can't make a simulated Mac here: fork: ") + std::strerror(errno),
               kCantEnter);
  }
  if (firstProcess == 0) {
    umask(022);
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // the Mac goes when its owner is killed
    _exit(liveAsFirstProcess(scenario, options));
  }
  struct sigaction action{};
  action.sa_handler = endMac;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    sigaction(signal, &action, nullptr);
  }
  int status = 0;
  while (waitpid(firstProcess, &status, 0) < 0 && errno == EINTR) {
  }
  // Not exit(): since unshare() this process can't start a thread, which a leak check does.
  _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

/// The options, or the exit status and text with which the program ends.
std::expected<Options, std::string> parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  auto next = arguments.begin();
  const auto value = [&](const std::string& option) -> std::expected<std::string, std::string> {
    if (++next == arguments.end()) {
      return std::unexpected(option + " needs a value");
    }
    return *next;
  };
  for (; next != arguments.end() && *next != "--"; ++next) {
    if (*next == "--records" || *next == "--set") {
      const std::string& option = *next;
      const auto text = value(option);
      if (!text) {
        return std::unexpected(text.error());
      }
      if (option == "--set") {
        options.settings.push_back(*text);
      } else {
        options.records = fs::absolute(*text);
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

int run(const std::vector<std::string>& arguments) {
  if (arguments == std::vector<std::string>{"--list"}) {
    return listScenarios();
  }
  if (arguments == std::vector<std::string>{"--help"}) {
    std::cout << kUsage;
    return 0;
  }
  const auto options = parseOptions(arguments);
  if (!options) {
    say(options.error(), 0);
    std::cerr << kUsage;
    return kBadUsage;
  }
  const auto scenario = readScenario(*options);
  if (!scenario) {
    return say(scenario.error(), kBadScenario);
  }
  if (options->prints) {
    std::cout << scenario->text();
    return 0;
  }
  return enterMac(*scenario, *options);
}

}  // namespace
}  // namespace simulated_mac

int main(int count, char** values) { return simulated_mac::run({values + 1, values + count}); }
