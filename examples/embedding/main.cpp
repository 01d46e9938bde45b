// A whole agent in a few lines: runs two checks of a patch and says what came of them.
#include <exception>
#include <iostream>
#include <string>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/RunLoop.h"
#include "VexloPatchDeployment/VexloPatchDeployment.h"

int main(int argumentCount, char** arguments) try {
  const std::string root = argumentCount > 1 ? arguments[1] : "/Library/Application Support/Agent";
  vxutils::gv_globvars.setDirectories(
      {.base = root, .data = root + "/data", .logs = root + "/logs"});

  // A prompt about running applications is waited for with this thread's run loop, which needs
  // something to wait for.
  const auto source = platform::RunLoop::current().addSource([] {});

  vexlo::ProcessPatchActions processor(
      {/*patchID=*/"310990", /*productID=*/"1201", /*servicePackID=*/"2301"});
  for (const vexlo::ActionID action :
       {vexlo::KnownAction::minimumDiskSpaceCheck, vexlo::KnownAction::multipleUserLoggedInCheck}) {
    std::cout << action << ": " << processor.execute(action) << '\n';
  }
} catch (const std::exception& error) {  // the action file can't be used: which, where and why
  std::cerr << error.what() << '\n';
  return 1;
}
