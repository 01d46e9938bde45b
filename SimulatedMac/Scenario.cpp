#include "SimulatedMac/Scenario.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <span>
#include <system_error>
#include <utility>

namespace simulated_mac {
namespace {

/// What a section may hold. A name that ends in "*" stands for every name that begins like it.
struct SectionKind {
  std::string_view name;
  std::span<const std::string_view> keys;  ///< Empty: any key.
  bool replacedAsAWhole = false;           ///< Steps in an order, not settings of their own.
};

constexpr std::array<std::string_view, 5> kMacKeys{"version", "machine", "free disk", "language",
                                                   "time zone"};
constexpr std::array<std::string_view, 1> kPowerKeys{"source"};
constexpr std::array<std::string_view, 3> kUserKeys{"account", "console", "logged on"};
constexpr std::array<std::string_view, 1> kMDMKeys{"enrollment"};
constexpr std::array<std::string_view, 5> kUpdateKeys{"label", "version", "build", "deferred until",
                                                      "product key"};
constexpr std::array<std::string_view, 2> kAgentKeys{"data directory", "action file"};
constexpr std::array<std::string_view, 3> kServiceKeys{"state", "delay", "value"};
constexpr std::array<std::string_view, 4> kApplicationKeys{"name", "bundle", "instances", "quits"};
constexpr std::array<std::string_view, 4> kPromptKeys{"user", "after", "writes", "exits"};
constexpr std::array<std::string_view, 7> kToolKeys{"stdout",       "stderr", "takes", "megabytes",
                                                    "leaves child", "exits",  "input"};

constexpr std::array kSectionKinds{
    SectionKind{.name = "mac", .keys = kMacKeys},
    SectionKind{.name = "power", .keys = kPowerKeys},
    SectionKind{.name = "users", .keys = kUserKeys},
    SectionKind{.name = "mdm", .keys = kMDMKeys},
    SectionKind{.name = "update", .keys = kUpdateKeys},
    SectionKind{.name = "agent", .keys = kAgentKeys},
    SectionKind{.name = "agent service", .keys = kServiceKeys},
    SectionKind{.name = "actions", .keys = {}},
    SectionKind{.name = "patch data", .keys = {}},
    SectionKind{.name = "customization", .keys = {}},
    SectionKind{.name = "prompt data *", .keys = {}},
    SectionKind{.name = "prompt", .keys = kPromptKeys},
    SectionKind{.name = "application *", .keys = kApplicationKeys},
    SectionKind{.name = "softwareupdate --list*", .keys = kToolKeys, .replacedAsAWhole = true},
    SectionKind{.name = "softwareupdate --download*", .keys = kToolKeys, .replacedAsAWhole = true},
    SectionKind{.name = "softwareupdate --install*", .keys = kToolKeys, .replacedAsAWhole = true},
    SectionKind{.name = "mdmclient*", .keys = kToolKeys, .replacedAsAWhole = true},
    SectionKind{.name = "profiles*", .keys = kToolKeys, .replacedAsAWhole = true},
    SectionKind{.name = "startosinstall*", .keys = kToolKeys, .replacedAsAWhole = true},
    SectionKind{.name = "open*", .keys = kToolKeys, .replacedAsAWhole = true},
};

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

const SectionKind* kindOf(std::string_view section) {
  const auto* kind = std::ranges::find_if(kSectionKinds, [&](const SectionKind& candidate) {
    return candidate.name.ends_with('*')
               ? section.starts_with(candidate.name.substr(0, candidate.name.size() - 1))
               : section == candidate.name;
  });
  return kind == kSectionKinds.end() ? nullptr : kind;
}

template <typename Names>
std::string listed(const Names& names) {
  std::string list;
  for (const std::string_view name : names) {
    list.append(list.empty() ? "" : ", ").append(name);
  }
  return list;
}

/// The error of a name that no scenario knows; empty when it is known.
std::string problemOfSection(std::string_view section) {
  if (kindOf(section) != nullptr) {
    return {};
  }
  std::vector<std::string_view> names;
  names.reserve(kSectionKinds.size());
  for (const SectionKind& kind : kSectionKinds) {
    names.push_back(kind.name);
  }
  return "expected one of the sections " + listed(names) + ", found [" + std::string(section) + "]";
}

std::string problemOfKey(std::string_view section, std::string_view key) {
  const SectionKind* const kind = kindOf(section);
  if (kind->keys.empty() || std::ranges::find(kind->keys, key) != kind->keys.end()) {
    return {};
  }
  return "expected one of the keys " + listed(kind->keys) + " in [" + std::string(section) +
         "], found \"" + std::string(key) + "\"";
}

}  // namespace

std::expected<Scenario, std::string> Scenario::parse(std::string_view text,
                                                     const std::string& file) {
  Scenario scenario;
  Section* section = nullptr;
  Setting* setting = nullptr;
  int number = 0;
  const auto problem = [&](const std::string& what) {
    return std::unexpected(file + ", line " + std::to_string(number) + ": " + what);
  };
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view whole = text.substr(0, end);
    const std::string_view line = trimmed(whole);
    text.remove_prefix(std::min(end + 1, text.size()));
    ++number;
    if (line.starts_with('|')) {
      if (setting == nullptr) {
        return problem("expected a key before the first line of its text");
      }
      std::string_view rest = whole.substr(whole.find('|') + 1);  // kept to its last blank
      rest.remove_prefix(rest.starts_with(' ') ? 1 : 0);
      if (!setting->value.empty() && !setting->value.ends_with('\n')) {
        setting->value.push_back('\n');  // the text began on the key's own line
      }
      setting->value.append(rest).push_back('\n');
      continue;
    }
    if (line.empty() || line.starts_with('#')) {
      continue;
    }
    if (line.starts_with('[')) {
      const std::string_view name = trimmed(line.substr(1, line.find(']') - 1));
      if (!line.ends_with(']')) {
        return problem("expected \"]\" at the end of the section's name");
      }
      if (const std::string what = problemOfSection(name); !what.empty()) {
        return problem(what);
      }
      section = &scenario.sectionToFill(name);
      setting = nullptr;
      continue;
    }
    const std::size_t equals = line.find('=');
    if (section == nullptr || equals == std::string_view::npos) {
      return problem("expected [section] or key = value, found \"" + std::string(line) + "\"");
    }
    const std::string_view key = trimmed(line.substr(0, equals));
    if (const std::string what = problemOfKey(section->name, key); !what.empty()) {
      return problem(what);
    }
    setting = &section->settings.emplace_back(
        Setting{.key = std::string(key), .value = std::string(trimmed(line.substr(equals + 1)))});
  }
  return scenario;
}

