// Kills running commands, for an agent that has to stop.
#pragma once
#include <chrono>

#include "Platform/Export.h"

namespace vxutils {

/// Kills every command and tool that this process is running through the library, with its process
/// group: SIGTERM, then SIGKILL after `grace`. Commands run in their own sessions, so they don't
/// see a Ctrl-C or the end of the agent's session.
///
/// Returns when they have exited, or shortly after SIGKILL; true if there was one. The action that
/// ran a command sees it fail with status 143 and continues as after any failure, for example with
/// a second attempt after 30 seconds. An agent that stops should therefore call this right before
/// it exits, or repeatedly until `execute` returns.
///
/// Thread-safe and async-signal-safe. Tracks at most 128 concurrent commands.
VEXLO_EXPORT bool endRunningCommands(std::chrono::milliseconds grace) noexcept;

}  // namespace vxutils
