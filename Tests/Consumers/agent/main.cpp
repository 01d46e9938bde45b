// agent ROOT: uses each part of the public interface once. Prints the first unexpected result on
// one line and exits with 1.
#include <AgentLibraries/LogCore/Logger.h>
#include <AgentLibraries/LogCore/Text.h>
#include <AgentLibraries/vxutils/AgentServiceServer.h>
#include <AgentLibraries/vxutils/GlobalVars.h>
#include <AgentLibraries/vxutils/Notifications.h>
#include <AgentLibraries/vxutils/RunningCommands.h>
#include <Platform/RunLoop.h>
#include <VexloPatchDeployment/Fakes/FakePatchActionProcessor.h>
#include <VexloPatchDeployment/Validators/Disk/DiskSpaceMeasurement.h>

#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_set>

#include "Updates.h"

static_assert(__cplusplus < 202100L, "the headers are for agents in C++20, too");

namespace {

void require(bool isTrue, const std::string& what) {
  if (!isTrue) {
    throw std::runtime_error("unexpected result: " + what);
  }
}

class Sink final : public LogCore::LogSink {
 public:
  void write(LogCore::LogLevel, const LogCore::LogTag& tag, std::uint32_t,
             const LogCore::MessageBuilder& build) override {
    lines += LogCore::text(tag.file, " ", tag.function, " ", build().text, "\n");
  }
  std::string lines;
};

/// Collects the measurements.
class Watcher final : public vexlo::ActionObserver {
 public:
  std::string measurements;

 private:
  void measured(const vexlo::ActionID& action, const vexlo::Measurement& measurement) override {
    measurements += describe(action) + ": " + describe(measurement) + "\n";
  }
};

void answerFromAFake() {
  vexlo::FakePatchActionProcessor processor;
  processor.plan = {{vexlo::KnownAction::minimumDiskSpaceCheck, {"20"}}};
  processor.answer = [](const vexlo::ActionID&) {
    return vexlo::PatchActionResult::applyLater(
        vexlo::PlainReason::inSufficientDiskSpaceForSoftwareUpdate);
  };
  processor.report = [](const vexlo::ActionID& action, vexlo::ActionObserver& observer) {
    observer.measured(action, vexlo::DiskSpaceMeasurement{.freeBytes = 8'000'000'000,
                                                          .neededBytes = 20'000'000'000});
  };
  const auto watcher = std::make_shared<Watcher>();
  processor.setObserver(watcher);
  require(deploy(processor) ==
              "minimumDiskSpaceCheck: applyLater(inSufficientDiskSpaceForSoftwareUpdate)\n"
              "multipleUserLoggedInCheck: success\n",
          "the fake's answers");
  require(watcher->measurements == "minimumDiskSpaceCheck: 8 GB free, 20 GB needed\n",
          "the fake's measurements: " + watcher->measurements);
  require(std::unordered_set(processor.executed.begin(), processor.executed.end()).size() == 2,
          "the actions executed by the fake");
}

}  // namespace

int main(int, char** arguments) try {
  const std::string root = arguments[1];
  const auto sink = std::make_shared<Sink>();
  const auto former = LogCore::setLogSink(sink);
  answerFromAFake();
  require(sink->lines == "Updates deploy started\n", "a tag of the agent: " + sink->lines);

  vxutils::gv_globvars.setDirectories({.base = "/nowhere", .data = root, .logs = root});
  vxutils::setNotificationHandler([](std::int32_t, void*) {});
  vxutils::endRunningCommands(std::chrono::milliseconds(0));
  require(!platform::RunLoop::current().runDefaultMode(std::chrono::milliseconds(0)),
          "a run loop without a source");
  require(vexlo::TerminalUtil::defaultInstance().run("echo here", {}, {}).output == "here\n",
          "a command");
  require(vexlo::ActionID::decode(vexlo::ActionID("2005").encode()) ==
              vexlo::KnownAction::minimumDiskSpaceCheck,
          "the serialized form");
  require(vexlo::kAllActions.front() == vexlo::KnownAction::siliconBatteryPercentageCheck,
          "the known actions");
  try {
    vxutils::AgentServiceServer("/nowhere/service", [](const std::string&) { return "x"; });
    require(false, "a service without a folder");
  } catch (const std::runtime_error&) {
  }
  try {
    vexlo::ProcessPatchActions({"310990", "1201", "2301"});
    require(false, "a processor without an action file");
  } catch (const vexlo::PatchActionFileError& error) {
    require(!error.details().file.empty(), error.what());
  }
  LogCore::setLogSink(former);
  std::cout << VexloPatchDeploymentVersionString;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
