#include "Platform/PropertyList.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace platform {
namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

PropertyList dataOf(std::string_view text) {
  const auto* const bytes = reinterpret_cast<const std::byte*>(text.data());
  return PropertyList::Value(PropertyList::Data(bytes, bytes + text.size()));
}
PropertyList real(double number) { return PropertyList::Value(number); }
PropertyList date(double seconds) { return PropertyList::Value(PropertyListDate{seconds}); }
PropertyList integer(std::int64_t number) { return number; }
std::string plist(const std::string& content) { return "<plist>\n" + content + "</plist>"; }

std::string repeated(std::string_view piece, std::size_t count) {
  std::string out;
  while (out.size() < piece.size() * count) {
    out += piece;
  }
  return out;
}

/// Builds a binary property list from the bytes of its objects, the first of which is the root.
/// Offsets and references have one byte.
std::string binary(const std::vector<std::string>& objects) {
  std::string out = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += static_cast<char>(out.size());
    out += object;
  }
  const auto number = [](std::size_t value) {
    return std::string(7, '\0') + static_cast<char>(value);
  };
  return out + table + std::string(6, '\0') + "\x01\x01" + number(objects.size()) + number(0) +
         number(out.size());
}

/// The value, or the error as a string.
PropertyList parsed(std::string_view bytes) {
  auto result = parsePropertyList(bytes);
  return result ? std::move(*result) : PropertyList("error: " + result.error().message);
}
void expectParsed(const std::vector<std::pair<std::string, PropertyList>>& rows) {
  for (const auto& [bytes, expected] : rows) {
    EXPECT_EQ(parsed(bytes), expected) << bytes << "\nwas read as " << describe(parsed(bytes));
  }
}

TEST(PropertyListTest, ReadsEveryFormat) {
  expectParsed({
      {"(aZ09_$/:.-, http://x, {}, <>,)",
       Array{"aZ09_$/:.-", "http://x", Dictionary(), dataOf("")}},
      {R"({"a b"='c"d';a=1;a=2;})", Dictionary{{"a b", "c\"d"}, {"a", "2"}}},
      {"// one\n/* two\n*/ ( a /* , */ , // ;\r b ) // end", Array{"a", "b"}},
      {R"("\"\\\'\a\b\f\n\r\t\v\q\é\7\101\0101\177\200\341")",
       "\"\\'\a\b\f\n\r\t\vqé\aA\b1\x7F\u00A0Æ"},
      {"\"\xED\x9F\xBF\xEE\x80\x80\"", "\uD7FF\uE000"},
      {R"("’\U2019\Ue9x\U00e90\Ud83d\Ude00😀")", "’’éxé0😀😀"},
      {"<0FbD 7\n7>", dataOf("\x0F\xBD\x77")},
      {plist("<string> a&amp;&#x2019;<![CDATA[<b>]]><!-- c -->\r\n</string>"), " a&’<b>\n"},
      {plist("<array><integer> -9223372036854775808 </integer><integer>+0x1F</integer>"
             "<integer>18446744073709551615</integer></array>"),
       Array{integer(INT64_MIN), integer(31), PropertyList::Value(UINT64_MAX)}},
      {plist("<date>0001-01-01T00:00:00Z</date>"), date(-63113904000.0)},
      {plist("<data>\n\tAP+A\n\tfw==\n</data>"), dataOf("\x00\xFF\x80\x7F"s)},
      {binary({"\xA2\x01\x02", "\x11\xFF\xFE", "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"}),
       Array{integer(65534), integer(-2)}},
      {binary({"\xA2\x01\x02", "\x22\x3F\xC0\0\0"s, "\x33\xBF\xF8\0\0\0\0\0\0"s}),
       Array{real(1.5), date(-1.5)}},
      {binary({"\xA2\x01\x02", "\x4F\x10\x02\x00\xFF"s, "\x63\x20\x19\xD8\x3D\xDE\x00"s}),
       Array{dataOf("\x00\xFF"s), "’😀"}},
      {binary({"\xD1\x01\x01", "\x51k"}), Dictionary{{"k", "k"}}},
  });
}

