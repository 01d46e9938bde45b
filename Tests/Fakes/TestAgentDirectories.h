// The agent's directories of a test program.
#pragma once
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Tests/Fakes/TemporaryDirectory.h"

/// One temporary directory for the whole program, with the agent's base directory `base`, its
/// data directory `data` and its log directory `logs` in it. One, because the library works its
/// paths out once per process: a fixture that needs them calls this before it asks for a path.
inline const TemporaryDirectory& testAgentDirectories() {
  static const TemporaryDirectory root;
  vxutils::gv_globvars.setDirectories(
      {.base = root.file("base"), .data = root.file("data"), .logs = root.file("logs")});
  return root;
}
