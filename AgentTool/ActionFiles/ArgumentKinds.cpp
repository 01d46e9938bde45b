#include "AgentTool/ActionFiles/ArgumentKinds.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/PrintableText.h"
#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/Common/Numbers.h"

namespace agent_tool {
namespace {

using LogCore::text;

ArgumentProblem unusable(std::string what) {
  return {.kind = FindingKind::unusableArgument, .text = std::move(what)};
}
ArgumentProblem questionable(std::string what) {
  return {.kind = FindingKind::questionableArgument, .text = std::move(what)};
}

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Such as «14.5»: numbers separated by dots.
bool isVersion(std::string_view text) {
  bool afterDigit = false;
  for (const char c : text) {
    if (!isDigit(c) && !(c == '.' && afterDigit)) {
      return false;
    }
    afterDigit = isDigit(c);
  }
  return afterDigit;
}

/// Such as «com.apple.Safari»: at least two words of letters, digits, hyphens and underscores.
bool isBundleIdentifier(std::string_view text) {
  bool afterDot = true;
  bool hasDot = false;
  for (const char c : text) {
    const char lower = vexlo::asciiLowerCase(c);
    if (c == '.' ? afterDot
                 : !(lower >= 'a' && lower <= 'z') && !isDigit(c) && c != '-' && c != '_') {
      return false;
    }
    afterDot = c == '.';
    hasDot = hasDot || afterDot;
  }
  return hasDot && !afterDot;
}

std::optional<ArgumentProblem> problemWithInteger(std::string_view argument, std::int64_t most,
                                                  std::string_view whyNotMore) {
  const std::optional<std::int64_t> number = vexlo::parseInteger(argument);
  if (!number) {
    return unusable(
        text(inQuotes(argument),
             " is not an integer (an optional sign, then digits only): ", kAppliesLater));
  }
  if (*number < 0 || argument.starts_with('-')) {
    return questionable(text(inQuotes(argument), " is negative: the check always passes"));
  }
  if (*number > most) {
    return questionable(text(inQuotes(argument), " is more than ", most, ": ", whyNotMore));
  }
  return std::nullopt;
}

std::optional<ArgumentProblem> problemWithBundleIdentifier(std::string_view argument) {
  if (argument.empty()) {
    return unusable("the bundle identifier is empty");
  }
  if (argument.ends_with(".app") || argument.ends_with(".app/")) {
    return questionable(text(inQuotes(argument),
                             " is an application's file; its bundle identifier is needed, such as "
                             "\"com.apple.Safari\""));
  }
  if (!isBundleIdentifier(argument)) {
    return questionable(
        text(inQuotes(argument), " is not a bundle identifier such as \"com.apple.Safari\""));
  }
  return std::nullopt;
}

std::optional<ArgumentProblem> problemWithPath(std::string_view argument) {
  if (argument.empty()) {
    return unusable("the application's path is empty");
  }
  if (!argument.starts_with('/')) {
    return questionable(text(inQuotes(argument),
                             " is not an absolute path: it is relative to the agent's working "
                             "directory"));
  }
  if (!argument.ends_with(".app") && !argument.ends_with(".app/")) {
    return questionable(
        text(inQuotes(argument), " is not an application: its name doesn't end in \".app\""));
  }
  return std::nullopt;
}

}  // namespace

std::string patternOf(const vexlo::ActionArgument& argument) {
  switch (argument.kind) {
    case vexlo::ArgumentKind::integer: {
      const std::string most = text(argument.most);  // 1, then zeros
      return text(R"(^\+?0*()", most, "|[0-9]{1,", most.size() - 1, "})$");
    }
    case vexlo::ArgumentKind::macOSVersion:
      return R"(^[0-9]+(\.[0-9]+)*$)";
    case vexlo::ArgumentKind::updateLabel:
      return ".";
    case vexlo::ArgumentKind::bundleIdentifier:
      return R"(^[A-Za-z0-9_-]+(\.[A-Za-z0-9_-]+)+$)";
    case vexlo::ArgumentKind::applicationPath:
      return R"(^/.*\.app/?$)";
  }
  std::unreachable();
}

std::optional<ArgumentProblem> problemWith(const vexlo::ActionArgument& argument,
                                           std::string_view value) {
  switch (argument.kind) {
    case vexlo::ArgumentKind::integer:
      return problemWithInteger(value, argument.most, argument.whyNotMore);
    case vexlo::ArgumentKind::macOSVersion:
      if (!isVersion(value)) {
        return questionable(text(inQuotes(value), " is not a macOS version such as \"14.5\""));
      }
      return std::nullopt;
    case vexlo::ArgumentKind::updateLabel:
      if (value.empty()) {
        return unusable("the softwareupdate label is empty");
      }
      return std::nullopt;
    case vexlo::ArgumentKind::bundleIdentifier:
      return problemWithBundleIdentifier(value);
    case vexlo::ArgumentKind::applicationPath:
      return problemWithPath(value);
  }
  std::unreachable();
}

}  // namespace agent_tool
