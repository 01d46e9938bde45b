// The command line of `enter`.
#pragma once
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

inline constexpr std::string_view kEnterUsage =
    "usage: enter [--records FILE] [--set SECTION/KEY=VALUE]… [--user-namespace]\n"
    "             SCENARIO -- COMMAND [ARGUMENT]…\n"
    "       enter [--set SECTION/KEY=VALUE]… --print SCENARIO\n"
    "       enter --list | --help\n"
    "SCENARIO is a name that --list shows, or the path of a file of your own, with a \"/\" in it.\n"
    "--records appends a line for each call of a tool to FILE. A new FILE is made writable for\n"
    "everyone, since the Mac's users write to it; an existing one must be writable for them.\n"
    "Exit status: the command's, or 64 for bad usage, 65 for an invalid scenario, 70 when "
    "something\n"
    "in the Mac doesn't start, 77 when the system allows no simulated Mac.\n";

struct EnterOptions {
  std::string scenario;
  std::vector<std::string> settings;
  std::optional<std::string> records;
  bool userNamespace = false;  ///< Create a user namespace even for root.
  bool prints = false;         ///< Only print the effective settings.
  std::vector<std::string> command;
};

/// Reads the arguments without the program's name. The error is one line for the user.
[[nodiscard]] std::expected<EnterOptions, std::string> parseOptions(
    const std::vector<std::string>& arguments);

}  // namespace simulated_mac
