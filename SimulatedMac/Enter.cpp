// Runs a command inside a simulated Mac: enter SCENARIO -- COMMAND…
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <expected>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Platform/Files.h"
#include "SimulatedMac/AgentServiceStandIn.h"
#include "SimulatedMac/LayeredRoot.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/MacFiles.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

constexpr std::uint64_t kLargestScenario = std::uint64_t{1} << 20;

/// Exit statuses of this program's own; every other one is the command's.
constexpr int kBadUsage = 64;
constexpr int kBadScenario = 65;
constexpr int kDoesntStart = 70;
constexpr int kCantEnter = 77;
constexpr int kNotFound = 127;
constexpr int kNotExecutable = 126;

constexpr std::string_view kUsage =
    "usage: enter [--records FILE] [--set SECTION/KEY=VALUE]… [--user-namespace]\n"
    "             SCENARIO -- COMMAND [ARGUMENT]…\n"
    "       enter [--set SECTION/KEY=VALUE]… --print SCENARIO\n"
    "       enter --list\n"
    "SCENARIO is the name of a file in SimulatedMac/scenarios, or a path with a \"/\" in it.\n"
    "--records appends a line for each call of a tool to FILE. A new FILE can be written by all, "
    "as\n"
    "the Mac's users do; one that is there already is left as it is, and refused when they can't\n"
    "write to it.\n"
    "Exit status: the command's; 64 bad usage, 65 a scenario that can't be understood, 70 when\n"
    "something in the Mac doesn't start, 77 when this system lets no simulated Mac be made.\n";

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

/// The program behind all stand-ins, beside this one.
std::string standInProgram() {
  return fs::path(fs::read_symlink("/proc/self/exe")).parent_path() / "simulated-mac-tool";
}

std::expected<Scenario, std::string> readFile(const std::string& path) {
  const auto text = platform::readFile(path, {.maximumBytes = kLargestScenario});
  if (!text) {
    return std::unexpected(text.error().code == std::errc::no_such_file_or_directory
                               ? path + ": no such scenario; enter --list shows them"
                               : text.error().message);
  }
  return Scenario::parse(*text, path);
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

/// Starts a child that does `work` with the writing end of a pipe, and waits until it has written
/// there that it is up. Throws `std::runtime_error` when it ends before; `what` it is.
template <typename Work>
pid_t startAndWaitUntilReady(const std::string& what, const Work& work) {
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
    try {
      work(ready[1]);
    } catch (const std::exception& error) {
      say(what + ": " + error.what(), 0);
    }
    _exit(kDoesntStart);
  }
  close(ready[1]);
  char answer = 0;
  ssize_t size = 0;
  while ((size = read(ready[0], &answer, 1)) < 0 && errno == EINTR) {
  }
  close(ready[0]);
  if (size != 1) {
    throw std::runtime_error(what + " doesn't start");
  }
  return child;
}

/// Changes to the user at the console, whose applications run; without one, or without a second
/// user in the namespace, the process stays root.
void becomeConsoleUser(const Scenario& scenario) {
  const passwd* const account = getpwnam(scenario.valueOr("users", "console", "none").c_str());
  if (account != nullptr && setgroups(0, nullptr) == 0 && setgid(account->pw_gid) == 0) {
    [[maybe_unused]] const int ignored = setuid(account->pw_uid);
  }
}

/// An application that ends when a text has been printed.
struct Quitter {
  std::string text;
  pid_t process = 0;
};

/// Starts all instances of all applications; those that are to quit are returned.
std::vector<Quitter> startApplications(const Scenario& scenario) {
  std::vector<Quitter> quitters;
  for (const std::string& section : applicationSections(scenario)) {
    const std::string executable = applicationExecutable(scenario, section);
    const auto quits = scenario.value(section, "quits");
    for (int count = std::atoi(scenario.valueOr(section, "instances", "1").c_str()); count > 0;
         --count) {
      const pid_t process = startAndWaitUntilReady("[" + section + "]", [&](int ready) {
        dup2(ready, STDOUT_FILENO);
        becomeConsoleUser(scenario);
        execl(executable.c_str(), executable.c_str(), nullptr);
        throw std::system_error(errno, std::generic_category(), executable);
      });
      if (quits) {
        quitters.push_back({*quits, process});
      }
    }
  }
  return quitters;
}

/// The standard error of a command at whose words applications quit.
class WatchedErrors {
 public:
  explicit WatchedErrors(std::vector<Quitter> quitters) : quitters_(std::move(quitters)) {
    // A pipe that holds a single write: the command can be no more than one line ahead.
    if (pipe2(pipe_.data(), O_CLOEXEC | O_DIRECT) != 0 ||
        fcntl(pipe_[1], F_SETPIPE_SZ, kPacket) < 0) {
      throw std::system_error(errno, std::generic_category(), "pipe");
    }
  }

