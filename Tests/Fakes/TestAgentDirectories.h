// The agent's directories for a test program.
#pragma once
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Tests/Fakes/TemporaryDirectory.h"

/// One temporary directory for the whole program, with the agent's directories `base`, `data` and
/// `logs`. Only one, because the library determines its paths once per process: fixtures that need
/// them call this before they use a path.
inline const TemporaryDirectory& testAgentDirectories() {
  static const TemporaryDirectory root;
  vxutils::gv_globvars.setDirectories(
      {.base = root.file("base"), .data = root.file("data"), .logs = root.file("logs")});
  return root;
}
