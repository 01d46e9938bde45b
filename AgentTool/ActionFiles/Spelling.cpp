#include "AgentTool/ActionFiles/Spelling.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "VexloPatchDeployment/Common/LetterCase.h"

namespace agent_tool {
namespace {

constexpr std::size_t kMostDifferences = 2;

/// The number of letters to add, drop, replace or swap with the next one.
std::size_t differences(std::string_view first, std::string_view second) {
  const std::size_t width = second.size() + 1;
  std::vector<std::size_t> table((first.size() + 1) * width);
  for (std::size_t row = 0; row <= first.size(); ++row) {
    for (std::size_t column = 0; column <= second.size(); ++column) {
      const std::size_t here = row * width + column;
      if (row == 0 || column == 0) {
        table[here] = row + column;
        continue;
      }
      const auto equal = [&](std::size_t i, std::size_t j) {
        return vexlo::asciiLowerCase(first[i]) == vexlo::asciiLowerCase(second[j]);
      };
      table[here] = std::min({table[here - 1] + 1, table[here - width] + 1,
                              table[here - width - 1] + (equal(row - 1, column - 1) ? 0 : 1)});
      if (row > 1 && column > 1 && equal(row - 1, column - 2) && equal(row - 2, column - 1)) {
        table[here] = std::min(table[here], table[here - 2 * width - 2] + 1);
      }
    }
  }
  return table.back();
}

}  // namespace

std::string_view closestWord(std::string_view written, std::span<const std::string_view> words) {
  std::string_view nearest;
  std::size_t fewest = kMostDifferences + 1;
  for (const std::string_view word : words) {
    const std::size_t longer = std::max(written.size(), word.size());
    if (longer - std::min(written.size(), word.size()) > kMostDifferences) {
      continue;
    }
    const std::size_t count = differences(written, word);
    if (count < fewest && 3 * count < word.size()) {
      nearest = word;
      fewest = count;
    }
  }
  return nearest;
}

}  // namespace agent_tool
