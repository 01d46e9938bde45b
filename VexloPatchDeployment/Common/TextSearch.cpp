#include "VexloPatchDeployment/Common/TextSearch.h"

#include "VexloPatchDeployment/Common/LetterCase.h"

namespace vexlo {

// The Knuth-Morris-Pratt algorithm: after a mismatch the search continues with the longest border
// of the matched part, so it never goes back in the text.
TextSearch::TextSearch(std::string_view wanted, Letters letters)
    : wanted_(wanted), letters_(letters), borders_(wanted.size() + 1) {
  if (letters == Letters::ignoringCase) {
    for (char& c : wanted_) {
      c = asciiLowerCase(c);
    }
  }
  std::size_t border = 0;
  for (std::size_t length = 2; length <= wanted_.size(); ++length) {
    const char c = wanted_[length - 1];
    while (border > 0 && wanted_[border] != c) {
      border = borders_[border];
    }
    border += wanted_[border] == c ? 1 : 0;
    borders_[length] = border;
  }
}

std::optional<std::size_t> TextSearch::find(std::string_view text, Which which) const {
  if (wanted_.empty()) {
    return which == Which::first ? 0 : text.size();
  }
  std::optional<std::size_t> found;
  std::size_t matched = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = letters_ == Letters::exact ? text[i] : asciiLowerCase(text[i]);
    while (matched > 0 && wanted_[matched] != c) {
      matched = borders_[matched];
    }
    matched += wanted_[matched] == c ? 1 : 0;
    if (matched == wanted_.size()) {
      found = i + 1 - matched;
      if (which == Which::first) {
        return found;
      }
      matched = borders_[matched];
    }
  }
  return found;
}

}  // namespace vexlo
