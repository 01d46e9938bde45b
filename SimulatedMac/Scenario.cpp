#include "SimulatedMac/Scenario.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <ranges>
#include <system_error>
#include <utility>

namespace simulated_mac {
namespace {

/// A key that a section may hold and how its value is written. A section's name that ends in "*"
/// stands for every name that begins like it, the key "*" for any.
struct Key {
  std::string_view section;
  std::string_view name;
  /// Alternatives between "|". Words in capitals are forms (see kForms), optional ones are between
  /// square brackets; all others stand for themselves.
  std::string_view value;
};

constexpr std::array kKeys{
    Key{"mac", "version", "VERSION | unreadable"},
    Key{"mac", "machine", "apple-silicon | intel"},
    Key{"mac", "free disk", "SIZE"},
    Key{"mac", "language", "TEXT"},
    Key{"mac", "time zone", "TEXT"},
    Key{"power", "source", "none | mains online | mains offline | battery STATE [CHARGE/FULL]"},
    Key{"users", "account", "NAME UID"},
    Key{"users", "console", "NAME"},
    Key{"users", "logged on", "TEXT"},
    Key{"mdm", "enrollment", "none | user-approved | dep"},
    Key{"update", "label", "TEXT"},
    Key{"update", "version", "TEXT"},
    Key{"update", "build", "TEXT"},
    Key{"update", "deferred until", "TEXT"},
    Key{"update", "product key", "TEXT"},
    Key{"agent", "data directory", "writable | read-only"},
    Key{"agent", "action file", "TEXT"},
    Key{"agent", "prompt data", "TEXT"},
    Key{"agent service", "state", "answers | absent | silent | silent on NAME | garbage | dies"},
    Key{"agent service", "delay", "DURATION"},
    Key{"agent service", "value", "TEXT"},
    Key{"actions", "*", "TEXT"},
    Key{"patch data", "*", "TEXT"},
    Key{"customization", "*", "TEXT"},
    Key{"prompt data *", "*", "TEXT"},
    Key{"prompt", "user", "agrees | postpones | quits | ignores | crashes"},
    Key{"prompt", "after", "DURATION"},
    Key{"prompt", "answers as", "NAME"},
    Key{"prompt", "writes", "TEXT"},
    Key{"prompt", "exits", "STATUS | signal SIGNAL | never"},
    Key{"application *", "name", "TEXT"},
    Key{"application *", "bundle", "FILE"},
    Key{"application *", "instances", "COUNT"},
    Key{"application *", "quits", "TEXT"},
};

/// Sections for what a tool does: steps in an order, replaced as a whole, with the keys below.
constexpr std::array<std::string_view, 7> kTools{"softwareupdate --list*",
                                                 "softwareupdate --download*",
                                                 "softwareupdate --install*",
                                                 "mdmclient*",
                                                 "profiles*",
                                                 "startosinstall*",
                                                 "open*"};
constexpr std::array kSteps{
    Key{"", "stdout", "TEXT"},
    Key{"", "stderr", "TEXT"},
    Key{"", "takes", "DURATION"},
    Key{"", "megabytes", "COUNT"},
    Key{"", "leaves child", "yes | no"},
    Key{"", "input", "unread | closed"},
    Key{"", "exits", "STATUS | signal SIGNAL | never"},
};

bool isNumber(std::string_view text, unsigned least, unsigned most) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && number >= least &&
         number <= most;
}

bool isVersion(std::string_view text) {
  return std::ranges::all_of(std::views::split(text, '.'), [](const auto& piece) {
    return isNumber(std::string_view(piece), 0, 999'999);
  });
}

bool isCharge(std::string_view text) {
  const std::size_t slash = text.find('/');
  return slash != std::string_view::npos && isNumber(text.substr(0, slash), 0, 1'000'000'000) &&
         isNumber(text.substr(slash + 1), 0, 1'000'000'000);
}

bool isState(std::string_view text) {
  constexpr std::array<std::string_view, 4> kStates{"discharging", "charging", "full", "unknown"};
  return std::ranges::find(kStates, text) != kStates.end();
}

bool isSize(std::string_view text) {
  const bool hasUnit = !text.empty() && std::string_view("kmg").contains(text.back());
  return isNumber(text.substr(0, text.size() - (hasUnit ? 1 : 0)), 1, 1'000'000'000);
}

/// A word in capitals of the tables above. An alternative that is nothing else gets the whole
/// value.
struct Form {
  std::string_view name;
  bool (*accepts)(std::string_view value);
  std::string_view meaning;
};

constexpr std::array kForms{
    Form{"TEXT", [](std::string_view) { return true; }, "any text"},
    Form{"NAME", [](std::string_view value) { return words(value).size() == 1; }, "one word"},
    Form{"FILE", [](std::string_view value) { return !value.empty() && !value.contains('/'); },
         "a name without slashes"},
    Form{"VERSION", isVersion, "numbers between full stops"},
    Form{"SIZE", isSize, "a number with k, m or g"},
    Form{"STATE", isState, "discharging, charging, full or unknown"},
    Form{"CHARGE/FULL", isCharge, "two numbers such as 45/90"},
    Form{"UID", [](std::string_view value) { return isNumber(value, 0, 2'000'000'000); },
         "a user's number"},
    Form{"COUNT", [](std::string_view value) { return isNumber(value, 0, 10'000); },
         "a number up to 10000"},
    Form{"STATUS", [](std::string_view value) { return isNumber(value, 0, 255); },
         "a number up to 255"},
    Form{"SIGNAL", [](std::string_view value) { return isNumber(value, 1, 64); },
         "a number up to 64"},
    Form{"DURATION", [](std::string_view value) { return milliseconds(value).has_value(); },
         "a time such as 1.5 s or 300 ms"},
};

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool fits(std::string_view name, std::string_view pattern) {
  return pattern.ends_with('*') ? name.starts_with(pattern.substr(0, pattern.size() - 1))
                                : name == pattern;
}

bool isOfATool(std::string_view section) {
  return std::ranges::any_of(kTools, [&](std::string_view tool) { return fits(section, tool); });
}

/// The keys that the section may hold; none for a section that no scenario knows.
std::vector<Key> keysOf(std::string_view section) {
  std::vector<Key> keys;
  if (isOfATool(section)) {
    keys.assign(kSteps.begin(), kSteps.end());
  } else {
    std::ranges::copy_if(kKeys, std::back_inserter(keys),
                         [&](const Key& key) { return fits(section, key.section); });
  }
  return keys;
}

std::string listed(const std::vector<std::string_view>& names) {
  std::string list;
  for (const std::string_view name : names) {
    list.append(list.empty() ? "" : ", ").append(name);
  }
  return list;
}

/// The error of a section that no scenario knows; empty when it is known.
std::string problemOfSection(std::string_view section) {
  if (!keysOf(section).empty()) {
    return {};
  }
  std::vector<std::string_view> names;
  std::ranges::transform(kKeys, std::back_inserter(names), &Key::section);
  names.erase(std::ranges::unique(names).begin(), names.end());
  names.insert(names.end(), kTools.begin(), kTools.end());
  return "expected one of the sections " + listed(names) + ", found [" + std::string(section) + "]";
}

const Form* formNamed(std::string_view name) {
  const auto* const form = std::ranges::find(kForms, name, &Form::name);
  return form == kForms.end() ? nullptr : form;
}

/// Whether the words are written as one alternative of a key's value says.
bool follows(std::string_view value, std::string_view alternative) {
  if (const Form* const form = formNamed(alternative)) {
    return form->accepts(value);
  }
  std::vector<std::string> found = words(value);
  auto word = found.begin();
  for (std::string_view wanted : words(alternative)) {
    const bool isOptional = wanted.starts_with('[');
    if (isOptional) {
      wanted = wanted.substr(1, wanted.size() - 2);
    }
    if (word == found.end()) {
      return isOptional;
    }
    const Form* const form = formNamed(wanted);
    if (form != nullptr ? !form->accepts(*word) : *word != wanted) {
      return false;
    }
    ++word;
  }
  return word == found.end();
}

/// The error of a key that the section doesn't have; empty when it has it.
std::string problemOfKey(std::string_view section, std::string_view name) {
  std::vector<std::string_view> names;
  for (const Key& key : keysOf(section)) {
    if (fits(name, key.name)) {
      return {};
    }
    names.push_back(key.name);
  }
  return "expected one of the keys " + listed(names) + " in [" + std::string(section) +
         "], found \"" + std::string(name) + "\"";
}

/// The error of a setting whose value isn't written as its key wants it; empty when it is.
std::string problemOfValue(std::string_view section, const Setting& setting) {
  const std::vector<Key> keys = keysOf(section);
  const Key& key = *std::ranges::find_if(
      keys, [&](const Key& candidate) { return fits(setting.key, candidate.name); });
  std::string meanings;
  for (const auto& piece : std::views::split(key.value, '|')) {
    const std::string_view alternative = trimmed(std::string_view(piece));
    if (follows(setting.value, alternative)) {
      return {};
    }
    for (const Form& form : kForms) {
      if (alternative.contains(form.name)) {
        meanings.append("; ").append(form.name).append(" is ").append(form.meaning);
      }
    }
  }
  return "expected " + std::string(key.value) + " for " + setting.key + " in [" +
         std::string(section) + "], found \"" + setting.value.substr(0, setting.value.find('\n')) +
         "\"" + meanings;
}

}  // namespace

std::expected<Scenario, std::string> Scenario::parse(std::string_view text,
                                                     const std::string& file) {
  Scenario scenario;
  Section* section = nullptr;
  Setting* setting = nullptr;
  int number = 0;
  const auto problem = [&](const std::string& what, int line) {
    return std::unexpected(file + ", line " + std::to_string(line) + ": " + what);
  };
  int settingsLine = 0;
  std::string valuesProblem;
  const auto finishSetting = [&] {  // its text has come to an end
    if (setting != nullptr) {
      valuesProblem = problemOfValue(section->name, *setting);
      setting = nullptr;
    }
    return valuesProblem.empty();
  };
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view whole = text.substr(0, end);
    const std::string_view line = trimmed(whole);
    text.remove_prefix(std::min(end + 1, text.size()));
    ++number;
    if (line.starts_with('|')) {
      if (setting == nullptr) {
        return problem("expected a key before the first line of its text", number);
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
    if (!finishSetting()) {
      break;
    }
    if (line.starts_with('[')) {
      const std::string_view name = trimmed(line.substr(1, line.find(']') - 1));
      if (!line.ends_with(']')) {
        return problem("expected \"]\" at the end of the section's name", number);
      }
      if (const std::string what = problemOfSection(name); !what.empty()) {
        return problem(what, number);
      }
      section = &scenario.sectionToFill(name);
      continue;
    }
    const std::size_t equals = line.find('=');
    if (section == nullptr || equals == std::string_view::npos) {
      return problem("expected [section] or key = value, found \"" + std::string(line) + "\"",
                     number);
    }
    const std::string_view key = trimmed(line.substr(0, equals));
    if (const std::string what = problemOfKey(section->name, key); !what.empty()) {
      return problem(what, number);
    }
    setting = &section->settings.emplace_back(
        Setting{.key = std::string(key), .value = std::string(trimmed(line.substr(equals + 1)))});
    settingsLine = number;
  }
  if (!finishSetting()) {
    return problem(valuesProblem, settingsLine);
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
  Setting setting{.key = std::string(key), .value = std::string(text.substr(equals + 1))};
  if (what.empty()) {
    what = problemOfValue(name, setting);
  }
  if (!what.empty()) {
    return std::unexpected(std::move(what));
  }
  sectionToFill(name).settings.push_back(std::move(setting));
  return {};
}

void Scenario::overlay(const Scenario& other) {
  for (const Section& above : other.sections_) {
    Section& below = sectionToFill(above.name);
    if (isOfATool(above.name)) {
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
