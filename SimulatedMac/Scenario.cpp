#include "SimulatedMac/Scenario.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ranges>
#include <system_error>
#include <utility>

#include "Platform/Files.h"
#include "Platform/RealNumbers.h"
#include "Platform/Text.h"
#include "SimulatedMac/ScenarioRules.h"

namespace simulated_mac {

namespace {

constexpr std::uint64_t kLargestScenario = std::uint64_t{1} << 20;

bool isBlankOrComment(std::string_view line) { return line.empty() || line.starts_with('#'); }

using Lines = std::vector<std::string_view>;

/// Appends what follows "| " in the lines from `next` on, up to one that doesn't belong to the
/// value; trailing spaces are kept.
void readContinuation(std::string& value, Lines::const_iterator& next, Lines::const_iterator end) {
  for (; next != end; ++next) {
    const std::string_view line = platform::trimmed(*next);
    if (isBlankOrComment(line)) {
      continue;
    }
    if (!line.starts_with('|')) {
      return;
    }
    std::string_view rest = next->substr(next->find('|') + 1);
    rest.remove_prefix(rest.starts_with(' ') ? 1 : 0);
    if (!value.empty() && !value.ends_with('\n')) {
      value.push_back('\n');  // the value began on the key's own line
    }
    value.append(rest).push_back('\n');
  }
}

}  // namespace

std::expected<Scenario, std::string> Scenario::read(const std::string& path) {
  const auto text = platform::readFile(path, {.maximumBytes = kLargestScenario});
  if (!text) {
    return std::unexpected(text.error().code == std::errc::no_such_file_or_directory
                               ? path + ": no such scenario; enter --list shows them"
                               : text.error().message);
  }
  Lines lines;
  for (const auto line : std::views::split(*text, '\n')) {
    lines.emplace_back(line);
  }
  Scenario scenario;
  Section* section = nullptr;
  for (auto next = lines.cbegin(); next != lines.cend();) {
    const std::string_view line = platform::trimmed(*next++);
    const std::ptrdiff_t number = next - lines.cbegin();
    const std::size_t equals = line.find('=');
    std::string problem;
    if (isBlankOrComment(line)) {
      continue;
    }
    if (line.starts_with('|')) {
      problem = "expected a key before the first line of its value";
    } else if (line.starts_with('[') && !line.ends_with(']')) {
      problem = "expected \"]\" at the end of the section's name";
    } else if (line.starts_with('[')) {
      const std::string_view name = platform::trimmed(line.substr(1, line.find(']') - 1));
      problem = sectionProblem(name);
      section = &scenario.sectionToFill(name);
    } else if (section == nullptr || equals == std::string_view::npos) {
      problem = "expected [section] or key = value, found \"" + std::string(line) + "\"";
    } else {
      Setting setting{.key = std::string(platform::trimmed(line.substr(0, equals))),
                      .value = std::string(platform::trimmed(line.substr(equals + 1)))};
      readContinuation(setting.value, next, lines.cend());
      problem = settingProblem(section->name, setting);
      section->settings.push_back(std::move(setting));
    }
    if (!problem.empty()) {
      return std::unexpected(path + ", line " + std::to_string(number) + ": " + problem);
    }
  }
  return scenario;
}

std::expected<void, std::string> Scenario::add(std::string_view text) {
  const std::size_t equals = text.find('=');
  const std::size_t slash = text.substr(0, equals).find('/');
  if (equals == std::string_view::npos || slash == std::string_view::npos) {
    return std::unexpected("expected SECTION/KEY=VALUE, found \"" + std::string(text) + "\"");
  }
  const std::string_view name = platform::trimmed(text.substr(0, slash));
  const std::string_view key = platform::trimmed(text.substr(slash + 1, equals - slash - 1));
  Setting setting{.key = std::string(key), .value = std::string(text.substr(equals + 1))};
  if (setting.value.contains('\n') && !setting.value.ends_with('\n')) {
    setting.value.push_back('\n');  // as in a file
  }
  std::string problem = sectionProblem(name);
  if (problem.empty()) {
    problem = settingProblem(name, setting);
  }
  if (!problem.empty()) {
    return std::unexpected(std::move(problem));
  }
  sectionToFill(name).settings.push_back(std::move(setting));
  return {};
}

void Scenario::overlay(const Scenario& other) {
  for (const Section& above : other.sections_) {
    Section& below = sectionToFill(above.name);
    if (isToolSection(above.name)) {
      below.settings = above.settings;
      continue;
    }
    std::erase_if(below.settings, [&](const Setting& setting) {
      return std::ranges::find(above.settings, setting.key, &Setting::key) != above.settings.end();
    });
    below.settings.insert(below.settings.end(), above.settings.begin(), above.settings.end());
  }
}

std::string Scenario::serialized() const {
  std::string out;
  for (const Section& section : sections_) {
    out.append("[").append(section.name).append("]\n");
    for (const Setting& setting : section.settings) {
      out.append(setting.key).append(" =");
      if (!setting.value.ends_with('\n')) {
        out.append(" ").append(setting.value).append("\n");
        continue;
      }
      out.append("\n");
      const std::string_view value(setting.value.begin(), setting.value.end() - 1);
      for (const auto line : std::views::split(value, '\n')) {
        out.append("| ").append(std::string_view(line)).append("\n");
      }
    }
  }
  return out;
}

const Section* Scenario::section(std::string_view name) const noexcept {
  const auto found = std::ranges::find(sections_, name, &Section::name);
  return found == sections_.end() ? nullptr : &*found;
}

std::optional<std::string> Scenario::value(std::string_view section, std::string_view key) const {
  std::vector<std::string> all = values(section, key);
  return all.empty() ? std::nullopt : std::optional(std::move(all.back()));
}

std::string Scenario::valueOr(std::string_view section, std::string_view key,
                              std::string_view fallback) const {
  return value(section, key).value_or(std::string(fallback));
}

std::vector<std::string> Scenario::values(std::string_view section, std::string_view key) const {
  std::vector<std::string> found;
  if (const Section* const here = this->section(section)) {
    for (const Setting& setting : here->settings) {
      if (setting.key == key) {
        found.push_back(setting.value);
      }
    }
  }
  return found;
}

Section& Scenario::sectionToFill(std::string_view name) {
  const auto found = std::ranges::find(sections_, name, &Section::name);
  return found != sections_.end() ? *found : sections_.emplace_back(Section{std::string(name), {}});
}

std::vector<std::string> words(std::string_view value) {
  std::vector<std::string> found;
  while (!(value = platform::trimmed(value)).empty()) {
    const char closing = value.starts_with('"') ? '"' : ' ';
    value.remove_prefix(closing == '"' ? 1 : 0);
    const std::size_t end = std::min(value.find(closing), value.size());
    found.emplace_back(value.substr(0, end));
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return found;
}

std::optional<int> milliseconds(std::string_view value) {
  const std::size_t length = std::min(value.find_first_not_of("0123456789."), value.size());
  const auto number = platform::parseReal(value.substr(0, length));
  const std::string_view unit = platform::trimmed(value.substr(length));
  if (!number || *number > 1e6 || (unit != "s" && unit != "ms")) {
    return std::nullopt;
  }
  return static_cast<int>(std::lround(unit == "s" ? *number * 1000 : *number));
}

std::optional<std::string> serviceValue(const Scenario& scenario, std::string_view key) {
  for (const std::string& value : scenario.values("agent service", "value")) {
    if (value.starts_with(key) && (value.size() == key.size() || value[key.size()] == ' ')) {
      return value.size() == key.size() ? "" : value.substr(key.size() + 1);
    }
  }
  return std::nullopt;
}

}  // namespace simulated_mac
