// Reads, with Expat, and writes the XML format.
#include <expat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Platform/Calendar.h"
#include "Platform/PropertyListReaders.h"
#include "Platform/RealNumbers.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace platform {
namespace {

using std::chrono::seconds;

constexpr std::string_view kXMLBlanks = " \t\n\r";
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::uint8_t kNoDigit = 64;
/// The value of each character as a digit of base 64.
constexpr std::array<std::uint8_t, 256> kBase64Values = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoDigit);
  for (std::uint8_t value = 0; value < kNoDigit; ++value) {
    values.at(static_cast<unsigned char>(kBase64Digits[value])) = value;
  }
  return values;
}();

/// Removes a plus sign, which from_chars doesn't accept.
std::string_view withoutPlus(std::string_view text) {
  return text.starts_with('+') && !text.starts_with("+-") ? text.substr(1) : text;
}

std::optional<PropertyList> parseInteger(std::string_view text) {
  text = withoutPlus(trimmed(text, kXMLBlanks));
  const bool negative = text.starts_with('-');
  std::string_view digits = text.substr(negative ? 1 : 0);
  int base = 10;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
    base = 16;
  }
  const auto magnitude = wholeNumber<std::uint64_t>(digits, base);
  constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;
  if (!magnitude || (negative && *magnitude > kSignBit)) {
    return std::nullopt;
  }
  if (negative || *magnitude < kSignBit) {
    return static_cast<std::int64_t>(negative ? 0 - *magnitude : *magnitude);
  }
  return PropertyList::Value(*magnitude);
}

std::optional<PropertyList> parseRealNumber(std::string_view text) {
  return parseReal(withoutPlus(trimmed(text, kXMLBlanks))).transform([](double number) {
    return PropertyList(PropertyList::Value(number));
  });
}

std::optional<PropertyList> parseDate(std::string_view text) {
  return parseMoment(trimmed(text, kXMLBlanks)).transform([](Moment moment) {
    const seconds since2001 = moment - kPropertyListEpoch;
    return PropertyList(PropertyListDate{static_cast<double>(since2001.count())});
  });
}

/// Decodes base 64 with white space anywhere.
std::optional<PropertyList> parseData(std::string_view text) {
  PropertyList::Data data;
  std::uint32_t bits = 0;
  std::size_t digits = 0;
  std::size_t padding = 0;
  for (const char character : text) {
    if (kXMLBlanks.contains(character)) {
      continue;
    }
    const std::uint8_t value = kBase64Values.at(static_cast<unsigned char>(character));
    if (character == '=') {
      ++padding;
    } else if (value == kNoDigit || padding > 0) {
      return std::nullopt;
    } else {
      bits = bits << 6 | value;
      ++digits;
      if (digits % 4 != 1) {  // eight more bits are complete
        data.push_back(static_cast<std::byte>(bits >> (6 - 2 * ((digits + 3) % 4)) & 0xFF));
      }
    }
  }
  if ((digits + padding) % 4 != 0 || padding > 2) {
    return std::nullopt;
  }
  return PropertyList::Value(std::move(data));
}

enum class Content : std::uint8_t { elements, text, nothing };

struct Tag {
  std::string_view name;
  Content content;
  /// Of a value without elements: its value. Absent if the text isn't what is expected.
  std::optional<PropertyList> (*parse)(std::string_view text) = nullptr;
  const char* expected = "";
};

constexpr std::string_view kPlist = "plist";
constexpr std::string_view kDict = "dict";
constexpr std::string_view kArray = "array";
constexpr std::string_view kKey = "key";

constexpr std::array kTags{
    Tag{kPlist, Content::elements},
    Tag{kDict, Content::elements},
    Tag{kArray, Content::elements},
    Tag{kKey, Content::text},
    Tag{"string", Content::text,
        [](std::string_view text) { return std::optional<PropertyList>(std::string(text)); }},
    Tag{"integer", Content::text, parseInteger, "an integer of 64 bits"},
    Tag{"real", Content::text, parseRealNumber, "a real number"},
    Tag{"date", Content::text, parseDate, "a date such as 2024-06-15T00:00:00Z"},
    Tag{"data", Content::text, parseData, "data in base 64"},
    Tag{"true", Content::nothing,
        [](std::string_view) { return std::optional<PropertyList>(true); }},
    Tag{"false", Content::nothing,
        [](std::string_view) { return std::optional<PropertyList>(false); }},
};

