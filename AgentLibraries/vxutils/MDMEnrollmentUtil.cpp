#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentLibraries/vxutils/EnrollmentStatus.h"
#include "Platform/Process.h"

namespace vxutils {
namespace {

using LogCore::text;

constexpr LogCore::LogTag kEnrollmentTag{"getEnrollmentType()"};
constexpr const char* kTool = "/usr/bin/profiles";
constexpr std::size_t kMaximumOutputBytes = std::size_t{64} * 1024;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// The answer in the first line that starts with `question`: true for "Yes…"; absent if there is
/// none.
std::optional<bool> answerTo(std::string_view question, std::string_view report) {
  while (!report.empty()) {
    const std::size_t end = std::min(report.find('\n'), report.size());
    const std::string_view line = trimmed(report.substr(0, end));
    if (line.starts_with(question)) {
      const std::string_view answer = trimmed(line.substr(question.size()));
      return answer == "Yes" || answer.starts_with("Yes ");
    }
    report.remove_prefix(std::min(end + 1, report.size()));
  }
  return std::nullopt;
}

/// Whether the tool has reported; if not, logs why.
bool hasReported(const platform::ProcessResult& run) {
  if (run.startError == std::errc::no_such_file_or_directory) {
    logInfo(kEnrollmentTag,
            [] { return text("No ", kTool, " here, considering it as not enrolled."); });
    return false;
  }
  if (run.startError) {
    logError(kEnrollmentTag, [&] {
      return text("Could not start ", kTool,
                  ", considering it as not enrolled: ", run.startError.message(), ".");
    });
    return false;
  }
  const bool statusIsKnown = run.exitCode != platform::ProcessResult::kUnknownStatus;
  if (run.timedOut || (statusIsKnown && run.exitCode != 0)) {
    logError(kEnrollmentTag, [&] {
      return text(kTool, " failed, considering it as not enrolled. Exit code: ", run.exitCode,
                  ", timed out: ", run.timedOut, ", output: ", run.output);
    });
    return false;
  }
  return true;
}

}  // namespace

EnrollmentType enrollmentFrom(const platform::ProcessResult& run) {
  if (!hasReported(run)) {
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
  platform::ProcessRequest request;
  request.executable = kTool;
  request.arguments = {"status", "-type", "enrollment"};
  request.timeout = timeout;
  request.maximumOutputBytes = kMaximumOutputBytes;
  return enrollmentFrom(platform::runProcess(request));
}

}  // namespace vxutils
