// Parses arbitrary bytes as property lists; written as XML, the value must read back the same.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "Fuzz/Require.h"
#include "Platform/PropertyList.h"

namespace {

using platform::PropertyList;
using platform::PropertyListDate;

/// The value after a round trip through XML: dates without fractions; NaN, which is unequal to
/// itself, as 0.
void roundOff(PropertyList& value) {
  if (auto* date = std::get_if<PropertyListDate>(&value.value())) {
    date->secondsSince2001 = std::floor(date->secondsSince2001);
  } else if (auto* number = std::get_if<double>(&value.value())) {
    *number = std::isnan(*number) ? 0 : *number;
  } else if (auto* array = std::get_if<PropertyList::Array>(&value.value())) {
    for (PropertyList& element : *array) {
      roundOff(element);
    }
  } else if (auto* dictionary = std::get_if<PropertyList::Dictionary>(&value.value())) {
    for (auto& [key, element] : *dictionary) {
      roundOff(element);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto value = platform::parsePropertyList({reinterpret_cast<const char*>(data), size});
  if (!value) {
    require(!value.error().message.empty(), "an error without a message");
    return 0;
  }
  require(platform::describe(*value).find('\n') == std::string::npos, "more than one line");
  std::string xml;
  try {
    xml = platform::toXML(*value);
  } catch (const std::invalid_argument&) {
    return 0;  // a character or a date that XML can't represent
  }
  auto again = platform::parsePropertyList(xml);
  require(again.has_value(), "own XML is rejected: " + (again ? "" : again.error().message));
  roundOff(*value);
  roundOff(*again);
  require(*value == *again, "own XML reads as a different value");
  return 0;
}
