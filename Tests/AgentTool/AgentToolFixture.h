// Runs the real tool with a temporary agent root.
#pragma once
#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <utility>

#include "Platform/Process.h"
#include "Tests/Fakes/TemporaryDirectory.h"

/// The result of running the tool.
struct ToolRun {
  int status = 0;
  std::string output;
  std::string errors;
};

class AgentToolTest : public ::testing::Test {
 protected:
  /// Writes the agent's action file and returns its path.
  std::string writeActions(std::string_view json) {
    return root.write("client-data/patch-resources/mac-patch-actions.json", json);
  }

  /// Runs a shell command in the agent root, to which VEXLO_AGENT_ROOT is set. `vexlo-patch` is the
  /// tool; $patch selects patch 1 of product 2, service pack 3.
  [[nodiscard]] ToolRun shell(const std::string& text) const {
    const std::string script =
        "cd \"$1\"; export VEXLO_AGENT_ROOT=\"$PWD\" PATH=\"$2:$PATH\"\n"
        "patch='--patch 1 --product 2 --service-pack 3'\n{ " +
        text + "\n} 2> errors";
    platform::ProcessResult result = platform::runProcess(
        {.executable = "/bin/sh",
         .arguments = {"-c", script, "sh", root.path(), VEXLO_PATCH_TOOL_FOLDER}});
    return {result.exitCode, std::move(result.output), root.read("errors")};
  }

  TemporaryDirectory root;
};
