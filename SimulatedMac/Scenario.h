// The settings of a simulated Mac, as scenario files write them.
#pragma once
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

/// One line `key = value` of a section. A value of several lines ends with a line feed.
struct Setting {
  std::string key;
  std::string value;
};

/// The settings under one heading, in the order of the file; a key may occur more than once.
struct Section {
  std::string name;
  std::vector<Setting> settings;
};

/// Sections of settings. A plain value. README.md lists the sections and their keys.
class Scenario {
 public:
  /// Reads the text of a scenario file. The error is one line: file, line, what was expected.
  /// Unknown sections and keys are errors, so that no typing mistake makes another Mac.
  static std::expected<Scenario, std::string> parse(std::string_view text, const std::string& file);
  /// Adds one setting as the command line writes it, "section/key=value".
  std::expected<void, std::string> add(std::string_view text);

  /// Lays `other` over this scenario: what a tool does is replaced as a whole, of the other
  /// sections the keys that `other` mentions.
  void overlay(const Scenario& other);

  /// The text that `parse` reads back, but for blanks at the ends of a one-line value.
  [[nodiscard]] std::string text() const;

  [[nodiscard]] const std::vector<Section>& sections() const noexcept { return sections_; }
  /// The section of that name, null when the scenario has none.
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

/// The words of a value: separated by blanks; double quotation marks hold one word together.
[[nodiscard]] std::vector<std::string> words(std::string_view value);
/// Whether the value is one of "yes" and "true".
[[nodiscard]] bool isYes(std::string_view value);
/// The length of "2 s", "1.5 s" or "300 ms" in milliseconds; absent for any other text.
[[nodiscard]] std::optional<int> milliseconds(std::string_view value);

}  // namespace simulated_mac
