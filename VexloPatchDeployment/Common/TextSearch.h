// Finds a text in others, in time linear in both.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexlo {

enum class Letters : std::uint8_t {
  exact,
  ignoringCase,  ///< ASCII letters are equal in either case; every other byte only to itself.
};

/// Searches for one text. No text to search in, however repetitive, makes it slow. Immutable.
class TextSearch {
 public:
  explicit TextSearch(std::string_view wanted, Letters letters = Letters::exact);

  /// Where the first or last occurrence in `text` begins; occurrences may overlap. An empty wanted
  /// text occurs everywhere.
  [[nodiscard]] std::optional<std::size_t> first(std::string_view text) const;
  [[nodiscard]] std::optional<std::size_t> last(std::string_view text) const;

 private:
  enum class Which : std::uint8_t { first, last };
  [[nodiscard]] std::optional<std::size_t> find(std::string_view text, Which which) const;

  std::string wanted_;  // in lower case when the case is ignored
  Letters letters_;
  std::vector<std::size_t> borders_;  // of each prefix: the longest proper prefix that ends it too
};

}  // namespace vexlo
