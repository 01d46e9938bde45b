// The settings of a simulated Mac, and how they are written in scenario files.
#pragma once
#include <expected>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

/// One line `key = value` of a section. A value of several lines ends with a line feed.
struct Setting {
  std::string key;
  std::string value;
};

/// The settings of one section, in file order; a key may occur more than once.
struct Section {
  std::string name;
  std::vector<Setting> settings;
};

/// The sections of a scenario; a value type. README.md lists the sections and their keys.
class Scenario {
 public:
  /// Reads a scenario file. The error is one line: file, line, what was expected. Unknown sections
  /// and keys are errors, so that a typo can't go unnoticed.
  static std::expected<Scenario, std::string> read(const std::string& path);
  /// Adds one setting, written as on the command line: "section/key=value".
  std::expected<void, std::string> add(std::string_view text);

  /// Applies `other` on top of this scenario: it replaces a tool's section as a whole, and in the
  /// other sections the keys that it sets.
  void overlay(const Scenario& other);

  /// As a scenario file: `read` returns the same, except for spaces at the ends of a one-line
  /// value.
  [[nodiscard]] std::string serialized() const;

  /// The sections whose names begin with `prefix`.
  [[nodiscard]] auto sectionsWith(std::string_view prefix) const {
    return std::views::filter(
        sections_, [prefix](const Section& section) { return section.name.starts_with(prefix); });
  }
  /// The section with that name, or null.
  [[nodiscard]] const Section* section(std::string_view name) const noexcept;
  /// The last value of the key; absent when the section or the key is.
  [[nodiscard]] std::optional<std::string> value(std::string_view section,
                                                 std::string_view key) const;
  /// The last value of the key, or `fallback`.
  [[nodiscard]] std::string valueOr(std::string_view section, std::string_view key,
                                    std::string_view fallback) const;
  /// All values of the key, in order.
  [[nodiscard]] std::vector<std::string> values(std::string_view section,
                                                std::string_view key) const;

 private:
  Section& sectionToFill(std::string_view name);
  std::vector<Section> sections_;
};

/// The words of a value, separated by spaces. Double quotes keep a word with spaces together.
[[nodiscard]] std::vector<std::string> words(std::string_view value);
/// The milliseconds in "2 s", "1.5 s" or "300 ms"; absent for anything else.
[[nodiscard]] std::optional<int> milliseconds(std::string_view value);
/// TEXT from the line `value = KEY TEXT` of the agent's service; absent when there is none.
[[nodiscard]] std::optional<std::string> serviceValue(const Scenario& scenario,
                                                      std::string_view key);

}  // namespace simulated_mac
