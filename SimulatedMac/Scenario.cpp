#include "SimulatedMac/Scenario.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "Platform/Text.h"
#include "SimulatedMac/ScenarioRules.h"
#include "SimulatedMac/ScenarioValues.h"

namespace simulated_mac {

/// Reads a scenario file line by line. Every operation returns what is wrong, or an empty string.
class Scenario::Parser {
 public:
  std::expected<Scenario, std::string> parse(std::string_view text, const std::string& file) {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      ++line_;
      if (const std::string problem = addLine(text.substr(0, end)); !problem.empty()) {
        return std::unexpected(at(file, line_) + problem);
      }
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (const std::string problem = finishSetting(); !problem.empty()) {
      return std::unexpected(at(file, line_) + problem);
    }
    return std::move(scenario_);
  }

 private:
  static std::string at(const std::string& file, int line) {
    return file + ", line " + std::to_string(line) + ": ";
  }

  std::string addLine(std::string_view whole) {
    const std::string_view line = platform::trimmed(whole);
    if (line.starts_with('|')) {
      return continueValue(whole.substr(whole.find('|') + 1));
    }
    if (line.empty() || line.starts_with('#')) {
      return {};
    }
    if (std::string problem = finishSetting(); !problem.empty()) {
      return problem;
    }
    return line.starts_with('[') ? beginSection(line) : beginSetting(line);
  }

  std::string beginSection(std::string_view line) {
    if (!line.ends_with(']')) {
      return "expected \"]\" at the end of the section's name";
    }
    const std::string_view name = platform::trimmed(line.substr(1, line.find(']') - 1));
    if (std::string problem = sectionProblem(name); !problem.empty()) {
      return problem;
    }
    section_ = &scenario_.sectionToFill(name);
    return {};
  }

  std::string beginSetting(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (section_ == nullptr || equals == std::string_view::npos) {
      return "expected [section] or key = value, found \"" + std::string(line) + "\"";
    }
    const std::string_view key = platform::trimmed(line.substr(0, equals));
    if (std::string problem = keyProblem(section_->name, key); !problem.empty()) {
      return problem;
    }
    setting_ = &section_->settings.emplace_back(Setting{
        .key = std::string(key), .value = std::string(platform::trimmed(line.substr(equals + 1)))});
    settingLine_ = line_;
    return {};
  }

  /// Adds what follows "| " on a continuation line; trailing spaces are kept.
  std::string continueValue(std::string_view rest) {
    if (setting_ == nullptr) {
      return "expected a key before the first line of its value";
    }
    rest.remove_prefix(rest.starts_with(' ') ? 1 : 0);
    std::string& value = setting_->value;
    if (!value.empty() && !value.ends_with('\n')) {
      value.push_back('\n');  // the value began on the key's own line
    }
    value.append(rest).push_back('\n');
    return {};
  }

  /// Checks the value, now that it is complete. A problem is reported for the line of the key.
  std::string finishSetting() {
    if (setting_ == nullptr) {
      return {};
    }
    std::string problem = valueProblem(section_->name, *std::exchange(setting_, nullptr));
    if (!problem.empty()) {
      line_ = settingLine_;
    }
    return problem;
  }

  Scenario scenario_;
  Section* section_ = nullptr;
  Setting* setting_ = nullptr;  ///< May still get continuation lines.
  int line_ = 0;
  int settingLine_ = 0;
};

std::expected<Scenario, std::string> Scenario::parse(std::string_view text,
                                                     const std::string& file) {
  return Parser().parse(text, file);
}

std::expected<void, std::string> Scenario::add(std::string_view text) {
  const std::size_t equals = text.find('=');
  const std::size_t slash = text.substr(0, equals).find('/');
  if (equals == std::string_view::npos || slash == std::string_view::npos) {
    return std::unexpected("expected SECTION/KEY=VALUE, found \"" + std::string(text) + "\"");
  }
  const std::string_view name = platform::trimmed(text.substr(0, slash));
  const std::string_view key = platform::trimmed(text.substr(slash + 1, equals - slash - 1));
  std::string problem = sectionProblem(name);
  if (problem.empty()) {
    problem = keyProblem(name, key);
  }
  Setting setting{.key = std::string(key), .value = std::string(text.substr(equals + 1))};
  if (setting.value.contains('\n') && !setting.value.ends_with('\n')) {
    setting.value.push_back('\n');  // as in a file
  }
  if (problem.empty()) {
    problem = valueProblem(name, setting);
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
      std::string_view rest = setting.value;
      while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        out.append("| ").append(rest.substr(0, end)).append("\n");
        rest.remove_prefix(end + 1);
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

}  // namespace simulated_mac
