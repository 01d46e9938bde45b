// Parses arbitrary bytes as property lists, which must read the same when they were written, and as
// the text of numbers in XML, which must equal those of naive readers.
#include <algorithm>
#include <cerrno>
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
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  text.erase(0, isHexadecimal ? 2 : 0);
  errno = 0;
  const std::uint64_t number = std::strtoull(text.c_str(), nullptr, isHexadecimal ? 16 : 10);
  if (text.empty() || errno == ERANGE || (isNegative && number > UINT64_C(1) << 63) ||
      text.find_first_not_of(isHexadecimal ? "0123456789abcdefABCDEF" : "0123456789") !=
          std::string::npos) {
    return std::nullopt;
  }
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
