// The stand-in programs of a simulated Mac. Each handles one call and exits.
#pragma once
#include "SimulatedMac/ToolCall.h"

namespace simulated_mac {

[[noreturn]] void softwareUpdate(ToolCall& call);
[[noreturn]] void mdmClient(ToolCall& call);
[[noreturn]] void profiles(ToolCall& call);
[[noreturn]] void startOSInstall(ToolCall& call);

/// `open -a PROGRAM --args …`: starts the program in the console user's session and returns.
[[noreturn]] void openApplication(ToolCall& call);
[[noreturn]] void sudo(ToolCall& call);
/// `launchctl asuser UID PROGRAM…`: runs the program in that user's session, still as root.
[[noreturn]] void launchctl(ToolCall& call);

/// The agent's prompt: waits while the user thinks, writes the answer and ends.
[[noreturn]] void prompt(ToolCall& call);
/// Any other application: reports that it has started and runs until it is killed.
[[noreturn]] void application(ToolCall& call);

}  // namespace simulated_mac
