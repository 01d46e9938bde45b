#include "SimulatedMac/EnterOptions.h"

#include <filesystem>

namespace simulated_mac {

std::expected<EnterOptions, std::string> parseOptions(const std::vector<std::string>& arguments) {
  EnterOptions options;
  auto next = arguments.begin();
  for (; next != arguments.end() && *next != "--"; ++next) {
    if (*next == "--records" || *next == "--set") {
      const std::string& option = *next;
      ++next;
      if (next == arguments.end() || next->empty()) {
        return std::unexpected(option + " needs a value");
      }
      if (option == "--set") {
        options.settings.push_back(*next);
      } else {
        options.records = std::filesystem::absolute(*next);
      }
    } else if (*next == "--user-namespace") {
      options.userNamespace = true;
    } else if (*next == "--print") {
      options.prints = true;
    } else if (next->starts_with("-") || !options.scenario.empty()) {
      return std::unexpected("unexpected \"" + *next + "\"");
    } else {
      options.scenario = *next;
    }
  }
  if (next != arguments.end()) {
    options.command.assign(next + 1, arguments.end());
  }
  if (options.scenario.empty() || options.command.empty() != options.prints) {
    return std::unexpected("expected SCENARIO -- COMMAND");
  }
  return options;
}

}  // namespace simulated_mac
