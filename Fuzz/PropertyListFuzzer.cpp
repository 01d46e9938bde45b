// Parses arbitrary bytes as property lists, which must read the same when they were written, and as
// the text of numbers in XML, which must equal those of naive readers.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Fuzz/PropertyLists.h"
#include "Fuzz/Require.h"

namespace {

using platform::PropertyList;

void requireSame(const PropertyList& value, std::string (*write)(const PropertyList&)) {
  std::string written;
  try {
    written = write(value);
  } catch (const std::invalid_argument&) {
    return;  // a character or a date that XML can't represent
  }
  const auto again = platform::parsePropertyList(written);
  require(again.has_value(), "own list is rejected: " + (again ? "" : again.error().message));
  require(afterSaving(*again) == afterSaving(value), "own list reads as a different value");
}

/// Removes one plus sign.
void removePlus(std::string& text) {
  if (text.starts_with('+') && !text.starts_with("+-")) {
    text.erase(0, 1);
  }
}

std::optional<PropertyList> integerIn(std::string text) {
  removePlus(text);
  const bool isNegative = text.starts_with('-');
  text.erase(0, isNegative ? 1 : 0);
  const unsigned base = text.starts_with("0x") || text.starts_with("0X") ? 16 : 10;
  text.erase(0, base == 16 ? 2 : 0);
  unsigned __int128 magnitude = 0;
  for (const char character : text) {
    const std::size_t digit =
        std::string_view("0123456789abcdef")
            .find(static_cast<char>(std::tolower(static_cast<unsigned char>(character))));
    if (digit >= base || magnitude >> 64 != 0) {
      return std::nullopt;
    }
    magnitude = magnitude * base + digit;
  }
  if (text.empty() || magnitude > (isNegative ? UINT64_C(1) << 63 : UINT64_MAX)) {
    return std::nullopt;
  }
  const auto number = static_cast<std::uint64_t>(magnitude);
  if (isNegative || number <= INT64_MAX) {
    return static_cast<std::int64_t>(isNegative ? -number : number);
  }
  return PropertyList::Value(number);
}

std::optional<PropertyList> realIn(std::string text) {
  removePlus(text);
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  const bool isWord = text.find_first_of("iInN") != std::string::npos;
  const bool isZero =
      text.substr(0, text.find_first_of("eE")).find_first_of("123456789") == std::string::npos;
  const bool outOfRange = !isWord && (std::isinf(number) || (number == 0 && !isZero));
  if (text.empty() || *end != '\0' || text.starts_with('+') ||
      text.find_first_of("xX ") != std::string::npos || outOfRange) {
    return std::nullopt;
  }
  return PropertyList::Value(number);
}

/// Compares an element with this text with what a naive reader finds in it.
void compare(const std::string& tag, const std::string& text,
             const std::optional<PropertyList>& expected) {
  const auto found =
      platform::parsePropertyList("<plist><" + tag + ">" + text + "</" + tag + "></plist>");
  require(found.has_value() == expected.has_value(), tag + " is accepted or not");
  require(!found || afterSaving(*found) == afterSaving(*expected), "another " + tag);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (const auto value = platform::parsePropertyList(text)) {
    require(platform::describe(*value).find('\n') == std::string::npos, "more than one line");
    requireSame(*value, platform::toXML);
    requireSame(*value, platform::toBinary);
  } else {
    require(!value.error().message.empty(), "an error without a message");
  }
  if (text.find_first_not_of("0123456789+-.xXabcdefABCDEFinftyINFTY ") == std::string::npos) {
    std::string trimmed = text.substr(std::min(text.find_first_not_of(' '), text.size()));
    trimmed.erase(trimmed.find_last_not_of(' ') + 1);
    compare("integer", text, integerIn(trimmed));
    compare("real", text, realIn(trimmed));
  }
  return 0;
}
