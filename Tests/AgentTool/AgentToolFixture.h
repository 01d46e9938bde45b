// Runs the real tool on an agent root of its own.
#pragma once
#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Process.h"
#include "Tests/Fakes/TemporaryDirectory.h"

/// What the tool left.
struct ToolRun {
  std::int32_t status = 0;
  std::string output;
  std::string errors;
};

class AgentToolTest : public ::testing::Test {
 protected:
  static constexpr std::string_view kActionFile =
      "client-data/patch-resources/mac-patch-actions.json";

  /// Writes the agent's action file and returns its path.
  std::string writeActions(std::string_view json) { return root.write(kActionFile, json); }

  /// Runs the tool without an agent root of its environment; `environment` holds `NAME=value`.
  [[nodiscard]] ToolRun tool(const std::vector<std::string>& arguments,
                             const std::vector<std::string>& environment = {}) const {
    std::vector<std::string> words = {
        "-c",
        R"(out=$1 errors=$2; shift 2; exec env "$@" >"$out" 2>"$errors")",
        "sh",
        outputFile,
        root.file("errors"),
        "-u",
        "VEXLO_AGENT_ROOT"};
    words.insert(words.end(), environment.begin(), environment.end());
    words.emplace_back(VEXLO_PATCH_TOOL);
    words.insert(words.end(), arguments.begin(), arguments.end());
    platform::ProcessResult result =
        platform::runProcess({.executable = "/bin/sh", .arguments = std::move(words)});
    return {result.exitCode, std::move(result.output), root.read("errors")};
  }

  /// Runs `command` for the patch 1 of product 2, service pack 3, on the test's agent root.
  [[nodiscard]] ToolRun toolForPatch(const std::string& command,
                                     const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {command,    "--patch",        "1", "--product",
                                          "2",        "--service-pack", "3", "--agent-root",
                                          root.path()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return tool(arguments);
  }

  TemporaryDirectory root;
  std::string outputFile = "/dev/stdout";  ///< What the tool writes to.
};