TEST(PropertyListTest, ErrorsHavePositionAndExpectation) {
  const std::string onTop = "error: binary property list: object 0, at byte 8: ";
  expectParsed({
      {R"("\Ud83dx")",
       "error: line 1: expected both halves of a surrogate pair in \\U escapes, found 'x'"},
      {R"("\400")", "error: line 1: expected an octal escape up to \\375, found '4'"},
      {"(\n\"ab\xC3(\")", "error: line 2: expected UTF-8 in a string, found the byte 0xC3"},
      {"<abc>", "error: line 1: expected an even number of hexadecimal digits in data, found '>'"},
      {"\n <?xml version=\"1.0\"?>" + plist("<dict><true/></dict>"),
       "error: line 3: expected <key>, found <true>"},
      {plist("<integer>18446744073709551616</integer>"),
       "error: line 2: expected an integer of 64 bits, found \"18446744073709551616\""},
      {"<!DOCTYPE plist [<!ENTITY a \"aaaa\">]>" + plist("<true/>"),
       "error: line 1: expected a document type without declarations of its own"},
      {"bplist00\x09",
       "error: binary property list: expected a trailer of 32 bytes, found the end at byte 9"},
      {binary({"\xA1\x01", "\xA1\x00"s}), onTop + "expected a tree, found an object within itself"},
      {binary({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}),
       onTop + "expected at most 18 elements, found 9223372036854775807"},
  });
}

TEST(PropertyListTest, LimitsNestingAndRepetition) {
  for (const std::size_t depth : {512U, 513U, 100'000U}) {
    for (const std::string& text :
         {repeated("(", depth) + repeated(")", depth),
          repeated("{a=", depth) + "b" + repeated(";}", depth),
          plist(repeated("<array>", depth) + repeated("</array>", depth))}) {
      SCOPED_TRACE(std::to_string(depth) + " levels: " + text.substr(0, 20));
      const auto result = parsePropertyList(text);
      EXPECT_EQ(result.has_value(), depth == 512);
      if (result) {
        EXPECT_EQ(parsed(toXML(*result)), *result);
        EXPECT_EQ(parsed(toBinary(*result)), *result);
        EXPECT_THROW((void)toXML(Array{*result}), std::invalid_argument);
      }
    }
  }
  std::vector<std::string> objects;
  for (int level = 1; level <= 20; ++level) {  // 10 to the power of 20 values
    objects.push_back("\xAA" + std::string(10, static_cast<char>(level)));
  }
  objects.emplace_back("\x09");
  EXPECT_FALSE(parsePropertyList(binary(objects)));
}

TEST(PropertyListTest, RoundTripsEveryType) {
  const PropertyList value = Dictionary{
      {" key & <more> ",
       Array{"", " blanks\t\n ", "a\rb\r\nc", "<&>\"'", "]]>", "é’😀", "\x7F\xC2\x80"}},
      {"numbers", Array{false, integer(INT64_MIN), PropertyList::Value(UINT64_MAX)}},
      {"reals", Array{real(0.1), real(1), real(-0.0), real(5e-324)}},
      {"dates", Array{date(-63113904000.0), date(252423993599.0)}},
      {"data", Array{dataOf(""), dataOf("\xF9"), dataOf("\xF9\xFA"), dataOf("\xF9\xFA\xFB")}},
      {"empty", Array{Array(), Dictionary()}}};
  EXPECT_EQ(parsed(toXML(value)), value) << toXML(value);
  EXPECT_EQ(parsed(toBinary(value)), value);
}

TEST(PropertyListTest, BinaryFormatHoldsWhatXMLCannot) {
  PropertyList::Array many(20, "x");
  const PropertyList value =
      Dictionary{{"\x1B\x01", Array{"\x01’😀", "\xEF\xBF\xBF", date(1e300), date(-1.5)}},
                 {"many", many},
                 {std::string(300, 'k'), dataOf(std::string(70'000, 'd'))}};
  EXPECT_EQ(parsed(toBinary(value)), value);
  EXPECT_THROW((void)toBinary("\xC3("), std::invalid_argument);
}

TEST(PropertyListTest, LimitsValuesInEveryFormat) {
  const PropertyList five = Array{"a", "b", Dictionary{{"c", "d"}}};
  // The binary format counts keys, too, since they are objects.
  const std::vector<std::pair<std::string, std::size_t>> rows{
      {toXML(five), 7}, {toBinary(five), 6}, {"(a, b, {c=d;})", 5}};
  for (const auto& [bytes, count] : rows) {
    EXPECT_TRUE(parsePropertyList(bytes, count)) << bytes;
    EXPECT_FALSE(parsePropertyList(bytes, count - 1)) << bytes;
  }
}

TEST(PropertyListTest, WritersRejectValuesThatWouldNotRoundTrip) {
  for (const PropertyList& value :
       {PropertyList("\x1B"), PropertyList("\xC3("), PropertyList("\xEF\xBF\xBF"),
        PropertyList(Dictionary{{"\x01", true}}), date(1e300), date(252423993600.0)}) {
    EXPECT_THROW((void)toXML(value), std::invalid_argument) << describe(value);
  }
}

}  // namespace
}  // namespace platform
