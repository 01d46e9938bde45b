#include "VexloPatchDeployment/Installers/ToolRun.h"

#include <cstddef>
#include <string_view>

#include "Platform/Text.h"

namespace vexlo {
namespace {

constexpr std::size_t kLongestLine = 200;

/// The last non-blank line, trimmed and truncated. Lines end with a line feed or a carriage return.
std::string_view lastLine(std::string_view output) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t end = output.find_last_not_of(kBlanks);
  if (end == std::string_view::npos) {
    return {};
  }
  output = output.substr(0, end + 1);
  const std::size_t lineEnd = output.find_last_of("\r\n");
  output.remove_prefix(lineEnd == std::string_view::npos ? 0 : lineEnd + 1);
  return platform::trimmed(output).substr(0, kLongestLine);
}

}  // namespace

ToolRunMeasurement toolRun(ToolRunMeasurement::Step step, const std::string& subject,
                           const CommandResult& result) {
  return {.step = step,
          .subject = subject,
          .exitCode = result.exitCode,
          .lastLine = std::string(lastLine(result.output))};
}

}  // namespace vexlo
