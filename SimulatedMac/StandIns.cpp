// The programs of the simulated Mac: one program that acts as the tool by whose name it is called.
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "SimulatedMac/CallRecord.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {
namespace {

using Arguments = std::vector<std::string>;

[[noreturn]] void stay() {
  while (true) {
    pause();
  }
}

void wait(int duration) { usleep(static_cast<useconds_t>(duration) * 1000); }

void print(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written < 0) {
      _exit(141);  // nobody reads any more
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void printLine(int descriptor, const std::string& text) {
  print(descriptor, text.ends_with('\n') ? text : text + "\n");
}

Scenario readScenario() {
  std::ifstream file(kScenarioFile);
  auto scenario =
      Scenario::parse(std::string{std::istreambuf_iterator<char>(file), {}}, kScenarioFile);
  if (!scenario) {
    printLine(STDERR_FILENO, scenario.error());
    std::exit(70);
  }
  return *std::move(scenario);
}

bool has(const Arguments& arguments, std::string_view argument) {
  return std::ranges::find(arguments, argument) != arguments.end();
}

/// The argument behind `option`; absent when there is none.
std::optional<std::string> argumentOf(const Arguments& arguments, std::string_view option) {
  const auto found = std::ranges::find(arguments, option);
  return found == arguments.end() || found + 1 == arguments.end() ? std::nullopt
                                                                  : std::optional(*(found + 1));
}

/// How often the section's tool has been called, this call included.
int countCall(std::string section) {
  std::ranges::replace(section, '/', '-');
  const std::string path = std::string(kCountDirectory) + "/" + section;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  struct stat facts{};
  if (file < 0 || flock(file, LOCK_EX) != 0 || write(file, ".", 1) != 1 ||
      fstat(file, &facts) != 0) {
    printLine(STDERR_FILENO, path + ": the call can't be counted");
    _exit(70);
  }
  close(file);
  return static_cast<int>(facts.st_size);
}

/// What the scenario says about the tool's call: "NAME 2" is for the second call and those after
/// it, until "NAME 3", and so on; "NAME" for those before. Null when it says nothing.
const Section* stepsFor(const Scenario& scenario, const std::string& name) {
  for (int call = countCall(name); call > 1; --call) {
    if (const Section* const steps = scenario.section(name + " " + std::to_string(call))) {
      return steps;
    }
  }
  return scenario.section(name);
}

/// The tool's standard input when it is a pipe or a file, read to its end; absent else.
std::optional<std::string> readInput(const Section* steps) {
  const Setting* input = nullptr;
  if (steps != nullptr) {
    const auto found = std::ranges::find(steps->settings, "input", &Setting::key);
    input = found == steps->settings.end() ? nullptr : &*found;
  }
  if (input != nullptr && input->value == "closed") {
    close(STDIN_FILENO);
  }
  struct stat facts{};
  if (input != nullptr || fstat(STDIN_FILENO, &facts) != 0 || S_ISCHR(facts.st_mode)) {
    return std::nullopt;
  }
  std::string text;
  std::array<char, 4096> piece{};
  ssize_t size = 0;
  while ((size = read(STDIN_FILENO, piece.data(), piece.size())) > 0) {
    text.append(piece.data(), static_cast<std::size_t>(size));
  }
  return text;
}

/// Ends the process as `exits` says: a status, "signal 9" or "never".
[[noreturn]] void endAs(std::string_view exits) {
  if (exits == "never") {
    stay();
  }
  const bool bySignal = exits.starts_with("signal ");
  int number = 0;
  const std::string_view digits = bySignal ? exits.substr(7) : exits;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (bySignal) {
    signal(number, SIG_DFL);
    raise(number);
  }
  _exit(number);
}

/// Does what the steps say, in their order, and ends the process.
[[noreturn]] void perform(const Section& steps) {
  std::string exits = "0";
  for (const auto& [key, value] : steps.settings) {
    if (key == "stdout" || key == "stderr") {
      printLine(key == "stdout" ? STDOUT_FILENO : STDERR_FILENO, value);
    } else if (key == "takes") {
      wait(milliseconds(value).value_or(0));
    } else if (key == "megabytes") {
      const std::string line(1023, 'x');
      for (int count = std::atoi(value.c_str()) * 1024; count > 0; --count) {
        printLine(STDOUT_FILENO, line);
      }
    } else if (key == "leaves child" && isYes(value)) {
      if (fork() == 0) {
        stay();  // with the tool's standard output and error open
      }
    } else if (key == "exits") {
      exits = value;
    }
  }
  endAs(exits);
}

/// Changes to the account's user where there is one to change to, and says so to the children.
void become(const std::string& user) {
  setenv(kUserVariable, user.c_str(), 1);
  const passwd* const account = getpwnam(user.c_str());
  if (account != nullptr && geteuid() == 0 && setgroups(0, nullptr) == 0 &&
      setgid(account->pw_gid) == 0) {
    [[maybe_unused]] const int ignored = setuid(account->pw_uid);
  }
}

[[noreturn]] void execute(Arguments command) {
  std::vector<char*> pointers;
  pointers.reserve(command.size() + 1);
  for (std::string& argument : command) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  execvp(pointers[0], pointers.data());
  const int reason = errno;
  printLine(STDERR_FILENO, command[0] + ": " + std::strerror(reason));
  _exit(reason == ENOENT ? 127 : 126);
}

class Tool {
 public:
  Tool(std::string name, Arguments arguments)
      : arguments_(std::move(arguments)), scenario_(readScenario()) {
    call_.tool = std::move(name);
    call_.arguments = arguments_;
    call_.descriptors = openDescriptors();
  }

  [[noreturn]] void run() {
    const std::string& name = call_.tool;
    if (name == "softwareupdate") {
      softwareUpdate();
    } else if (name == "mdmclient") {
      mdmClient();
    } else if (name == "profiles") {
      profiles();
    } else if (name == "startosinstall") {
      startOSInstall();
    } else if (name == "open") {
      openApplication();
    } else if (name == "sudo") {
      sudo();
    } else if (name == "launchctl") {
      launchctl();
    } else if (name == "VexloAppRunningNotifier") {
      prompt();
    }
    application();
  }

 private:
  /// Records the call, without its standard input, which the next program is to read.
  void record() {
    if (!appendToRecord(call_)) {
      printLine(STDERR_FILENO, "the call of " + call_.tool + " can't be recorded");
      _exit(70);
    }
  }

  /// Records the call with its input and does what the scenario says of it, if it says anything.
  void beginAs(const std::string& section) {
    const Section* const steps = stepsFor(scenario_, section);
    call_.input = readInput(steps);
    record();
    if (steps != nullptr) {
      perform(*steps);
    }
  }

  [[nodiscard]] std::string update(std::string_view key) const {
    return scenario_.valueOr("update", key, "");
  }

  /// Whether the call carries the password that the agent's service holds, if it needs one.
  [[nodiscard]] bool isAuthorised() const {
    if (!has(arguments_, "--stdinpass")) {
      return true;
    }
    const std::string wanted = [&] {
      for (const std::string& value : scenario_.values("agent service", "value")) {
        constexpr std::string_view kKey = "PatchOSUpdatePassword ";
        if (value.starts_with(kKey)) {
          return value.substr(kKey.size());
        }
      }
      return std::string();
    }();
    const std::optional<std::string> argument = argumentOf(arguments_, "--stdinpass");
    return argument.value_or(call_.input.value_or("")) == wanted;
  }

  [[noreturn]] void softwareUpdate() {
    if (has(arguments_, "--list")) {
      beginAs("softwareupdate --list");
      printLine(STDOUT_FILENO, "Software Update Tool\n\nFinding available software");
      if (update("label").empty()) {
        printLine(STDERR_FILENO, "No new software available.");
        _exit(0);
      }
      printLine(STDOUT_FILENO,
                "Software Update found the following new or updated software:\n* Label: " +
                    update("label") + "\n\tTitle: macOS " + update("version") + ", Version: " +
                    update("version") + ", Size: 6983632KiB, Recommended: YES, Action: restart, ");
      _exit(0);
    }
    const bool installs = has(arguments_, "--install");
    beginAs(installs ? "softwareupdate --install" : "softwareupdate --download");
    const std::string label =
        argumentOf(arguments_, installs ? "--install" : "--download").value_or("");
    printLine(STDOUT_FILENO, "Software Update Tool\n\nFinding available software");
    if (label != update("label")) {
      printLine(STDERR_FILENO, label + ": No such update");
      _exit(0);
    }
    printLine(STDOUT_FILENO, "Downloading " + label);
    if (!isAuthorised()) {
      printLine(STDERR_FILENO, "Failed to authenticate");
      _exit(1);
    }
    for (const char* const percent : {"9.90", "54.17", "100.00"}) {
      wait(100);
      printLine(STDOUT_FILENO, std::string("Downloading: ") + percent + "%");
    }
    printLine(STDOUT_FILENO, "Downloaded: " + label);
    if (installs) {
      printLine(STDOUT_FILENO, "Restarting...");
    }
    _exit(0);
  }

  [[noreturn]] void mdmClient() {
    beginAs("mdmclient");
    printLine(STDERR_FILENO, "=== OS Update Item ===");
    std::string item = "        {\n        AppIdentifiersToClose =         (\n        );\n";
    if (!update("build").empty()) {
      item += "        Build = " + update("build") + ";\n";
    }
    if (!update("deferred until").empty()) {
      item += "        DeferredUntil = \"" + update("deferred until") + "\";\n";
    }
    item += "        HumanReadableName = \"macOS " + update("version") +
            "\";\n        ProductKey = \"" + update("product key") +
            "\";\n        RestartRequired = 1;\n        Version = \"" + update("version") +
            "\";\n    }\n";
    printLine(STDOUT_FILENO, "Available updates (install debug profile for more details): (\n" +
                                 (update("version").empty() ? std::string() : item) + ")");
    _exit(0);
  }

  [[noreturn]] void profiles() {
    beginAs("profiles");
    const std::string enrollment = scenario_.valueOr("mdm", "enrollment", "none");
    printLine(STDOUT_FILENO,
              std::string("Enrolled via DEP: ") + (enrollment == "dep" ? "Yes" : "No") +
                  "\nMDM enrollment: " + (enrollment == "none" ? "No" : "Yes (User Approved)"));
    _exit(0);
  }

  [[noreturn]] void startOSInstall() {
    beginAs("startosinstall");
    printLine(STDOUT_FILENO,
              "By using the agreetolicense option, you are agreeing that you have run this tool "
              "with the license only option and have read and agreed to the terms.\n"
              "If you do not agree, press CTRL-C and cancel this process immediately.");
    if (!isAuthorised()) {
      printLine(STDERR_FILENO, "Error: could not get authorization...");
      _exit(1);
    }
    printLine(STDOUT_FILENO, "Preparing to run macOS Installer...");
    for (const char* const percent : {"0.0", "52.3", "100.0"}) {
      wait(100);
      printLine(STDOUT_FILENO, std::string("Preparing: ") + percent + "%");
    }
    printLine(STDOUT_FILENO, "Restarting...");
    _exit(0);
  }

  /// Starts the application in the console user's session and returns at once.
  [[noreturn]] void openApplication() {
    record();
    if (const Section* const steps = stepsFor(scenario_, "open")) {
      perform(*steps);
    }
    const std::string program = argumentOf(arguments_, "-a").value_or("");
    if (access(program.c_str(), X_OK) != 0) {
      printLine(STDERR_FILENO, "Unable to find application named '" + program + "'");
      _exit(1);
    }
    Arguments command{program};
    const auto separator = std::ranges::find(arguments_, "--args");
    if (separator != arguments_.end()) {
      command.insert(command.end(), separator + 1, arguments_.end());
    }
    std::array<int, 2> started{};
    if (pipe2(started.data(), O_CLOEXEC) != 0 || fork() != 0) {
      close(started[1]);
      char none = 0;  // the end of file says that the program has taken over
      [[maybe_unused]] const ssize_t ignored = read(started[0], &none, 1);
      _exit(0);
    }
    setsid();
    if (const int null = open("/dev/null", O_RDWR | O_CLOEXEC); null >= 0) {
      for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(null, descriptor);
      }
    }
    const std::string user = scenario_.valueOr("users", "console", "none");
    become(scenario_.valueOr("prompt", "answers as", user == "none" ? "root" : user));
    execute(std::move(command));
  }

  [[noreturn]] void sudo() {
    record();
    Arguments command = arguments_;
    std::string user = "root";
    if (command.size() >= 2 && command[0] == "-u") {
      user = command[1];
      command.erase(command.begin(), command.begin() + 2);
    }
    if (command.empty()) {
      printLine(STDERR_FILENO, "usage: sudo [-u user] command");
      _exit(1);
    }
    if (getpwnam(user.c_str()) == nullptr) {
      printLine(STDERR_FILENO, "sudo: unknown user: " + user);
      _exit(1);
    }
    become(user);
    execute(std::move(command));
  }

  /// `launchctl asuser UID PROGRAM…`: the program runs in the session of that user, still as root.
  [[noreturn]] void launchctl() {
    record();
    const bool isNumber = arguments_.size() > 2 && std::ranges::all_of(arguments_[1], [](char c) {
                            return c >= '0' && c <= '9';
                          });
    if (!isNumber || arguments_[0] != "asuser") {
      printLine(STDERR_FILENO, "Usage: launchctl asuser <UID> <program> [<program arguments>]");
      _exit(64);
    }
    setenv(kSessionVariable, arguments_[1].c_str(), 1);
    execute({arguments_.begin() + 2, arguments_.end()});
  }

  /// The agent's prompt: waits as long as the user thinks, writes the answer and ends.
  [[noreturn]] void prompt() {
    record();
    const std::string user = scenario_.valueOr("prompt", "user", "agrees");
    wait(milliseconds(scenario_.valueOr("prompt", "after", "1.5 s")).value_or(0));
    if (user == "ignores") {
      stay();
    }
    if (user == "crashes") {
      endAs("signal 11");
    }
    if (user == "quits") {
      endAs(scenario_.valueOr("prompt", "exits", "0"));
    }
    writeAnswer(scenario_.valueOr("prompt", "writes", user == "agrees" ? "94" : "1"));
    endAs(scenario_.valueOr("prompt", "exits", "0"));
  }

  static void writeAnswer(const std::string& answer) {
    if (answer == "a directory") {
      std::filesystem::create_directory(kReturnCodeFile);
    } else if (answer == "a fifo") {
      [[maybe_unused]] const int ignored = mkfifo(kReturnCodeFile, 0644);
    } else if (answer == "a link") {
      std::filesystem::create_symlink("/etc/passwd", kReturnCodeFile);
    } else {
      std::ofstream(kReturnCodeFile) << (answer == "bytes that are no text" ? "\xff\xfe" : answer);
    }
  }

  /// Any other name: an application that runs until it is killed. It says that it is up.
  [[noreturn]] void application() {
    print(STDOUT_FILENO, kReady);
    close(STDOUT_FILENO);
    stay();
  }

  Arguments arguments_;
  Scenario scenario_;
  CallRecord call_;
};

}  // namespace
}  // namespace simulated_mac

int main(int count, char** values) {
  std::string_view name = values[0];
  name.remove_prefix(name.rfind('/') + 1);
  simulated_mac::Tool(std::string(name), {values + 1, values + count}).run();
}
