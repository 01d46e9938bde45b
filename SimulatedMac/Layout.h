// Paths and names inside the simulated Mac.
#pragma once
#include <string_view>

namespace simulated_mac {

/// The agent's installation: base directory, with data/, logs/, run/, bin/ and client-data/ below.
inline constexpr const char* kAgentRoot = "/Library/Application Support/VexloAgent";
inline constexpr const char* kPromptExecutable =
    "/Library/Application Support/VexloAgent/bin/VexloAppRunningNotifier.app/Contents/MacOS/"
    "VexloAppRunningNotifier";
inline constexpr const char* kPromptBundleIdentifier = "com.tervane.ApplicationRunningPrompt";
inline constexpr const char* kReturnCodeFile =
    "/Library/Application Support/VexloAgent/logs/UserLogs/ApplicationRunningPromptretcode.txt";
inline constexpr const char* kServiceSocket =
    "/Library/Application Support/VexloAgent/run/agent-service.sock";
inline constexpr const char* kPatchDataFile =
    "/Library/Application Support/VexloAgent/data/vxpatch_data.plist";

/// For the stand-ins only: the effective scenario, the record of calls, call counts, and the
/// program that all stand-in tools link to.
inline constexpr const char* kScenarioFile = "/.simulated-mac/scenario.ini";
inline constexpr const char* kRecordFile = "/.simulated-mac/calls";
inline constexpr const char* kCountDirectory = "/.simulated-mac/counts";
inline constexpr const char* kToolProgram = "/.simulated-mac/tool";

/// Environment variables that pass the current user to the stand-ins' children, since a user
/// namespace may have no second user to change to.
inline constexpr const char* kUserVariable = "SIMULATED_MAC_USER";
inline constexpr const char* kSessionVariable = "SIMULATED_MAC_SESSION";

/// What an application or the agent's service writes to the pipe on which `enter` waits for it.
inline constexpr std::string_view kReady = "+";

}  // namespace simulated_mac
