// The stand-ins for applications: the agent's prompt, and all others.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/StandIns.h"

namespace simulated_mac {
namespace {

void writeAnswer(const std::string& answer) {
  if (answer == "a directory") {
    std::filesystem::create_directory(kReturnCodeFile);
  } else if (answer == "a fifo") {
    [[maybe_unused]] const int ignored = mkfifo(kReturnCodeFile, 0644);
  } else if (answer == "a link") {
    std::filesystem::create_symlink("/etc/passwd", kReturnCodeFile);
  } else {
    std::ofstream(kReturnCodeFile) << (answer == "bytes that are not text" ? "\xff\xfe" : answer);
  }
}

}  // namespace

void prompt(ToolCall& call) {
  call.record();
  const std::string user = call.scenario.valueOr("prompt", "user", "agrees");
  waitMilliseconds(milliseconds(call.scenario.valueOr("prompt", "after", "1.5 s")).value_or(0));
  if (user == "ignores") {
    waitForever();
  }
  if (user == "crashes") {
    exitAs("signal 11");
  }
  if (user != "quits") {
    writeAnswer(call.scenario.valueOr("prompt", "writes", user == "agrees" ? "94" : "1"));
  }
  exitAs(call.scenario.valueOr("prompt", "exits", "0"));
}

void application(ToolCall& /*call*/) {
  print(STDOUT_FILENO, kReady);
  close(STDOUT_FILENO);
  waitForever();
}

}  // namespace simulated_mac
