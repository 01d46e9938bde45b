// The stand-ins for the tools that query and update the Mac.
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/RealNumbers.h"
#include "SimulatedMac/ProcessSteps.h"
#include "SimulatedMac/StandIns.h"

namespace simulated_mac {
namespace {

/// A property of the scenario's update.
std::string update(const ToolCall& call, std::string_view key) {
  return call.scenario.valueOr("update", key, "");
}

/// Whether the call has the password of the agent's service, if it asks for one.
bool isAuthorised(const ToolCall& call) {
  if (!call.has("--stdinpass")) {
    return true;
  }
  const std::optional<std::string> argument = call.argumentAfter("--stdinpass");
  return argument.value_or(call.input.value_or("")) ==
         serviceValue(call.scenario, "PatchOSUpdatePassword").value_or("");
}

/// Prints lines such as «Downloading: 33.33%» up to 100 %, spread over the scenario's duration.
void printProgress(const ToolCall& call, const std::string& what, int places) {
  constexpr int kUsualTime = 300;
  constexpr int kMostBetweenLines = 500;
  constexpr int kFewestLines = 3;
  const int time = milliseconds(update(call, "takes")).value_or(kUsualTime);
  const int lines = std::max(kFewestLines, time / kMostBetweenLines);
  for (int line = 1; line <= lines; ++line) {
    waitMilliseconds(time / lines);
    printLine(STDOUT_FILENO,
              what + ": " + platform::decimalText(100.0 * line / lines, places) + "%");
  }
}

[[noreturn]] void listUpdates(ToolCall& call) {
  call.begin("softwareupdate --list");
  printLine(STDOUT_FILENO, "Software Update Tool\n\nFinding available software");
  if (update(call, "label").empty()) {
    exitWith(0, "No new software available.");
  }
  printLine(STDOUT_FILENO,
            "Software Update found the following new or updated software:\n* Label: " +
                update(call, "label") + "\n\tTitle: macOS " + update(call, "version") +
                ", Version: " + update(call, "version") +
                ", Size: 6983632KiB, Recommended: YES, Action: restart, ");
  _exit(0);
}

[[noreturn]] void downloadOrInstallUpdate(ToolCall& call) {
  const bool installs = call.has("--install");
  call.begin(installs ? "softwareupdate --install" : "softwareupdate --download");
  const std::string label = call.argumentAfter(installs ? "--install" : "--download").value_or("");
  printLine(STDOUT_FILENO, "Software Update Tool\n\nFinding available software");
  if (label != update(call, "label")) {
    exitWith(0, label + ": No such update");
  }
  printLine(STDOUT_FILENO, "Downloading " + label);
  if (!isAuthorised(call)) {
    exitWith(1, "Failed to authenticate");
  }
  printProgress(call, "Downloading", 2);
  printLine(STDOUT_FILENO, "Downloaded: " + label);
  if (installs) {
    printLine(STDOUT_FILENO, "Restarting...");
  }
  _exit(0);
}

}  // namespace

void softwareUpdate(ToolCall& call) {
  if (call.has("--list")) {
    listUpdates(call);
  }
  downloadOrInstallUpdate(call);
}

void mdmClient(ToolCall& call) {
  call.begin("mdmclient");
  printLine(STDERR_FILENO, "=== OS Update Item ===");
  std::string item = "        {\n        AppIdentifiersToClose =         (\n        );\n";
  if (!update(call, "build").empty()) {
    item += "        Build = " + update(call, "build") + ";\n";
  }
  if (!update(call, "deferred until").empty()) {
    item += "        DeferredUntil = \"" + update(call, "deferred until") + "\";\n";
  }
  item += "        HumanReadableName = \"macOS " + update(call, "version") +
          "\";\n        ProductKey = \"" + update(call, "product key") +
          "\";\n        RestartRequired = 1;\n        Version = \"" + update(call, "version") +
          "\";\n    }\n";
  printLine(STDOUT_FILENO, "Available updates (install debug profile for more details): (\n" +
                               (update(call, "version").empty() ? std::string() : item) + ")");
  _exit(0);
}

void profiles(ToolCall& call) {
  call.begin("profiles");
  const std::string enrollment = call.scenario.valueOr("mdm", "enrollment", "none");
  printLine(STDOUT_FILENO,
            std::string("Enrolled via DEP: ") + (enrollment == "dep" ? "Yes" : "No") +
                "\nMDM enrollment: " + (enrollment == "none" ? "No" : "Yes (User Approved)"));
  _exit(0);
}

void startOSInstall(ToolCall& call) {
  call.begin("startosinstall");
  printLine(STDOUT_FILENO,
            "By using the agreetolicense option, you are agreeing that you have run this tool "
            "with the license only option and have read and agreed to the terms.\n"
            "If you do not agree, press CTRL-C and cancel this process immediately.");
  if (!isAuthorised(call)) {
    exitWith(1, "Error: could not get authorization...");
  }
  printLine(STDOUT_FILENO, "Preparing to run macOS Installer...");
  printProgress(call, "Preparing", 1);
  printLine(STDOUT_FILENO, "Restarting...");
  _exit(0);
}

}  // namespace simulated_mac
