// Ends the tool on signals.
#pragma once

namespace agent_tool {

/// Handles SIGINT, SIGTERM, SIGHUP and SIGQUIT, unless the tool was started with them ignored. The
/// programs that the tool is running, which have their own process groups and so don't see a
/// Ctrl-C, get SIGTERM and, after two seconds or a second signal, SIGKILL. No further action
/// starts, no result is printed, and the tool is killed by the signal, as its caller expects.
/// `terminal` is the descriptor that shows activity, or -1. Ignores SIGPIPE, so that a closed pipe
/// doesn't interrupt an installation. Called once, on the main thread, which runs the actions.
void handleTerminationSignals(int terminal);

/// Whether such a signal was received.
[[nodiscard]] bool isInterrupted() noexcept;

}  // namespace agent_tool
