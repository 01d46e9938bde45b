// The text of --help. Its layout is the tool's own, because CLI11's differs between versions.
#pragma once
#include <CLI/CLI.hpp>
#include <string>

namespace agent_tool {

inline constexpr const char* kProgram = "vexlo-patch";
/// The groups of options, with their headings.
inline constexpr const char* kUsualGroup = "Options";
inline constexpr const char* kPatchGroup = "Patch";
inline constexpr const char* kAgentGroup = "Agent";

/// The help for the program or one of its commands.
[[nodiscard]] std::string helpText(const CLI::App& app);

}  // namespace agent_tool
