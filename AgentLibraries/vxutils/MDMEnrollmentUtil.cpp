#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"

#include <optional>
#include <ranges>
#include <string_view>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Text.h"

namespace vxutils {
namespace {

using LogCore::text;

constexpr LogCore::LogTag kEnrollmentTag{"getEnrollmentType()"};
constexpr const char* kTool = "/usr/bin/profiles";
constexpr std::string_view kBlanks = " \t\r";
constexpr std::size_t kMaximumOutputBytes = std::size_t{64} * 1024;

/// The answer in the first line that starts with `question`: true for "Yes…"; absent if there is
/// none.
std::optional<bool> answerTo(std::string_view question, std::string_view report) {
  for (const auto piece : std::views::split(report, '\n')) {
    const std::string_view line = platform::trimmed(std::string_view(piece), kBlanks);
    if (line.starts_with(question)) {
      const std::string_view answer = platform::trimmed(line.substr(question.size()), kBlanks);
      return answer == "Yes" || answer.starts_with("Yes ");
    }
  }
  return std::nullopt;
}

}  // namespace

EnrollmentType enrollmentFrom(const platform::ProcessResult& run) {
  if (run.startError == std::errc::no_such_file_or_directory) {
    logInfo(kEnrollmentTag,
            [] { return text("No ", kTool, " here, considering it as not enrolled."); });
    return EnrollmentType::not_enrolled;
  }
  if (run.startError) {
    logError(kEnrollmentTag, [&] {
      return text("Could not start ", kTool,
                  ", considering it as not enrolled: ", run.startError.message(), ".");
    });
    return EnrollmentType::not_enrolled;
  }
  const bool statusIsKnown = run.exitCode != platform::ProcessResult::kUnknownStatus;
  if (run.timedOut || (statusIsKnown && run.exitCode != 0)) {
    logError(kEnrollmentTag, [&] {
      return text(kTool, " failed, considering it as not enrolled. Exit code: ", run.exitCode,
                  ", timed out: ", run.timedOut, ", output: ", run.output);
    });
    return EnrollmentType::not_enrolled;
  }
  const bool viaDEP = answerTo("Enrolled via DEP:", run.output).value_or(false);
  if (!answerTo("MDM enrollment:", run.output).value_or(viaDEP)) {
    return EnrollmentType::not_enrolled;
  }
  return viaDEP ? EnrollmentType::dep : EnrollmentType::user_approved;
}

MDMEnrollmentUtil& MDMEnrollmentUtil::shared() {
  static MDMEnrollmentUtil instance;
  return instance;
}

EnrollmentType MDMEnrollmentUtil::getEnrollmentType(std::chrono::milliseconds timeout) const {
  return enrollmentFrom(platform::runProcess({.executable = kTool,
                                              .arguments = {"status", "-type", "enrollment"},
                                              .timeout = timeout,
                                              .maximumOutputBytes = kMaximumOutputBytes}));
}

}  // namespace vxutils
