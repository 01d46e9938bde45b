#include "Platform/PropertyList.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "Platform/Calendar.h"
#include "Platform/PropertyListReaders.h"
#include "Platform/RealNumbers.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace platform {
namespace {

constexpr std::string_view kBinarySignature = "bplist";
constexpr std::string_view kHexadecimalDigits = "0123456789abcdefABCDEF";

std::string inQuotes(std::string_view text) {
  std::string out = "\"";
  for (const char character : text) {
    switch (character) {
      case '"':
      case '\\':
        out += '\\';
        out += character;
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) {
          out += "\\u{" + hexadecimal(static_cast<unsigned char>(character), 2) + '}';
        } else {
          out += character;
        }
    }
  }
  return out + '"';
}

/// Describes a value; one overload per type.
struct Describer {
  std::string operator()(const std::string& text) const { return inQuotes(text); }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(std::uint64_t number) const { return std::to_string(number); }
  std::string operator()(double number) const {
    std::string shortest = shortestText(number);
    const bool isWhole = shortest.find_first_not_of("-0123456789") == std::string::npos;
    return isWhole ? shortest + ".0" : shortest;
  }
  std::string operator()(bool flag) const { return flag ? "true" : "false"; }
  std::string operator()(PropertyListDate date) const {
    constexpr double kWithinTheCalendar = 5e11;  // some 15,000 years
    if (std::abs(date.secondsSince2001) < kWithinTheCalendar) {
      const auto whole = static_cast<std::int64_t>(std::floor(date.secondsSince2001));
      return describeMoment(kPropertyListEpoch + std::chrono::seconds(whole));
    }
    return (*this)(date.secondsSince2001) + " seconds since 2001";
  }
  std::string operator()(const PropertyList::Data& data) const {
    return std::to_string(data.size()) + (data.size() == 1 ? " byte" : " bytes");
  }
  std::string operator()(const PropertyList::Array& array) const {
    return '[' + joined(array, ", ", describe) + ']';
  }
  std::string operator()(const PropertyList::Dictionary& dictionary) const {
    const auto describeEntry = [](const PropertyList::Dictionary::value_type& entry) {
      return inQuotes(entry.first) + ": " + describe(entry.second);
    };
    return dictionary.empty() ? "[:]" : '[' + joined(dictionary, ", ", describeEntry) + ']';
  }
};

/// Whether `<` begins markup (a declaration, or a name that can't be hexadecimal data).
bool looksLikeXML(std::string_view bytes) {
  if (bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE")) {
    return true;  // UTF-16, which only XML uses
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    bytes.remove_prefix(3);
  }
  bytes = trimmed(bytes);
  if (!bytes.starts_with('<') || bytes.size() < 2) {
    return false;
  }
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const std::size_t name = bytes.find_first_not_of(kHexadecimalDigits, 1);
  return bytes[1] == '?' || bytes[1] == '!' ||
         (isLetter(bytes[1]) && name != std::string_view::npos && isLetter(bytes[name]));
}

}  // namespace

bool operator==(const PropertyList& left, const PropertyList& right) {
  return left.value_ == right.value_;
}

const PropertyList* PropertyList::find(std::string_view key) const noexcept {
  const auto* dictionary = as<Dictionary>();
  if (dictionary == nullptr) {
    return nullptr;
  }
  const auto found = dictionary->find(key);
  return found == dictionary->end() ? nullptr : &found->second;
}

std::expected<PropertyList, PropertyListError> parsePropertyList(std::string_view bytes,
                                                                 std::size_t maximumValues) {
  try {
    const ValueBudget budget(maximumValues);
    if (bytes.starts_with(kBinarySignature)) {
      return readBinaryPropertyList(bytes, budget);
    }
    return looksLikeXML(bytes) ? readXMLPropertyList(bytes, budget)
                               : readOldStylePropertyList(bytes, budget);
  } catch (PropertyListError& error) {
    return std::unexpected(std::move(error));
  }
}

std::string describe(const PropertyList& value) { return std::visit(Describer(), value.value()); }

std::string quotedExcerpt(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  const std::string_view shown = wholeCharacters(text, kLongest);
  return inQuotes(shown) + (shown.size() < text.size() ? "…" : "");
}

}  // namespace platform
