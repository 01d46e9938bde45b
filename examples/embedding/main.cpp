// A complete agent in a few lines: runs two checks of a patch and prints the results.
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/RunLoop.h"
#include "VexloPatchDeployment/VexloPatchDeployment.h"

/// Prints what actions measure, and the progress of downloads and installations.
class Watcher final : public vexlo::ActionObserver {
  void measured(const vexlo::ActionID& action, const vexlo::Measurement& measurement) override {
    std::cout << action << ": " << measurement << '\n';
  }
  void progressed(const vexlo::ActionID& action, const vexlo::ActionProgress& progress) override {
    std::cout << action << ": " << describe(progress) << '\n';
  }
};

int main(int argumentCount, char** arguments) try {
  const std::string root = argumentCount > 1 ? arguments[1] : "/Library/Application Support/Agent";
  vxutils::gv_globvars.setDirectories(
      {.base = root, .data = root + "/data", .logs = root + "/logs"});

  // While the prompt about running applications is shown, this thread's run loop runs, which needs
  // an input source; on macOS the main thread's has one already. It stays idle: one that fires
  // often would end the wait early.
  const auto source = platform::RunLoop::current().addSource([] {});

  vexlo::ProcessPatchActions processor(
      {/*patchID=*/"310990", /*productID=*/"1201", /*servicePackID=*/"2301"});
  processor.setObserver(std::make_shared<Watcher>());
  for (const vexlo::ActionID action :
       {vexlo::KnownAction::minimumDiskSpaceCheck, vexlo::KnownAction::multipleUserLoggedInCheck}) {
    const vexlo::PatchActionResult result = processor.execute(action);
    std::cout << action << ": " << result << '\n';
  }
} catch (const std::exception& error) {
  // The action file is unusable; what() has the file, the place and the reason.
  std::cerr << error.what() << '\n';
  return 1;
}
