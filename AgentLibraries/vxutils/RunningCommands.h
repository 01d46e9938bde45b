// Ends what the library is waiting for, for an agent that has to stop.
#pragma once
#include <chrono>

#include "Platform/Export.h"

namespace vxutils {

/// Kills every command and tool that this process is running through the library, with its process
/// group: SIGTERM, then SIGKILL after `grace`. Commands run in their own sessions, so they don't
/// see a Ctrl-C or the end of the agent's session. Also ends the library's pauses, such as the 30
/// seconds before an installer's second attempt.
///
/// Returns when the commands have exited, or shortly after SIGKILL; true if there was one. The
/// action that ran a command sees it fail with status 143 and continues as after any failure, for
/// example with a second attempt. An agent that stops should therefore call this right before it
/// exits, or repeatedly until `execute` returns. A prompt that the user sees stays until it is
/// answered or its time is up, because an unanswered one may count as agreement.
///
/// Thread-safe and async-signal-safe. Tracks at most 128 concurrent commands.
VEXLO_EXPORT bool endRunningCommands(std::chrono::milliseconds grace) noexcept;

}  // namespace vxutils
