#include "AgentTool/ActionFiles/ArgumentKinds.h"

#include <algorithm>
#include <cstddef>
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
constexpr bool isLowerCaseLetter(char c) { return c >= 'a' && c <= 'z'; }

/// Such as «14.5»: numbers separated by dots; with the letter of a background security improvement,
/// such as «26.3.1 (a)».
bool isVersion(std::string_view text) {
  if (text.size() > 4 && text.ends_with(')') && text.substr(text.size() - 4, 2) == " (" &&
      isLowerCaseLetter(text[text.size() - 2])) {
    text.remove_suffix(4);
  }
  bool afterDigit = false;
  for (const char c : text) {
    if (!isDigit(c) && !(c == '.' && afterDigit)) {
      return false;
    }
    afterDigit = isDigit(c);
  }
  return afterDigit;
}

/// Such as «23F79» or, of a beta, «24C5057p»: digits, a capital letter, digits, perhaps a small
/// letter.
bool isBuild(std::string_view text) {
  const auto skipDigits = [&] {
    const std::size_t count = std::ranges::find_if_not(text, isDigit) - text.begin();
    text.remove_prefix(count);
    return count > 0;
  };
  if (!skipDigits() || text.empty() || text.front() < 'A' || text.front() > 'Z') {
    return false;
  }
  text.remove_prefix(1);
  return skipDigits() && (text.empty() || (text.size() == 1 && isLowerCaseLetter(text.front())));
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

std::optional<ArgumentProblem> problemWithInteger(const vexlo::ActionArgument& what,
                                                  std::string_view argument) {
  const std::optional<std::int64_t> number = vexlo::parseInteger(argument);
  if (!number) {
    return unusable(
        text(inQuotes(argument),
             " is not an integer (an optional sign, then digits only): ", kAppliesLater));
  }
  if (argument.starts_with('-')) {
    return what.ifNegative.empty() ? std::nullopt
                                   : std::optional(questionable(text(
                                         inQuotes(argument), " is negative: ", what.ifNegative)));
  }
  if (*number > what.largest) {
    return questionable(
        text(inQuotes(argument), " is more than ", what.largest, ": ", what.ifLarger));
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

/// softwareupdate downloads nothing for a label that differs from its list in any character.
std::optional<ArgumentProblem> problemWithLabel(std::string_view argument) {
  if (argument.empty()) {
    return unusable("the softwareupdate label is empty");
  }
  if (hasBlanksAround(argument)) {
    return questionable(text(inQuotes(argument), " has spaces around it, which no label has"));
  }
  if (argument.starts_with('*') || argument.starts_with('-') || argument.starts_with("Label:")) {
    return questionable(text(inQuotes(argument),
                             " is a line of softwareupdate's list: the label is what follows "
                             "\"Label: \""));
  }
  if (isBuild(argument)) {
    return questionable(text(inQuotes(argument),
                             " is only a build: the label is needed, such as \"macOS Sonoma "
                             "14.5-23F79\""));
  }
  if (!isBuild(argument.substr(argument.rfind('-') + 1))) {
    return questionable(text(inQuotes(argument),
                             " doesn't end in a hyphen and a build, such as \"macOS Sonoma "
                             "14.5-23F79\""));
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

bool hasBlanksAround(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  return !text.empty() && (kBlanks.contains(text.front()) || kBlanks.contains(text.back()));
}

std::string_view versionInLabel(std::string_view label) {
  label = label.substr(0, label.rfind('-'));
  for (std::size_t start = 0; start < label.size();) {
    const std::string_view word = label.substr(start, label.find(' ', start) - start);
    if (isVersion(word)) {
      return word;
    }
    start += word.size() + 1;
  }
  return {};
}

std::string patternOf(const vexlo::ActionArgument& argument) {
  switch (argument.kind) {
    case vexlo::ArgumentKind::integer: {
      const std::string largest = text(argument.largest);  // 1, then zeros
      return text(argument.ifNegative.empty() ? R"(^-[0-9]+$|)" : "", R"(^\+?0*()", largest,
                  "|[0-9]{1,", largest.size() - 1, "})$");
    }
    case vexlo::ArgumentKind::macOSVersion:
      return R"(^[0-9]+(\.[0-9]+)*( \([a-z]\))?$)";
    case vexlo::ArgumentKind::updateLabel:
      return R"(^(?![\s*-]|Label:).+-[0-9]+[A-Z][0-9]+[a-z]?$)";
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
      return problemWithInteger(argument, value);
    case vexlo::ArgumentKind::macOSVersion:
      if (!isVersion(value)) {
        return questionable(text(inQuotes(value), " is not a macOS version such as \"14.5\""));
      }
      if (!argument.ifLarger.empty() &&
          vexlo::parseInteger(value.substr(0, value.find('.'))).value_or(0) > argument.largest) {
        return questionable(text(inQuotes(value), ": ", argument.ifLarger));
      }
      return std::nullopt;
    case vexlo::ArgumentKind::updateLabel:
      return problemWithLabel(value);
    case vexlo::ArgumentKind::bundleIdentifier:
      return problemWithBundleIdentifier(value);
    case vexlo::ArgumentKind::applicationPath:
      return problemWithPath(value);
  }
  std::unreachable();
}

}  // namespace agent_tool
