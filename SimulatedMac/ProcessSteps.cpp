#include "SimulatedMac/ProcessSteps.h"

#include <grp.h>
#include <pwd.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "Platform/Descriptor.h"
#include "Platform/Text.h"
#include "SimulatedMac/Layout.h"

namespace simulated_mac {
namespace {

constexpr unsigned kSecondsToEnd = 5;

pid_t signalledChild = 0;
volatile sig_atomic_t isEnding = 0;

void passOn(int signal, siginfo_t* facts, void* /*context*/) {
  if (signal == SIGALRM || isEnding != 0) {
    kill(signalledChild, SIGKILL);
    return;
  }
  isEnding = 1;
  alarm(kSecondsToEnd);
  if (facts->si_code != SI_KERNEL) {
    kill(signalledChild, signal);
  }
}

}  // namespace

void failIf(bool failed, const std::string& what) {
  if (failed) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

void waitForever() {
  while (true) {
    pause();
  }
}

void waitMilliseconds(int duration) { usleep(static_cast<useconds_t>(duration) * 1000); }

void print(int descriptor, std::string_view text) {
  if (platform::writeAll(descriptor, text) != 0) {
    _exit(141);  // as if killed by SIGPIPE
  }
}

void printLine(int descriptor, const std::string& text) {
  print(descriptor, text.ends_with('\n') ? text : text + "\n");
}

void becomeUser(const std::string& user) {
  setenv(kUserVariable, user.c_str(), 1);
  const passwd* const account = getpwnam(user.c_str());
  if (account != nullptr && geteuid() == 0 && setgroups(0, nullptr) == 0 &&
      setgid(account->pw_gid) == 0) {
    [[maybe_unused]] const int ignored = setuid(account->pw_uid);
  }
}

std::vector<char*> argumentPointers(std::vector<std::string>& command) {
  std::vector<char*> pointers;
  pointers.reserve(command.size() + 1);
  for (std::string& argument : command) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

void execute(std::vector<std::string> command) {
  const std::vector<char*> arguments = argumentPointers(command);
  execvp(arguments[0], arguments.data());
  exitWith(errno == ENOENT ? 127 : 126, command[0] + ": " + std::strerror(errno));
}

void exitAs(std::string_view exits) {
  if (exits == "never") {
    waitForever();
  }
  const bool bySignal = exits.starts_with("signal ");
  const int number = platform::wholeNumber<int>(bySignal ? exits.substr(7) : exits).value_or(0);
  if (bySignal) {
    signal(number, SIG_DFL);
    raise(number);
  }
  _exit(number);
}

void exitWith(int status, const std::string& message) {
  printLine(STDERR_FILENO, message);
  _exit(status);
}

void passOnSignals(pid_t child) {
  signalledChild = child;
  struct sigaction action{};
  action.sa_sigaction = passOn;
  action.sa_flags = SA_SIGINFO;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM}) {
    sigaction(signal, &action, nullptr);
  }
}

int waitFor(pid_t child) {
  while (true) {
    int status = 0;
    const pid_t ended = waitpid(-1, &status, 0);
    if (ended == child) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    failIf(ended < 0 && errno != EINTR, "waitpid");
  }
}

}  // namespace simulated_mac