std::expected<void, std::string> Scenario::add(std::string_view text) {
  const std::size_t equals = text.find('=');
  const std::size_t slash = text.substr(0, equals).rfind('/');
  if (equals == std::string_view::npos || slash == std::string_view::npos) {
    return std::unexpected("expected SECTION/KEY=VALUE, found \"" + std::string(text) + "\"");
  }
  const std::string_view name = trimmed(text.substr(0, slash));
  const std::string_view key = trimmed(text.substr(slash + 1, equals - slash - 1));
  std::string what = problemOfSection(name);
  if (what.empty()) {
    what = problemOfKey(name, key);
  }
  if (!what.empty()) {
    return std::unexpected(std::move(what));
  }
  sectionToFill(name).settings.push_back(
      {.key = std::string(key), .value = std::string(text.substr(equals + 1))});
  return {};
}

void Scenario::overlay(const Scenario& other) {
  for (const Section& above : other.sections_) {
    Section& below = sectionToFill(above.name);
    if (kindOf(above.name)->replacedAsAWhole) {
      below.settings = above.settings;
      continue;
    }
    std::erase_if(below.settings, [&](const Setting& setting) {
      return std::ranges::find(above.settings, setting.key, &Setting::key) != above.settings.end();
    });
    below.settings.insert(below.settings.end(), above.settings.begin(), above.settings.end());
  }
}

std::string Scenario::text() const {
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

std::vector<std::string> words(std::string_view value) {
  std::vector<std::string> found;
  while (!(value = trimmed(value)).empty()) {
    const char closing = value.starts_with('"') ? '"' : ' ';
    value.remove_prefix(closing == '"' ? 1 : 0);
    const std::size_t end = std::min(value.find(closing), value.size());
    found.emplace_back(value.substr(0, end));
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return found;
}

bool isYes(std::string_view value) { return value == "yes" || value == "true"; }

std::optional<int> milliseconds(std::string_view value) {
  double number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  const std::string_view unit = trimmed({end, value.data() + value.size()});
  if (error != std::errc{} || !(number >= 0) || number > 1e6 || (unit != "s" && unit != "ms")) {
    return std::nullopt;
  }
  return static_cast<int>(std::lround(unit == "s" ? number * 1000 : number));
}

}  // namespace simulated_mac
