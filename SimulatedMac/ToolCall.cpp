#include "SimulatedMac/ToolCall.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <utility>

#include "SimulatedMac/CallRecord.h"
#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/ScenarioValues.h"

namespace simulated_mac {
namespace {

Scenario scenarioInForce() {
  std::ifstream file(kScenarioFile);
  auto scenario =
      Scenario::parse(std::string{std::istreambuf_iterator<char>(file), {}}, kScenarioFile);
  if (!scenario) {
    printLine(STDERR_FILENO, scenario.error());
    std::exit(70);
  }
  return *std::move(scenario);
}

/// Counts this call and returns the number of the tool's calls so far.
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

/// All of standard input when it is a pipe or a file; absent otherwise, and when the steps leave it
/// unread.
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

ToolCall::ToolCall(std::string toolName, std::vector<std::string> toolArguments)
    : tool(std::move(toolName)),
      arguments(std::move(toolArguments)),
      scenario(scenarioInForce()),
      descriptors(inheritedDescriptors()) {}

bool ToolCall::has(std::string_view argument) const {
  return std::ranges::find(arguments, argument) != arguments.end();
}

std::optional<std::string> ToolCall::argumentAfter(std::string_view option) const {
  const auto found = std::ranges::find(arguments, option);
  return found == arguments.end() || found + 1 == arguments.end() ? std::nullopt
                                                                  : std::optional(*(found + 1));
}

void ToolCall::record() const {
  if (!appendToRecord(*this)) {
    printLine(STDERR_FILENO, "the call of " + tool + " can't be recorded");
    _exit(70);
  }
}

const Section* ToolCall::scriptFor(const std::string& section) const {
  for (int call = countCall(section); call > 1; --call) {
    if (const Section* const steps = scenario.section(section + " " + std::to_string(call))) {
      return steps;
    }
  }
  return scenario.section(section);
}

void ToolCall::performScript(const std::string& section) const {
  if (const Section* const steps = scriptFor(section)) {
    perform(*steps);
  }
}

void ToolCall::begin(const std::string& section) {
  const Section* const steps = scriptFor(section);
  input = readInput(steps);
  record();
  if (steps != nullptr) {
    perform(*steps);
  }
}

}  // namespace simulated_mac
