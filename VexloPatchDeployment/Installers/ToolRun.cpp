#include "VexloPatchDeployment/Installers/ToolRun.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "Platform/Memory.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"

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

std::string_view nameOf(ToolRunMeasurement::Step step) {
  constexpr std::array<std::string_view, 3> kNames{"download", "installation", "upgrade"};
  return kNames.at(std::to_underlying(step));
}

}  // namespace

std::string userOptions(const std::optional<Credentials>& credentials) {
  return credentials
             ? text(" --user \"", insideDoubleQuotes(credentials->userName), "\" --stdinpass")
             : "";
}

CommandResult runWithPassword(const std::string& line,
                              const std::optional<Credentials>& credentials,
                              CommandExecutor& executor) {
  if (!credentials) {
    return executor.run(line, kShell, std::nullopt);
  }
  std::optional<std::string> password = credentials->password;
  const platform::WipeAtEnd wipePassword(*password);
  return executor.run(line, kShell, password);
}

ToolRunMeasurement toolRun(ToolRunMeasurement::Step step, const std::string& subject,
                           const CommandResult& result) {
  return {.step = step,
          .subject = subject,
          .exitCode = result.exitCode,
          .lastLine = std::string(lastLine(result.output))};
}

std::string ToolRunMeasurement::words() const {
  std::string out = text(nameOf(step), " ended with status ", exitCode);
  return lastLine.empty() ? out : text(out, ", \"", lastLine, '"');
}

std::string ToolRunMeasurement::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addString("step", nameOf(step))
      .addString("subject", subject)
      .addNumber("exitCode", exitCode)
      .addString("lastLine", lastLine)
      .done();
}

std::string UpdateNotListed::words() const { return text("softwareupdate lists no ", build); }

std::string UpdateNotListed::json() const {
  return FileCodec::JSONObject().addString("kind", kind).addString("build", build).done();
}

}  // namespace vexlo
