#include "Platform/PropertyList.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace platform {

/// For test failures.
void PrintTo(const PropertyList& value, std::ostream* out) { *out << describe(value); }

namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using ::testing::HasSubstr;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

PropertyList data(std::initializer_list<int> bytes) {
  PropertyList::Data result;
  for (const int byte : bytes) {
    result.push_back(static_cast<std::byte>(byte));
  }
  return PropertyList::Value(std::move(result));
}
PropertyList real(double number) { return PropertyList::Value(number); }
PropertyList date(double seconds) { return PropertyList::Value(PropertyListDate{seconds}); }
PropertyList integer(std::int64_t number) { return number; }

/// The value, or the error as a text.
PropertyList parsed(std::string_view bytes) {
  auto result = parsePropertyList(bytes);
  return result ? std::move(*result) : PropertyList("error: " + result.error().message);
}
std::string repeated(std::string_view piece, std::size_t count) {
  std::string out;
  for (std::size_t index = 0; index < count; ++index) {
    out += piece;
  }
  return out;
}

std::string plist(const std::string& content) { return "<plist>\n" + content + "</plist>"; }

/// Makes a binary property list of objects given as bytes, the first one on top; every number of
/// the table and every reference takes one byte.
std::string binary(const std::vector<std::string>& objects) {
  std::string out = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += static_cast<char>(out.size());
    out += object;
  }
  const std::size_t start = out.size();
  const auto number = [](std::size_t value) {
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8) {
      bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
  };
  return out + table + std::string(6, '\0') + "\x01\x01" + number(objects.size()) + number(0) +
         number(start);
}
using Rows = std::vector<std::pair<std::string, PropertyList>>;

void expectParsed(const Rows& rows) {
  for (const auto& [bytes, expected] : rows) {
    EXPECT_EQ(parsed(bytes), expected) << bytes;
  }
}

TEST(PropertyListTest, OldStyleTextIsRead) {
  expectParsed({
      {R"((
        {
        AppIdentifiersToClose =         (
        );
        Build = 25F71;
        DeferredUntil = "2026-08-16 00:00:00 +0000";
    }
)

)",
       Array{Dictionary{{"AppIdentifiersToClose", Array()},
                        {"Build", "25F71"},
                        {"DeferredUntil", "2026-08-16 00:00:00 +0000"}}}},
      {"aZ09_$/:.-", "aZ09_$/:.-"},
      {"(http://x, /a//b)", Array{"http://x", "/a//b"}},
      {"(a,{},<>,)", Array{"a", Dictionary(), data({})}},
      {R"({"a b"='c"d';a=1;a=2;})", Dictionary{{"a b", "c\"d"}, {"a", "2"}}},
      {"// one\n/* two\n*/ ( a /* , */ , // ;\r b ) // end", Array{"a", "b"}},
      {R"("\"\\\'\a\b\f\n\r\t\v\q\é\7\101\0101\341")", "\"\\'\a\b\f\n\r\t\vqé\aA\b1Æ"},
      {R"("’\U2019\Ue9x\U00e90\Ud83d\Ude00😀")", "’’éxé0😀😀"},
      {"<0FbD 7\n7>", data({0x0F, 0xBD, 0x77})},
  });
}

TEST(PropertyListTest, XMLIsRead) {
  expectParsed({
      {plist("<string> a&amp;&#x2019;<![CDATA[<b>]]><!-- c -->\r\n</string>"), " a&’<b>\n"},
      {plist("<array><integer>1</integer><real>1</real><true/><string>1</string></array>"),
       Array{integer(1), real(1), true, "1"}},
      {plist("<array><integer> -9223372036854775808 </integer><integer>+0x1F</integer>"
             "<integer>18446744073709551615</integer></array>"),
       Array{integer(INT64_MIN), integer(31), PropertyList::Value(UINT64_MAX)}},
      {plist("<array><real>-1.5e3</real><real>+infinity</real></array>"),
       Array{real(-1500), real(kInfinity)}},
      {plist("<date>0001-01-01T00:00:00Z</date>"), date(-63113904000.0)},
      {plist("<data>\n\tAP+A\n\tfw==\n</data>"), data({0x00, 0xFF, 0x80, 0x7F})},
      {plist("<dict><key>a</key><true/><key>a</key><false/></dict>"), Dictionary{{"a", false}}},
  });
}

TEST(PropertyListTest, TheBinaryFormIsRead) {
  expectParsed({
      {binary({"\xA2\x01\x02", "\x11\xFF\xFE", "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"}),
       Array{integer(65534), integer(-2)}},
      {binary({"\xA2\x01\x02", "\x22\x3F\xC0\0\0"s, "\x33\xBF\xF8\0\0\0\0\0\0"s}),
       Array{real(1.5), date(-1.5)}},
      {binary({"\x4F\x10\x02\x00\xFF"s}), data({0, 255})},
      {binary({"\xA2\x01\x02", "\x52hi", "\x63\x20\x19\xD8\x3D\xDE\x00"s}), Array{"hi", "’😀"}},
      {binary({"\xD1\x01\x01", "\x51k"}), Dictionary{{"k", "k"}}},
  });
}