/// Builds the value from Expat's events with a stack of open elements.
class XMLReader {
 public:
  explicit XMLReader(ValueBudget budget) : budget_(budget) {}

  PropertyList read(std::string_view bytes) {
    if (!parser_) {
      throw std::bad_alloc();
    }
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), handle<&XMLReader::start>, handle<&XMLReader::end>);
    XML_SetCharacterDataHandler(parser_.get(), handle<&XMLReader::characters>);
    XML_SetStartDoctypeDeclHandler(parser_.get(), handle<&XMLReader::documentType>);
    XML_SetSkippedEntityHandler(parser_.get(), handle<&XMLReader::skippedEntity>);
    // Expat requires a declaration to come first; other readers accept white space before it.
    const std::string_view blanks = bytes.substr(0, bytes.find_first_not_of(" \t\r\n"));
    bytes.remove_prefix(blanks.size());
    linesBefore_ = static_cast<std::size_t>(std::ranges::count(blanks, '\n'));
    constexpr std::size_t kLargestPiece = std::size_t{1} << 30;  // Expat counts in int
    bool last = false;
    while (!last) {
      const std::string_view piece = bytes.substr(0, kLargestPiece);
      bytes.remove_prefix(piece.size());
      last = bytes.empty();
      const auto status = XML_Parse(parser_.get(), piece.data(), static_cast<int>(piece.size()),
                                    last ? XML_TRUE : XML_FALSE);
      if (failure_) {
        std::rethrow_exception(failure_);
      }
      if (status != XML_STATUS_OK) {
        const char* reason = XML_ErrorString(XML_GetErrorCode(parser_.get()));
        fail(std::string("not well-formed XML: ") + (reason != nullptr ? reason : "unknown"));
      }
    }
    return std::move(*result_);  // a well-formed document has a root, which the end handler checks
  }

 private:
  struct OpenElement {
    const Tag* tag;
    PropertyList value = {};              // of a dict or an array
    std::optional<std::string> key = {};  // of a dict: the key whose value comes next
  };

  struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  [[noreturn]] void fail(const std::string& message) const {
    const std::size_t line = linesBefore_ + XML_GetCurrentLineNumber(parser_.get());
    throw PropertyListError{"line " + std::to_string(line) + ": " + message};
  }

  /// The handler for an event of Expat that calls `kMethod`. Keeps exceptions out of Expat's
  /// frames: the first one stops the parser and is rethrown afterwards.
  template <auto kMethod, typename... Arguments>
  static void XMLCALL handle(void* self, Arguments... arguments) {
    auto& reader = *static_cast<XMLReader*>(self);
    if (reader.failure_) {
      return;
    }
    try {
      (reader.*kMethod)(arguments...);
    } catch (...) {
      reader.failure_ = std::current_exception();
      XML_StopParser(reader.parser_.get(), XML_FALSE);
    }
  }

  void documentType(const XML_Char* /*name*/, const XML_Char* /*system*/,
                    const XML_Char* /*identifier*/, int hasInternalSubset) {
    if (hasInternalSubset != 0) {  // its entities could expand the document enormously
      fail("expected a document type without declarations of its own");
    }
  }
  void skippedEntity(const XML_Char* name, int /*isParameter*/) {
    fail("expected a predefined entity, found " + quotedExcerpt(name));
  }

  void start(const XML_Char* text, const XML_Char** /*attributes*/) {
    const std::string_view name = text;
    const auto* const tag = std::ranges::find(kTags, name, &Tag::name);
    const auto found = [&] { return ", found <" + std::string(name.substr(0, 40)) + ">"; };
    if (tag == kTags.end()) {
      fail("expected an element of property lists" + found());
    }
    if (open_.empty() != (name == kPlist)) {
      fail((open_.empty() ? "expected <plist>" : "expected a value") + found());
    }
    if (!open_.empty()) {
      const OpenElement& parent = open_.back();
      if (parent.tag->content != Content::elements) {
        fail("expected text in <" + std::string(parent.tag->name) + ">" + found());
      }
      const bool wantsKey = parent.tag->name == kDict && !parent.key;
      if (wantsKey != (name == kKey)) {
        fail((wantsKey ? "expected <key>" : "expected a value") + found());
      }
      if (parent.tag->name == kPlist && result_) {
        fail("expected </plist> after the value" + found());
      }
    }
    if (!budget_.take()) {
      fail("expected " + budget_.expected());
    }
    if (tag->content == Content::elements &&
        open_.size() > kMaximumPropertyListDepth) {  // <plist> doesn't count
      fail("expected at most " + std::to_string(kMaximumPropertyListDepth) + " levels of nesting");
    }
    open_.push_back({.tag = tag});
    if (name == kDict) {
      open_.back().value = PropertyList::Dictionary();
    } else if (name == kArray) {
      open_.back().value = PropertyList::Array();
    }
    text_.clear();
  }

  void characters(const XML_Char* text, int size) {
    const std::string_view piece(text, static_cast<std::size_t>(size));
    const Tag& tag = *open_.back().tag;
    if (tag.content == Content::text) {
      text_ += piece;
    } else if (piece.find_first_not_of(kXMLBlanks) != std::string_view::npos) {
      fail("expected no text in <" + std::string(tag.name) + ">, found " +
           quotedExcerpt(trimmed(piece, kXMLBlanks)));
    }
  }

  void end(const XML_Char* /*name*/) {
    OpenElement element = std::move(open_.back());
    open_.pop_back();
    if (open_.empty()) {
      if (!result_) {
        fail("expected a value in <plist>");
      }
      return;
    }
    if (element.key) {
      fail("expected a value of the key " + quotedExcerpt(*element.key));
    }
    OpenElement& parent = open_.back();
    if (element.tag->name == kKey) {
      parent.key = std::exchange(text_, {});
      return;
    }
    if (element.tag->parse != nullptr) {
      std::optional<PropertyList> value = element.tag->parse(text_);
      if (!value) {
        fail(std::string("expected ") + element.tag->expected + ", found " + quotedExcerpt(text_));
      }
      element.value = *std::move(value);
    }
    if (auto* array = std::get_if<PropertyList::Array>(&parent.value.value())) {
      array->push_back(std::move(element.value));
    } else if (parent.key) {
      std::get<PropertyList::Dictionary>(parent.value.value())
          .insert_or_assign(*std::move(parent.key), std::move(element.value));
      parent.key.reset();
    } else {
      result_ = std::move(element.value);
    }
  }

  std::unique_ptr<XML_ParserStruct, FreeParser> parser_{XML_ParserCreate(nullptr)};
  ValueBudget budget_;
  std::size_t linesBefore_ = 0;  // of those that Expat counts
  std::vector<OpenElement> open_;
  std::string text_;  // of the open element that holds text
  std::optional<PropertyList> result_;
  std::exception_ptr failure_;
};

