#include "AgentTool/ActionFiles/Spelling.h"

#include <algorithm>
#include <cstddef>

#include "VexloPatchDeployment/Common/LetterCase.h"

namespace agent_tool {
namespace {

constexpr std::size_t kMostDifferences = 2;

/// Whether at most `most` letters have to be added, dropped, replaced or swapped with the next one.
bool differByAtMost(std::size_t most, std::string_view first, std::string_view second) {
  if (std::max(first.size(), second.size()) > std::min(first.size(), second.size()) + most) {
    return false;
  }
  const auto sameLetter = [](char a, char b) {
    return vexlo::asciiLowerCase(a) == vexlo::asciiLowerCase(b);
  };
  while (!first.empty() && !second.empty() && sameLetter(first[0], second[0])) {
    first.remove_prefix(1);
    second.remove_prefix(1);
  }
  if (most == 0 || first.empty() || second.empty()) {
    return first.size() + second.size() <= most;
  }
  const bool areSwapped = first.size() > 1 && second.size() > 1 &&
                          sameLetter(first[0], second[1]) && sameLetter(first[1], second[0]);
  return differByAtMost(most - 1, first.substr(1), second) ||
         differByAtMost(most - 1, first, second.substr(1)) ||
         differByAtMost(most - 1, first.substr(1), second.substr(1)) ||
         (areSwapped && differByAtMost(most - 1, first.substr(2), second.substr(2)));
}

}  // namespace

std::string_view closestWord(std::string_view written, std::span<const std::string_view> words) {
  for (std::size_t count = 0; count <= kMostDifferences; ++count) {
    for (const std::string_view word : words) {
      if (3 * count < word.size() && differByAtMost(count, written, word)) {
        return word;
      }
    }
  }
  return {};
}

}  // namespace agent_tool