TEST(PropertyListTest, AnErrorSaysWhereAndWhat) {
  const std::string onTop = "error: binary property list: object 0, at byte 8: ";
  expectParsed({
      {"(\n{", "error: line 2: expected a key or '}', found the end of the text"},
      {"{\na b;}", "error: line 2: expected '=' after the key \"a\", found 'b'"},
      {"{\n a=(\n) b=2;}", "error: line 3: expected ';' after the value of \"a\", found 'b'"},
      {"(\"a\n\nb",
       "error: line 3: expected \" to close the text of line 1, found the end of the text"},
      {R"("\Ud83dx")",
       "error: line 1: expected both halves of a surrogate pair in \\U escapes, found 'x'"},
      {R"("\400")", "error: line 1: expected an octal escape up to \\375, found '4'"},
      {"(\n\"ab\xC3(\")", "error: line 2: expected UTF-8 in a text, found the byte 0xC3"},
      {"<abc>", "error: line 1: expected an even number of hexadecimal digits in data, found '>'"},
      {"\n <?xml version=\"1.0\"?>" + plist("<dict><true/></dict>"),
       "error: line 3: expected <key>, found <true>"},
      {plist("<integer>18446744073709551616</integer>"),
       "error: line 2: expected an integer of 64 bits, found \"18446744073709551616\""},
      {plist("<date>2024-02-30T00:00:00Z</date>"),
       "error: line 2: expected a date such as 2024-06-15T00:00:00Z, found "
       "\"2024-02-30T00:00:00Z\""},
      {"<!DOCTYPE plist [<!ENTITY a \"aaaa\">]>" + plist("<true/>"),
       "error: line 1: expected a document type without declarations of its own"},
      {"bplist00\x09",
       "error: binary property list: expected a trailer of 32 bytes, found the end at byte 9"},
      {binary({"\xA1\x01", "\xA1\x00"s}), onTop + "expected a tree, found an object within itself"},
      {binary({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}),
       onTop + "expected at most 18 elements, found 9223372036854775807"},
  });
}

TEST(PropertyListTest, NestingAndRepetitionAreBounded) {
  for (const std::size_t depth : {512U, 513U, 100'000U}) {
    for (const std::string& text :
         {repeated("(", depth) + repeated(")", depth),
          repeated("{a=", depth) + "b" + repeated(";}", depth),
          plist(repeated("<array>", depth) + repeated("</array>", depth))}) {
      const auto result = parsePropertyList(text);
      EXPECT_EQ(result.has_value(), depth == 512);
      if (result) {
        EXPECT_EQ(parsed(toXML(*result)), *result);
        EXPECT_THROW((void)toXML(Array{*result}), std::invalid_argument);
      }
    }
  }
  std::vector<std::string> objects;
  for (int level = 1; level <= 20; ++level) {  // 10 to the power of 20 values
    objects.push_back("\xAA" + std::string(10, static_cast<char>(level)));
  }
  objects.emplace_back("\x09");
  EXPECT_THAT(describe(parsed(binary(objects))), HasSubstr("found too large a whole"));
}

TEST(PropertyListTest, TheWriterKeepsEveryValueAndItsKind) {
  PropertyList::Data bytes;
  Array datas;
  for (int size = 0; size < 7; ++size) {  // every length of the last group of base 64
    datas.emplace_back(PropertyList::Value(bytes));
    bytes.push_back(static_cast<std::byte>(0xF9 + size));
  }
  const PropertyList value = Dictionary{
      {"texts", Array{"", " blanks\t\n ", "a\rb\r\nc", "<&>\"'", "]]>", "é’😀", "\x7F\xC2\x80"}},
      {" key & <more> ", "v"},
      {"integers",
       Array{integer(0), integer(INT64_MIN), integer(INT64_MAX), PropertyList::Value(UINT64_MAX)}},
      {"reals", Array{real(0.1), real(1), real(-0.0), real(5e-324), real(1.7976931348623157e308),
                      real(kInfinity), real(-kInfinity)}},
      {"flags", Array{true, false}},
      {"dates", Array{date(0), date(-63113904000.0), date(252423993599.0)}},
      {"datas", datas},
      {"empty", Array{Array(), Dictionary()}}};
  const std::string xml = toXML(value);
  EXPECT_EQ(parsed(xml), value) << xml;
  EXPECT_TRUE(std::isnan(*parsed(toXML(real(kNaN))).as<double>()));
  EXPECT_EQ(parsed(toXML(date(-0.25))), date(-1)) << "whole seconds, rounded down";
}

TEST(PropertyListTest, TheWriterRefusesWhatItsReaderWouldNotGiveBack) {
  for (const PropertyList& value :
       {PropertyList("\x1B"), PropertyList("\xC3("), PropertyList("\xEF\xBF\xBF"),
        PropertyList(Dictionary{{"\x01", true}}), date(kNaN), date(252423993600.0)}) {
    EXPECT_THROW((void)toXML(value), std::invalid_argument) << describe(value);
  }
}

}  // namespace
}  // namespace platform
