// Ends the tool when its user, or the system, asks it to.
#pragma once

namespace agent_tool {

/// From now on SIGINT, SIGTERM, SIGHUP and SIGQUIT, unless the tool was started with them
/// ignored, end the tool so that nothing of it is left behind: programs that it runs, which sit in
/// process groups of their own and so never see a Ctrl-C, get SIGTERM, two seconds, then SIGKILL.
/// A second signal spares them the two seconds. No further action starts, no result is told, and
/// the tool ends by the signal, as its caller expects. `terminal` is the descriptor that shows
/// activity, -1 without one. SIGPIPE is ignored: a reader that goes must not leave an
/// installation half done.
/// To be called once, on the main thread, which is the one that runs the actions.
void endCleanlyWhenInterrupted(int terminal);

/// Whether such a signal has come.
[[nodiscard]] bool isInterrupted() noexcept;

}  // namespace agent_tool
