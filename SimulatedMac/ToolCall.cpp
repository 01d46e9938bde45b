#include "SimulatedMac/ToolCall.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <system_error>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "Platform/Descriptor.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

using FileCodec::JSONObject;

std::string userName() {
  if (const char* const name = std::getenv(kUserVariable)) {
    return name;
  }
  const passwd* const account = getpwuid(geteuid());
  return account == nullptr ? std::to_string(geteuid()) : account->pw_name;
}

/// The descriptors that the program was started with, and what they refer to as /proc shows it: a
/// path, "pipe:[1234]". Those that it opened itself close on exec, which an inherited one can't.
std::map<int, std::string> inheritedDescriptors() {
  std::map<int, std::string> found;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
    const int number = std::atoi(entry.path().filename().c_str());
    if (const int flags = fcntl(number, F_GETFD); flags >= 0 && (flags & FD_CLOEXEC) == 0) {
      std::error_code ignored;
      found.emplace(number, fs::read_symlink(entry.path(), ignored));
    }
  }
  return found;
}

/// Counts this call and returns the number of the tool's calls so far.
int countCall(const std::string& section) {
  int calls = 1;
  while (
      !fs::create_directory(fs::path(kCountDirectory) / (section + " " + std::to_string(calls)))) {
    ++calls;
  }
  return calls;
}

/// The steps for this call of the tool, if the scenario has some.
const Section* scriptFor(const Scenario& scenario, const std::string& section) {
  for (int call = countCall(section); call > 1; --call) {
    if (const Section* const steps = scenario.section(section + " " + std::to_string(call))) {
      return steps;
    }
  }
  return scenario.section(section);
}

/// Performs the steps in order and exits.
[[noreturn]] void perform(const Section& steps) {
  std::string exits = "0";
  for (const auto& [key, value] : steps.settings) {
    if (key == "stdout" || key == "stderr") {
      printLine(key == "stdout" ? STDOUT_FILENO : STDERR_FILENO, value);
    } else if (key == "takes") {
      waitMilliseconds(milliseconds(value).value_or(0));
    } else if (key == "megabytes") {
      const std::string line(1023, 'x');
      for (int count = std::atoi(value.c_str()) * 1024; count > 0; --count) {
        printLine(STDOUT_FILENO, line);
      }
    } else if (key == "leaves child" && value == "yes") {
      if (fork() == 0) {
        waitForever();  // keeps the tool's standard output and error open
      }
    } else if (key == "exits") {
      exits = value;
    }
  }
  exitAs(exits);
}

}  // namespace

bool ToolCall::has(std::string_view argument) const {
  return std::ranges::find(arguments, argument) != arguments.end();
}

std::optional<std::string> ToolCall::argumentAfter(std::string_view option) const {
  const auto found = std::ranges::find(arguments, option);
  return found == arguments.end() || found + 1 == arguments.end() ? std::nullopt
                                                                  : std::optional(*(found + 1));
}

void ToolCall::record() const {
  std::vector<std::string_view> environment;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    environment.emplace_back(*variable);
  }
  std::vector<std::string> descriptors;
  for (const auto& [number, target] : inheritedDescriptors()) {
    descriptors.push_back(
        JSONObject().addNumber("number", number).addString("target", target).done());
  }
  const char* const session = std::getenv(kSessionVariable);
  std::error_code ignored;
  const std::string line =
      JSONObject()
          .addString("tool", tool)
          .addJSON("arguments", FileCodec::jsonList(arguments))
          .addString("input", input)
          .addString("user", userName())
          .addNumber("uid", geteuid())
          .addString("session",
                     session == nullptr ? std::nullopt : std::optional<std::string_view>(session))
          .addString("directory", fs::current_path(ignored).string())
          .addJSON("environment", FileCodec::jsonList(environment))
          .addJSON("descriptors", FileCodec::jsonArray(descriptors))
          .done() +
      '\n';
  const platform::Descriptor file(open(kRecordFile, O_WRONLY | O_APPEND | O_CLOEXEC));
  failIf(!file || platform::writeAll(file.get(), line) != 0, kRecordFile);
}

void ToolCall::performScript(const std::string& section) const {
  if (const Section* const steps = scriptFor(scenario, section)) {
    perform(*steps);
  }
}

void ToolCall::begin(const std::string& section) {
  const Section* const steps = scriptFor(scenario, section);
  const auto handling = steps != nullptr ? scenario.value(steps->name, "input") : std::nullopt;
  struct stat facts{};
  if (!handling && fstat(STDIN_FILENO, &facts) == 0 && !S_ISCHR(facts.st_mode)) {
    input.emplace(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
  }
  record();
  if (handling == "closed") {
    close(STDIN_FILENO);
  }
  if (steps != nullptr) {
    perform(*steps);
  }
}

}  // namespace simulated_mac
