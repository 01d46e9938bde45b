// Ends the commands that are running, for an agent that has to stop.
#pragma once
#include <chrono>

namespace vxutils {

/// Ends every command and tool that this process is running through the library, each with its
/// whole process group: SIGTERM, then SIGKILL for what has not ended after `grace`. Commands sit in
/// sessions of their own, so they see neither a Ctrl-C nor the end of the agent's own session.
///
/// Returns when they have ended, or a moment after the SIGKILL; true when there was one. The action
/// that ran such a command counts as failed with status 143, and goes on with what follows a
/// failure, such as a second try after half a minute: an agent that stops calls this right before
/// it ends, or calls it again for as long as `execute` has not returned.
///
/// Safe on any thread, and in a signal handler. Knows the first 128 commands that run at a time.
bool endRunningCommands(std::chrono::milliseconds grace) noexcept;

}  // namespace vxutils
