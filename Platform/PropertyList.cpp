#include "Platform/PropertyList.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "Platform/Calendar.h"
#include "Platform/PropertyListReaders.h"
#include "Platform/RealNumbers.h"
#include "Platform/Text.h"

namespace platform {
namespace {

constexpr std::string_view kBinarySignature = "bplist";
constexpr std::string_view kHexadecimalDigits = "0123456789abcdefABCDEF";

void appendQuoted(std::string& out, std::string_view text) {
  out += '"';
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
  out += '"';
}

/// Appends the description of a value; one overload per type.
class Describer {
 public:
  explicit Describer(std::string& out) : out_(out) {}

  void operator()(const std::string& text) const { appendQuoted(out_, text); }
  void operator()(std::int64_t number) const { out_ += std::to_string(number); }
  void operator()(std::uint64_t number) const { out_ += std::to_string(number); }
  void operator()(double number) const {
    const std::string shortest = shortestText(number);
    out_ += shortest;
    if (shortest.find_first_not_of("-0123456789") == std::string_view::npos) {
      out_ += ".0";
    }
  }
  void operator()(bool flag) const { out_ += flag ? "true" : "false"; }
  void operator()(PropertyListDate date) const {
    constexpr double kWithinTheCalendar = 5e11;  // some 15,000 years
    if (std::abs(date.secondsSince2001) < kWithinTheCalendar) {
      const auto whole = static_cast<std::int64_t>(std::floor(date.secondsSince2001));
      out_ += describeMoment(kPropertyListEpoch + std::chrono::seconds(whole));
    } else {
      (*this)(date.secondsSince2001);
      out_ += " seconds since 2001";
    }
  }
  void operator()(const PropertyList::Data& data) const {
    out_ += std::to_string(data.size()) + (data.size() == 1 ? " byte" : " bytes");
  }
  void operator()(const PropertyList::Array& array) const {
    out_ += '[';
    std::string_view separator;
    for (const PropertyList& element : array) {
      out_ += separator;
      std::visit(*this, element.value());
      separator = ", ";
    }
    out_ += ']';
  }
  void operator()(const PropertyList::Dictionary& dictionary) const {
    out_ += dictionary.empty() ? "[:" : "[";
    std::string_view separator;
    for (const auto& [key, value] : dictionary) {
      out_ += separator;
      appendQuoted(out_, key);
      out_ += ": ";
      std::visit(*this, value.value());
      separator = ", ";
    }
    out_ += ']';
  }

 private:
  std::string& out_;
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

std::string describe(const PropertyList& value) {
  std::string out;
  std::visit(Describer(out), value.value());
  return out;
}

std::string quotedExcerpt(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::size_t length = std::min(text.size(), kLongest);
  while (length > 0 && length < text.size() && (text[length] & 0xC0) == 0x80) {
    --length;  // not in the middle of a character
  }
  std::string out;
  appendQuoted(out, text.substr(0, length));
  return length < text.size() ? out + "…" : out;
}

}  // namespace platform