  /// For the command, before it takes over.
  void useInChild() const { dup2(pipe_[1], STDERR_FILENO); }

  /// Hands on what is printed until the command ends. Before the next line is taken, every
  /// application that quits at this one has gone.
  void handOn(pid_t command) {
    close(pipe_[1]);
    const int end = static_cast<int>(syscall(SYS_pidfd_open, command, 0));
    std::array<pollfd, 2> events{pollfd{pipe_[0], POLLIN, 0}, pollfd{end, POLLIN, 0}};
    std::string packet(kPacket, '\0');
    while (poll(events.data(), events.size(), -1) >= 0) {
      const ssize_t size =
          (events[0].revents & POLLIN) != 0 ? read(pipe_[0], packet.data(), packet.size()) : 0;
      if (size <= 0) {
        break;  // nothing is left to read, and the command or the pipe is at its end
      }
      const std::string_view text(packet.data(), static_cast<std::size_t>(size));
      std::cerr << text << std::flush;
      std::erase_if(quitters_, [&](const Quitter& quitter) {
        return text.contains(quitter.text) && kill(quitter.process, SIGKILL) == 0 &&
               waitpid(quitter.process, nullptr, 0) >= 0;
      });
    }
    close(end);
  }

 private:
  static constexpr int kPacket = 4096;  // the smallest pipe: one page
  std::vector<Quitter> quitters_;
  std::array<int, 2> pipe_{};
};

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
int liveAsFirstProcess(const Scenario& scenario, const Options& options, bool mayWriteHost) {
  std::optional<WatchedErrors> errors;
  try {
    LayeredRoot root(scenario.valueOr("mac", "free disk", "64g"), mayWriteHost);
    if (options.records) {
      root.bind(*options.records, kRecordFile, false);
    } else {
      writeNewFile(root.place(kRecordFile), "", 0666);
    }
    writeMacFiles(root, scenario, sourceDirectory() + "/root", standInProgram());
    root.enter();
    setEnvironment(scenario);
    if (hasAgentService(scenario)) {
      startAndWaitUntilReady("[agent service]", [&](int ready) { serveAgent(scenario, ready); });
    }
    if (auto quitters = startApplications(scenario); !quitters.empty()) {
      errors.emplace(std::move(quitters));
    }
  } catch (const std::system_error& error) {
    return say(std::string("can't make a simulated Mac here: ") + error.what(), kCantEnter);
  } catch (const std::runtime_error& error) {
    return say(error.what(), kDoesntStart);
  }
  const pid_t command = fork();
  if (command == 0) {
    if (errors) {
      errors->useInChild();
    }
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
  if (command < 0) {
    return say(std::string("can't make a simulated Mac here: fork: ") + std::strerror(errno),
               kCantEnter);
  }
  if (errors) {
    errors->handOn(command);
  }
  return waitFor(command);
}

/// Makes the file to which the Mac's users append as well; one that is there already is not
/// changed.
void prepareRecords(const std::string& path, bool hasUsers) {
  struct stat facts{};
  int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  const bool isNew = file >= 0;
  if (!isNew && errno == EEXIST) {
    file = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK);
  }
  if (file < 0 || (isNew && fchmod(file, 0666) != 0) || fstat(file, &facts) != 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
  close(file);
  if (hasUsers && (facts.st_mode & S_IWOTH) == 0) {
    throw std::runtime_error(path + ": expected a new file or one that all can write to");
  }
}

pid_t firstProcess = 0;

/// Ends the Mac with everything that runs in it; its end then ends this process.
void endMac(int /*signal*/) { kill(firstProcess, SIGKILL); }

int enterMac(const Scenario& scenario, const Options& options) {
  if (access(standInProgram().c_str(), X_OK) != 0) {
    return say(standInProgram() + ": " + std::strerror(errno), kDoesntStart);
  }
  const bool needsUserNamespace = options.userNamespace || geteuid() != 0;
  try {
    if (options.records) {
      prepareRecords(*options.records, !needsUserNamespace);
    }
  } catch (const std::exception& error) {
    return say(error.what(), kBadUsage);
  }
  const bool mayWriteHost = geteuid() == 0;
  try {
    makeNamespaces(needsUserNamespace);
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
    _exit(liveAsFirstProcess(scenario, options, mayWriteHost));
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
    if (++next == arguments.end() || next->empty()) {
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
