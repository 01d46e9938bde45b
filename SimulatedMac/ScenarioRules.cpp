#include "SimulatedMac/ScenarioRules.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <ranges>
#include <system_error>
#include <vector>

#include "Platform/Text.h"

namespace simulated_mac {
namespace {

/// A key of a section and the form of its value. A section name that ends in "*" matches every
/// name with that prefix; the key "*" matches any key.
struct Key {
  std::string_view section;
  std::string_view name;
  /// Alternatives, separated by "|". Words in capitals are forms (see kForms), words in square
  /// brackets are optional, all others are literal.
  std::string_view value;
};

constexpr std::array kKeys{
    Key{"mac", "version", "VERSION | unreadable"},
    Key{"mac", "compatibility version", "VERSION"},
    Key{"mac", "machine", "apple-silicon | intel"},
    Key{"mac", "free disk", "SIZE"},
    Key{"mac", "language", "TEXT"},
    Key{"mac", "time zone", "TEXT"},
    Key{"power", "source", "none | mains online | mains offline | battery STATE [CHARGE/FULL]"},
    Key{"users", "account", "FILE UID"},
    Key{"users", "console", "NAME"},
    Key{"users", "logged on", "TEXT"},
    Key{"mdm", "enrollment", "none | user-approved | dep"},
    Key{"update", "label", "TEXT"},
    Key{"update", "version", "TEXT"},
    Key{"update", "build", "TEXT"},
    Key{"update", "deferred until", "TEXT"},
    Key{"update", "product key", "TEXT"},
    Key{"update", "takes", "DURATION"},
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
    Key{"files", "*", "TEXT"},
};

/// Sections that script a tool: an ordered list of steps with the keys below.
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

bool isNumberBetween(std::string_view text, unsigned least, unsigned most) {
  const auto number = platform::wholeNumber<unsigned>(text);
  return number && *number >= least && *number <= most;
}

bool isVersion(std::string_view text) {
  return std::ranges::all_of(std::views::split(text, '.'), [](const auto& piece) {
    return isNumberBetween(std::string_view(piece), 0, 999'999);
  });
}

bool isCharge(std::string_view text) {
  const std::size_t slash = text.find('/');
  return slash != std::string_view::npos &&
         isNumberBetween(text.substr(0, slash), 0, 1'000'000'000) &&
         isNumberBetween(text.substr(slash + 1), 0, 1'000'000'000);
}

bool isState(std::string_view text) {
  constexpr std::array<std::string_view, 4> kStates{"discharging", "charging", "full", "unknown"};
  return std::ranges::find(kStates, text) != kStates.end();
}

/// Whether the name can stand in a path and in a line of the accounts' file.
bool isFileName(std::string_view text) {
  return !text.empty() && text != "." && text != ".." && std::ranges::none_of(text, [](char c) {
    return c == '/' || c == ':' || std::iscntrl(static_cast<unsigned char>(c)) != 0;
  });
}

bool isSize(std::string_view text) {
  const bool hasUnit = !text.empty() && std::string_view("kmg").contains(text.back());
  return isNumberBetween(text.substr(0, text.size() - (hasUnit ? 1 : 0)), 1, 1'000'000'000);
}

/// A word in capitals in the tables above. It checks one word of the value, or the whole value
/// when the alternative consists of nothing else.
struct Form {
  std::string_view name;
  bool (*accepts)(std::string_view value);
  std::string_view meaning;
};

constexpr std::array kForms{
    Form{"TEXT", [](std::string_view) { return true; }, "any text"},
    Form{"NAME", [](std::string_view value) { return words(value).size() == 1; }, "one word"},
    Form{"FILE", isFileName, "a name for a file: without slashes, colons and control characters"},
    Form{"VERSION", isVersion, "numbers separated by dots"},
    Form{"SIZE", isSize, "a number with k, m or g"},
    Form{"STATE", isState, "discharging, charging, full or unknown"},
    Form{"CHARGE/FULL", isCharge, "two numbers such as 45/90"},
    Form{"UID", [](std::string_view value) { return isNumberBetween(value, 0, 2'000'000'000); },
         "a user ID"},
    Form{"COUNT", [](std::string_view value) { return isNumberBetween(value, 0, 10'000); },
         "a number up to 10000"},
    Form{"STATUS", [](std::string_view value) { return isNumberBetween(value, 0, 255); },
         "a number up to 255"},
    Form{"SIGNAL", [](std::string_view value) { return isNumberBetween(value, 1, 64); },
         "a number up to 64"},
    Form{"DURATION", [](std::string_view value) { return milliseconds(value).has_value(); },
         "a time such as 1.5 s or 300 ms"},
};

bool fits(std::string_view name, std::string_view pattern) {
  return pattern.ends_with('*') ? name.starts_with(pattern.substr(0, pattern.size() - 1))
                                : name == pattern;
}

/// The keys that the section may have; none for an unknown section.
std::vector<Key> keysOf(std::string_view section) {
  std::vector<Key> keys;
  if (isToolSection(section)) {
    keys.assign(kSteps.begin(), kSteps.end());
  } else {
    std::ranges::copy_if(kKeys, std::back_inserter(keys),
                         [&](const Key& key) { return fits(section, key.section); });
  }
  return keys;
}

const Form* formNamed(std::string_view name) {
  const auto* const form = std::ranges::find(kForms, name, &Form::name);
  return form == kForms.end() ? nullptr : form;
}

/// Whether the value has the form of one alternative of its key.
bool matchesAlternative(std::string_view value, std::string_view alternative) {
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

}  // namespace

bool isToolSection(std::string_view section) {
  return std::ranges::any_of(kTools, [&](std::string_view tool) { return fits(section, tool); });
}

std::string sectionProblem(std::string_view section) {
  if (section.starts_with(kApplicationPrefix)) {
    const std::string_view identifier = section.substr(kApplicationPrefix.size());
    return isFileName(identifier) && !identifier.ends_with('.')
               ? ""
               : "expected an application's identifier without slashes, colons and control "
                 "characters, and with a last part, found [" +
                     std::string(section) + "]";
  }
  if (!keysOf(section).empty()) {
    return {};
  }
  std::vector<std::string_view> names;
  std::ranges::transform(kKeys, std::back_inserter(names), &Key::section);
  names.erase(std::ranges::unique(names).begin(), names.end());
  names.insert(names.end(), kTools.begin(), kTools.end());
  return "expected one of the sections " + platform::joined(names, ", ") + ", found [" +
         std::string(section) + "]";
}

std::string settingProblem(std::string_view section, const Setting& setting) {
  const std::filesystem::path path(setting.key);
  if (section == "files" &&
      (!path.is_absolute() || !path.has_filename() || path != path.lexically_normal())) {
    return "expected the absolute path of a file in [files], found \"" + setting.key + "\"";
  }
  const std::vector<Key> keys = keysOf(section);
  const auto key = std::ranges::find_if(
      keys, [&](const Key& candidate) { return fits(setting.key, candidate.name); });
  if (key == keys.end()) {
    return "expected one of the keys " + platform::joined(keys, ", ", &Key::name) + " in [" +
           std::string(section) + "], found \"" + setting.key + "\"";
  }
  std::string meanings;
  for (const auto& piece : std::views::split(key->value, '|')) {
    const std::string_view alternative = platform::trimmed(std::string_view(piece));
    if (matchesAlternative(setting.value, alternative)) {
      return {};
    }
    for (const Form& form : kForms) {
      if (alternative.contains(form.name)) {
        meanings.append("; ").append(form.name).append(" is ").append(form.meaning);
      }
    }
  }
  return "expected " + std::string(key->value) + " for " + setting.key + " in [" +
         std::string(section) + "], found \"" + setting.value.substr(0, setting.value.find('\n')) +
         "\"" + meanings;
}

}  // namespace simulated_mac
