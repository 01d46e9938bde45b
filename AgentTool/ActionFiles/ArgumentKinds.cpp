#include "AgentTool/ActionFiles/ArgumentKinds.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <ranges>
#include <utility>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/PrintableText.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/Common/Numbers.h"

namespace agent_tool {
namespace {

using LogCore::text;
using vexlo::ActionArgument;
using vexlo::ArgumentKind;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLowerCaseLetter(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isOfIdentifier(char c) {
  return isLowerCaseLetter(vexlo::asciiLowerCase(c)) || isDigit(c) || c == '-' || c == '_';
}

/// Whether the text consists of words of such characters, separated by dots.
bool isDotted(std::string_view text, bool (*isAllowed)(char)) {
  return !text.empty() && std::ranges::all_of(std::views::split(text, '.'), [&](const auto& word) {
    return !word.empty() && std::ranges::all_of(word, isAllowed);
  });
}

/// Such as «14.5»: numbers separated by dots; with the letter of a background security improvement,
/// such as «26.3.1 (a)».
bool isVersion(std::string_view text) {
  constexpr std::size_t kLetterLength = std::string_view(" (a)").size();
  const std::size_t end = text.size() - std::min(text.size(), kLetterLength);
  const std::string_view letter = text.substr(end);
  return isDotted(letter.starts_with(" (") && letter.ends_with(')') && isLowerCaseLetter(letter[2])
                      ? text.substr(0, end)
                      : text,
                  isDigit);
}

/// Such as «23F79» or, of a beta, «24C5057p»: digits, a capital letter, digits, perhaps a small
/// letter.
bool isBuild(std::string_view text) {
  const std::size_t letter = std::min(text.find_first_not_of("0123456789"), text.size());
  std::string_view end = text.substr(letter);
  if (letter == 0 || end.empty() || end.front() < 'A' || end.front() > 'Z') {
    return false;
  }
  end.remove_prefix(1);
  if (!end.empty() && isLowerCaseLetter(end.back())) {
    end.remove_suffix(1);
  }
  return !end.empty() && std::ranges::all_of(end, isDigit);
}

constexpr bool isApplication(std::string_view path) {
  return path.ends_with(".app") || path.ends_with(".app/");
}

// What is wrong with a value that isn't empty, to be read after it; empty if nothing is.

std::string problemOfInteger(const ActionArgument& argument, std::string_view value) {
  const std::optional<std::int64_t> number = vexlo::parseInteger(value);
  if (!number) {
    return text(" is not an integer (an optional sign, then digits only): ", kAppliesLater);
  }
  if (value.starts_with('-')) {
    return argument.ifNegative.empty() ? "" : text(" is negative: ", argument.ifNegative);
  }
  return *number <= argument.largest
             ? ""
             : text(" is more than ", argument.largest, ": ", argument.ifLarger);
}

std::string problemOfVersion(const ActionArgument& argument, std::string_view value) {
  if (!isVersion(value)) {
    return " is not a macOS version such as \"14.5\"";
  }
  const auto major = vexlo::parseInteger(value.substr(0, value.find('.')));
  return argument.ifLarger.empty() || major.value_or(0) <= argument.largest
             ? ""
             : text(": ", argument.ifLarger);
}

/// softwareupdate downloads nothing for a label that differs from its list in any character.
std::string problemOfLabel(const ActionArgument& /*argument*/, std::string_view value) {
  if (hasBlanksAround(value)) {
    return " has spaces around it, which no label has";
  }
  if (value.starts_with('*') || value.starts_with('-') || value.starts_with("Label:")) {
    return " is a line of softwareupdate's list: the label is what follows \"Label: \"";
  }
  if (isBuild(value)) {
    return " is only a build: the label is needed, such as \"macOS Sonoma 14.5-23F79\"";
  }
  return isBuild(value.substr(value.rfind('-') + 1))
             ? ""
             : " doesn't end in a hyphen and a build, such as \"macOS Sonoma 14.5-23F79\"";
}

std::string problemOfBundleIdentifier(const ActionArgument& /*argument*/, std::string_view value) {
  if (isApplication(value)) {
    return " is an application's file; its bundle identifier is needed, such as "
           "\"com.apple.Safari\"";
  }
  return value.contains('.') && isDotted(value, isOfIdentifier)
             ? ""
             : " is not a bundle identifier such as \"com.apple.Safari\"";
}

std::string problemOfPath(const ActionArgument& /*argument*/, std::string_view value) {
  if (!value.starts_with('/')) {
    return " is not an absolute path: it is relative to the agent's working directory";
  }
  return isApplication(value) ? "" : " is not an application: its name doesn't end in \".app\"";
}

struct ArgumentFormat {
  std::string_view pattern;  ///< Of integers, it depends on the argument.
  std::string_view ifEmpty;  ///< Why an empty value is unusable, unless `problem` says so.
  std::string (&problem)(const ActionArgument& argument, std::string_view value);
};

const ArgumentFormat& formatOf(ArgumentKind kind) {
  static constexpr std::array kFormats{
      ArgumentFormat{"", "", problemOfInteger},
      ArgumentFormat{R"(^[0-9]+(\.[0-9]+)*( \([a-z]\))?$)", "", problemOfVersion},
      ArgumentFormat{R"(^(?![\s*-]|Label:).+-[0-9]+[A-Z][0-9]+[a-z]?$)",
                     "the softwareupdate label is empty", problemOfLabel},
      ArgumentFormat{R"(^[A-Za-z0-9_-]+(\.[A-Za-z0-9_-]+)+$)", "the bundle identifier is empty",
                     problemOfBundleIdentifier},
      ArgumentFormat{R"(^/.*\.app/?$)", "the application's path is empty", problemOfPath}};
  return kFormats.at(static_cast<std::size_t>(kind));
}

}  // namespace

bool hasBlanksAround(std::string_view text) {
  return platform::trimmed(text, " \t\r\n").size() < text.size();
}

std::string_view versionInLabel(std::string_view label) {
  for (const auto word : std::views::split(label.substr(0, label.rfind('-')), ' ')) {
    if (isVersion(std::string_view(word))) {
      return std::string_view(word);
    }
  }
  return {};
}

std::string patternOf(const ActionArgument& argument) {
  if (argument.kind != ArgumentKind::integer) {
    return std::string(formatOf(argument.kind).pattern);
  }
  const std::string largest = text(argument.largest);  // 1, then zeros
  return text(argument.ifNegative.empty() ? R"(^-[0-9]+$|)" : "", R"(^\+?0*()", largest,
              "|[0-9]{1,", largest.size() - 1, "})$");
}

std::optional<ArgumentProblem> problemWith(const ActionArgument& argument, std::string_view value) {
  const ArgumentFormat& format = formatOf(argument.kind);
  if (value.empty() && !format.ifEmpty.empty()) {
    return ArgumentProblem{.isUsable = false, .text = std::string(format.ifEmpty)};
  }
  const std::string problem = format.problem(argument, value);
  if (problem.empty()) {
    return std::nullopt;
  }
  return ArgumentProblem{
      .isUsable = argument.kind != ArgumentKind::integer || vexlo::parseInteger(value),
      .text = inQuotes(value) + problem};
}

}  // namespace agent_tool