/// Appends the element for a value; one overload per type.
class XMLWriter {
 public:
  XMLWriter(std::string& out, std::size_t depth) : out_(out), depth_(depth) {}

  void operator()(const std::string& text) const { writeText("string", text); }
  void operator()(std::int64_t number) const { writeElement("integer", std::to_string(number)); }
  void operator()(std::uint64_t number) const { writeElement("integer", std::to_string(number)); }
  void operator()(double number) const {
    if (std::isinf(number)) {
      writeElement("real", number < 0 ? "-infinity" : "+infinity");
      return;
    }
    writeElement("real", std::isnan(number) ? "nan" : shortestText(number));
  }
  void operator()(bool flag) const { writeLine(flag ? "<true/>" : "<false/>"); }

  void operator()(PropertyListDate date) const {
    constexpr double kConvertibleLimit = 1e12;  // excludes NaN and what doesn't fit into an integer
    const double whole = std::floor(date.secondsSince2001);
    const bool convertible = std::abs(whole) < kConvertibleLimit;
    const auto moment =
        kPropertyListEpoch + seconds(convertible ? static_cast<std::int64_t>(whole) : 0);
    if (!convertible || moment < std::chrono::sys_days(std::chrono::year(0) / 1 / 1) ||
        moment >= std::chrono::sys_days(std::chrono::year(10'000) / 1 / 1)) {
      throw std::invalid_argument("a date of a property list lies outside the years 0000 to 9999");
    }
    writeElement("date", timestamp(moment));
  }

  void operator()(const PropertyList::Data& data) const {
    std::string text;
    text.reserve((data.size() + 2) / 3 * 4);
    for (std::size_t index = 0; index < data.size(); index += 3) {
      const std::size_t count = std::min<std::size_t>(3, data.size() - index);
      std::uint32_t bits = 0;
      for (std::size_t offset = 0; offset < 3; ++offset) {
        bits =
            bits << 8 | (offset < count ? std::to_integer<std::uint32_t>(data[index + offset]) : 0);
      }
      for (std::size_t digit = 0; digit < 4; ++digit) {
        text += digit <= count ? kBase64Digits[bits >> (18 - 6 * digit) & 63] : '=';
      }
    }
    writeElement("data", text);
  }

  void operator()(const PropertyList::Array& array) const {
    writeCollection("array", array, [](const XMLWriter& inner, const PropertyList& element) {
      std::visit(inner, element.value());
    });
  }
  void operator()(const PropertyList::Dictionary& dictionary) const {
    writeCollection("dict", dictionary, [](const XMLWriter& inner, const auto& entry) {
      inner.writeText("key", entry.first);
      std::visit(inner, entry.second.value());
    });
  }

 private:
  void writeLine(std::string_view content) const {
    out_.append(depth_, '\t');
    out_ += content;
    out_ += '\n';
  }

  void writeElement(const std::string& name, std::string_view content) const {
    writeLine("<" + name + ">" + std::string(content) + "</" + name + ">");
  }

  void writeCollection(const std::string& name, const auto& items, const auto& writeItem) const {
    if (depth_ >= kMaximumPropertyListDepth) {
      throw std::invalid_argument("a property list is nested too deeply");
    }
    if (items.empty()) {
      writeLine("<" + name + "/>");
      return;
    }
    writeLine("<" + name + ">");
    for (const auto& item : items) {
      writeItem(XMLWriter(out_, depth_ + 1), item);
    }
    writeLine("</" + name + ">");
  }

  void writeText(const std::string& name, std::string_view text) const {
    if (findInvalidUTF8(text) != std::string_view::npos) {
      throw std::invalid_argument("a string of a property list is not UTF-8");
    }
    const bool hasControl = std::ranges::any_of(text, [](unsigned char character) {
      return character < ' ' && !kXMLBlanks.contains(static_cast<char>(character));
    });
    // U+FFFE and U+FFFF are valid in UTF-8 but not in XML.
    if (hasControl || text.contains("\xEF\xBF\xBE") || text.contains("\xEF\xBF\xBF")) {
      throw std::invalid_argument(
          "a string of a property list has a character that XML can't hold");
    }
    std::string escaped;
    escaped.reserve(text.size());
    for (const char character : text) {
      switch (character) {
        case '&':
          escaped += "&amp;";
          break;
        case '<':
          escaped += "&lt;";
          break;
        case '>':
          escaped += "&gt;";
          break;
        case '\r':  // a plain one would be read as a line feed
          escaped += "&#13;";
          break;
        default:
          escaped += character;
      }
    }
    writeElement(name, escaped);
  }

  std::string& out_;
  std::size_t depth_;
};

}  // namespace

PropertyList readXMLPropertyList(std::string_view bytes, ValueBudget budget) {
  return XMLReader(budget).read(bytes);
}

std::string toXML(const PropertyList& value) {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
      "<plist version=\"1.0\">\n";
  std::visit(XMLWriter(out, 0), value.value());
  out += "</plist>\n";
  return out;
}

}  // namespace platform
