#include "SimulatedMac/ProcessSteps.h"

#include <grp.h>
#include <pwd.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "Platform/Text.h"
#include "SimulatedMac/Layout.h"

namespace simulated_mac {

void waitForever() {
  while (true) {
    pause();
  }
}

void waitMilliseconds(int duration) { usleep(static_cast<useconds_t>(duration) * 1000); }

void print(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written < 0) {
      _exit(141);  // as if killed by SIGPIPE
    }
    text.remove_prefix(static_cast<std::size_t>(written));
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
  const int reason = errno;
  printLine(STDERR_FILENO, command[0] + ": " + std::strerror(reason));
  _exit(reason == ENOENT ? 127 : 126);
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

}  // namespace simulated_mac
