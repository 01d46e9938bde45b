#include "Platform/PropertyList.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "Platform/Unicode.h"

namespace platform {

/// For test failures.
void PrintTo(const PropertyList& value, std::ostream* out) { *out << describe(value); }

namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using ::testing::HasSubstr;
using ::testing::StartsWith;

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
std::string errorOf(std::string_view bytes) {
  const auto result = parsePropertyList(bytes);
  return result ? "no error but " + describe(*result) : result.error().message;
}

std::string repeated(std::string_view piece, std::size_t count) {
  std::string out;
  for (std::size_t index = 0; index < count; ++index) {
    out += piece;
  }
  return out;
}

PropertyList nestedArrays(std::size_t depth) {
  PropertyList value = Array();
  for (std::size_t level = 1; level < depth; ++level) {
    Array outer;
    outer.push_back(std::move(value));
    value = std::move(outer);
  }
  return value;
}

// ---- Old-style text

TEST(OldStylePropertyListTest, ReadsWhatTheManagementClientPrints) {
  const PropertyList value = parsed(R"((
        {
        AllowsInstallLater = 1;
        AppIdentifiersToClose =         (
        );
        Build = 25F71;
        DeferredUntil = "2026-08-16 00:00:00 +0000";
        HumanReadableNameLocale = en;
        Version = "26.5";
    },
        {
        ProductKey = "MSU_UPDATE_25F71_patch_26.5_major";
    }
)

)");
  EXPECT_EQ(value,
            PropertyList(Array{Dictionary{{"AllowsInstallLater", "1"},
                                          {"AppIdentifiersToClose", Array()},
                                          {"Build", "25F71"},
                                          {"DeferredUntil", "2026-08-16 00:00:00 +0000"},
                                          {"HumanReadableNameLocale", "en"},
                                          {"Version", "26.5"}},
                               Dictionary{{"ProductKey", "MSU_UPDATE_25F71_patch_26.5_major"}}}));
}

struct FormCase {
  const char* name;
  std::string text;
  PropertyList expected;
};
void PrintTo(const FormCase& row, std::ostream* out) { *out << row.name; }
const auto kNameOfRow = [](const auto& row) { return std::string(row.param.name); };

class PropertyListFormTest : public ::testing::TestWithParam<FormCase> {};
TEST_P(PropertyListFormTest, IsRead) { EXPECT_EQ(parsed(GetParam().text), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    OldStyle, PropertyListFormTest,
    ::testing::Values(
        FormCase{"TokenOfAllItsCharacters", "aZ09_$/:.-", "aZ09_$/:.-"},
        FormCase{"TokenThatLooksLikeAComment", "(http://x, /a//b)", Array{"http://x", "/a//b"}},
        FormCase{"EmptyArrayOverTwoLines", "(\n)", Array()},
        FormCase{"TrailingComma", "(a,{},<>,)", Array{"a", Dictionary(), data({})}},
        FormCase{"RepeatedKey", "{a=1;a=2;}", Dictionary{{"a", "2"}}},
        FormCase{"QuotedKeyAndSingleQuotes", R"({"a b"='c"d';})", Dictionary{{"a b", "c\"d"}}},
        FormCase{"Comments", "// one\n/* two\n*/ ( a /* , */ , // ;\r b ) // end", Array{"a", "b"}},
        FormCase{"ByteOrderMark", "\xEF\xBB\xBF(x)", Array{"x"}},
        FormCase{"SimpleEscapes", R"("\"\\\'\a\b\f\n\r\t\v\q")", "\"\\'\a\b\f\n\r\t\vq"},
        FormCase{"EscapedLineEnd", "\"a\\\nb\"", "a\nb"},
        FormCase{"EscapedLetterOutsideASCII", "\"\\é\"", "é"},
        FormCase{"OctalEscapes", R"("\7\101\0101\341")", "\aA\b1Æ"},
        FormCase{"UnicodeEscapes", R"("’\U2019\Ue9x\U00e90\Ud83d\Ude00😀")", "’’éxé0😀😀"},
        FormCase{"Data", "<0FbD 7\n7>", data({0x0F, 0xBD, 0x77})},
        FormCase{"DataThatStartsWithLetters", "<abcdef>", data({0xAB, 0xCD, 0xEF})}),
    kNameOfRow);

struct ErrorCase {
  const char* name;
  std::string text;
  std::string message;
};
void PrintTo(const ErrorCase& row, std::ostream* out) { *out << row.name; }

class PropertyListErrorTest : public ::testing::TestWithParam<ErrorCase> {};
TEST_P(PropertyListErrorTest, SaysWhereAndWhat) {
  EXPECT_EQ(errorOf(GetParam().text), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    OldStyle, PropertyListErrorTest,
    ::testing::Values(
        ErrorCase{"Empty", "", "line 1: expected a value, found the end of the text"},
        ErrorCase{"BlanksOnly", " \n\r\n\r", "line 4: expected a value, found the end of the text"},
        ErrorCase{"TrailingText", "(\n)\nx", "line 3: expected the end of the text, found 'x'"},
        ErrorCase{"Truncated", "(\n{", "line 2: expected a key or '}', found the end of the text"},
        ErrorCase{"NoEquals", "{\na b;}", "line 2: expected '=' after the key \"a\", found 'b'"},
        ErrorCase{"NoSemicolon", "{\n a=(\n) b=2;}",
                  "line 3: expected ';' after the value of \"a\", found 'b'"},
        ErrorCase{"NoComma", "(a b)", "line 1: expected ',' or ')' after an element, found 'b'"},
        ErrorCase{"OpenText", "(\"a\n\nb",
                  "line 3: expected \" to close the text of line 1, found "
                  "the end of the text"},
        ErrorCase{"OpenComment", "\n/* (\n",
                  "line 3: expected */ to close the comment of line 2, "
                  "found the end of the text"},
        ErrorCase{"LoneSurrogate", R"("\Ud83dx")",
                  "line 1: expected both halves of a surrogate pair in \\U escapes, found 'x'"},
        ErrorCase{"HalvesInWrongOrder", R"("\Ude00\Ud83d")",
                  "line 1: expected both halves of a surrogate pair in \\U escapes, found '\\'"},
        ErrorCase{"NoHexDigits", R"("\Ux")",
                  "line 1: expected 1 to 4 hexadecimal digits after \\U, found 'x'"},
        ErrorCase{"OctalTooHigh", R"("\400")",
                  "line 1: expected an octal escape up to \\375, found '4'"},
        ErrorCase{"InvalidUTF8", "(\n\"ab\xC3(\")",
                  "line 2: expected UTF-8 in a text, found the byte 0xC3"},
        ErrorCase{"NULByte", "\0"s, "line 1: expected a value, found the byte 0x00"},
        ErrorCase{"OddData", "<abc>",
                  "line 1: expected an even number of hexadecimal digits in data, found '>'"},
        ErrorCase{"NoData",
                  "<ab:", "line 1: expected a hexadecimal digit or '>' in data, found ':'"}),
    kNameOfRow);

TEST(OldStylePropertyListTest, EveryBeginningOfAListIsAnError) {
  const std::string text = R"(({a="b\U00e9";c=<00ff>;},/*x*/(d)))";
  ASSERT_TRUE(parsePropertyList(text));
  for (std::size_t size = 0; size < text.size(); ++size) {
    EXPECT_THAT(errorOf(text.substr(0, size)), StartsWith("line 1: expected ")) << size;
  }
}

// ---- XML

std::string plist(const std::string& content) { return "<plist>\n" + content + "</plist>"; }

/// ASCII in UTF-16, with a byte order mark.
std::string inUTF16(std::string_view text) {
  std::string out = "\xFE\xFF";
  for (const char character : text) {
    out += {'\0', character};
  }
  return out;
}

INSTANTIATE_TEST_SUITE_P(
    XML, PropertyListFormTest,
    ::testing::Values(
        FormCase{"TextWithEntitiesAndCDATA",
                 plist("<string> a&amp;&#x2019;<![CDATA[<b>]]><!-- c -->\r\n</string>"),
                 " a&’<b>\n"},
        FormCase{
            "KindsStayApart",
            plist("<array><integer>1</integer><real>1</real><true/><string>1</string></array>"),
            Array{integer(1), real(1), true, "1"}},
        FormCase{"Integers",
                 plist("<array><integer> -9223372036854775808 </integer><integer>+0x1F</integer>"
                       "<integer>18446744073709551615</integer></array>"),
                 Array{integer(INT64_MIN), integer(31), PropertyList::Value(UINT64_MAX)}},
        FormCase{"Reals", plist("<array><real>-1.5e3</real><real>+infinity</real></array>"),
                 Array{real(-1500), real(kInfinity)}},
        FormCase{"Dates",
                 plist("<array><date>2001-01-01T00:00:01Z</date>"
                       "<date>0001-01-01T00:00:00Z</date></array>"),
                 Array{date(1), date(-63113904000.0)}},
        FormCase{"DataOverLines", plist("<data>\n\tAP+A\n\tfw==\n</data>"),
                 data({0x00, 0xFF, 0x80, 0x7F})},
        FormCase{"RepeatedKey", plist("<dict><key>a</key><true/><key>a</key><false/></dict>"),
                 Dictionary{{"a", false}}},
        FormCase{"UTF16", inUTF16("<plist><true/></plist>"), true}),
    kNameOfRow);

INSTANTIATE_TEST_SUITE_P(
    XML, PropertyListErrorTest,
    ::testing::Values(
        ErrorCase{"NoValue", "<plist>\n</plist>", "line 2: expected a value in <plist>"},
        ErrorCase{"TwoValues", plist("<true/><true/>"),
                  "line 2: expected </plist> after the value, found <true>"},
        ErrorCase{"NoPlist", "<dict/>", "line 1: expected <plist>, found <dict>"},
        ErrorCase{"UnknownElement", plist("<set/>"),
                  "line 2: expected an element of property lists, found <set>"},
        ErrorCase{"ElementInText", plist("<string><true/></string>"),
                  "line 2: expected text in <string>, found <true>"},
        ErrorCase{"TextInArray", plist("<array>x</array>"),
                  "line 2: expected no text in <array>, found \"x\""},
        ErrorCase{"ValueWithoutKey", plist("<dict><true/></dict>"),
                  "line 2: expected <key>, found <true>"},
        ErrorCase{"KeyWithoutValue", plist("<dict><key>a</key></dict>"),
                  "line 2: expected a value of the key \"a\""},
        ErrorCase{"IntegerTooBig", plist("<integer>18446744073709551616</integer>"),
                  "line 2: expected an integer of 64 bits, found \"18446744073709551616\""},
        ErrorCase{"IntegerTooSmall", plist("<integer>-9223372036854775809</integer>"),
                  "line 2: expected an integer of 64 bits, found \"-9223372036854775809\""},
        ErrorCase{"TwoSigns", plist("<integer>+-1</integer>"),
                  "line 2: expected an integer of 64 bits, found \"+-1\""},
        ErrorCase{"NoSuchDay", plist("<date>2024-02-30T00:00:00Z</date>"),
                  "line 2: expected a date such as 2024-06-15T00:00:00Z, found "
                  "\"2024-02-30T00:00:00Z\""},
        ErrorCase{"DataWithoutPadding", plist("<data>AAA</data>"),
                  "line 2: expected data in base 64, found \"AAA\""},
        ErrorCase{"InvalidUTF8", plist("<string>\xC3(</string>"),
                  "line 2: not well-formed XML: not well-formed (invalid token)"},
        ErrorCase{"OwnEntities", "<!DOCTYPE plist [<!ENTITY a \"aaaa\">]>" + plist("<true/>"),
                  "line 1: expected a document type without declarations of its own"},
        ErrorCase{"ForeignEntity", "<!DOCTYPE plist SYSTEM \"x\">" + plist("<string>&a;</string>"),
                  "line 2: expected a predefined entity, found \"a\""}),
    kNameOfRow);

TEST(XMLPropertyListTest, TheWriterKeepsEveryValueAndItsKind) {
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

TEST(XMLPropertyListTest, TheWriterHasTheUsualLayout) {
  EXPECT_EQ(toXML(Dictionary{{"b", Array{true}}, {"a", integer(2)}}),
            R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>a</key>
	<integer>2</integer>
	<key>b</key>
	<array>
		<true/>
	</array>
</dict>
</plist>
)");
}

TEST(XMLPropertyListTest, TheWriterRefusesWhatItsReaderWouldNotGiveBack) {
  for (const PropertyList& value :
       {PropertyList("\0"s), PropertyList("\x1B"), PropertyList("\xC3("),
        PropertyList("\xEF\xBF\xBF"), PropertyList(Dictionary{{"\x01", true}}), date(kNaN),
        date(-1e300), date(252423993600.0)}) {
    EXPECT_THROW((void)toXML(value), std::invalid_argument) << describe(value);
  }
}

// ---- Binary

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
/// An error in the object on top.
std::string onTop(const std::string& message) {
  return "binary property list: object 0, at byte 8: " + message;
}
INSTANTIATE_TEST_SUITE_P(
    Binary, PropertyListFormTest,
    ::testing::Values(
        FormCase{"IntegersOfEachSize",
                 binary({"\xA5\x01\x02\x03\x04\x05", "\x10\xFF", "\x11\xFF\xFE",
                         "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE",
                         "\x14\0\0\0\0\0\0\0\0\x80\0\0\0\0\0\0\0"s,
                         "\x14\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x80\0\0\0\0\0\0\0"s}),
                 Array{integer(255), integer(65534), integer(-2),
                       PropertyList::Value(std::uint64_t{1} << 63), integer(INT64_MIN)}},
        FormCase{"Reals",
                 binary({"\xA2\x01\x02", "\x22\x3F\xC0\0\0"s, "\x23\xBF\xF8\0\0\0\0\0\0"s}),
                 Array{real(1.5), real(-1.5)}},
        FormCase{"Date", binary({"\x33\x3F\xF8\0\0\0\0\0\0"s}), date(1.5)},
        FormCase{"DataWithALongCount", binary({"\x4F\x10\x02\x00\xFF"s}), data({0, 255})},
        FormCase{"Texts", binary({"\xA2\x01\x02", "\x52hi", "\x63\x20\x19\xD8\x3D\xDE\x00"s}),
                 Array{"hi", "’😀"}},
        FormCase{"DictionaryWithSharedText", binary({"\xD1\x01\x01", "\x51k"}),
                 Dictionary{{"k", "k"}}}),
    kNameOfRow);

INSTANTIATE_TEST_SUITE_P(
    Binary, PropertyListErrorTest,
    ::testing::Values(
        ErrorCase{"OtherVersion", "bplist15........................................",
                  "binary property list: expected version 00, found \"bplist15\""},
        ErrorCase{"NoTrailer", "bplist00\x09",
                  "binary property list: expected a trailer of 32 bytes, found the end at byte 9"},
        ErrorCase{"WithinItself", binary({"\xA1\x01", "\xA1\x00"s}),
                  onTop("expected a tree, found an object within itself")},
        ErrorCase{"ReferenceTooHigh", binary({"\xA1\x01"}),
                  onTop("expected a reference below 1, found 1")},
        ErrorCase{"KeyThatIsNoText", binary({"\xD1\x01\x01", "\x09"}),
                  onTop("expected a text as a key")},
        ErrorCase{"TextBeyondTheObjects", binary({"\x5Fx"}), onTop("expected a count")},
        ErrorCase{"EnormousCount", binary({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}),
                  onTop("expected at most 18 elements, found 9223372036854775807")},
        ErrorCase{"Null", binary({"\0"s}),
                  onTop("expected a property-list value, found the marker 0x00")},
        ErrorCase{"HalfASurrogatePair", binary({"\x61\xD8\x3D"s}),
                  onTop("expected UTF-16 in a text, found half a surrogate pair")}),
    kNameOfRow);

TEST(BinaryPropertyListTest, NeitherAMutatedByteNorALostOneLeadsOutside) {
  const std::string good =
      binary({"\xD2\x01\x02\x03\x04", "\x51\x10", "\x51\x11", "\xA1\x01", "\x61\x20\x19"});
  ASSERT_TRUE(parsePropertyList(good));
  for (std::size_t index = 0; index < good.size(); ++index) {
    // The first bytes of the signature alone are an old-style token.
    EXPECT_EQ(parsePropertyList(good.substr(0, index)).has_value(), index > 0 && index < 6)
        << index;
    for (int byte = 0; byte < 256; ++byte) {
      std::string mutated = good;
      mutated[index] = static_cast<char>(byte);
      const auto result = parsePropertyList(mutated);  // the sanitizers watch, too
      EXPECT_TRUE(result || !result.error().message.empty());
    }
  }
}

TEST(BinaryPropertyListTest, ObjectsThatRepeatEachOtherDoNotMultiplyWithoutBound) {
  std::vector<std::string> objects;
  for (int level = 1; level <= 20; ++level) {  // 10 to the power of 20 values
    objects.push_back("\xAA" + std::string(10, static_cast<char>(level)));
  }
  objects.emplace_back("\x09");
  EXPECT_THAT(errorOf(binary(objects)), HasSubstr("found too large a whole"));
}

// ---- All forms

TEST(PropertyListTest, NestingIsBoundedInEveryForm) {
  for (const std::size_t depth : {512U, 513U, 100'000U}) {
    const bool good = depth == 512;
    const std::string arrays = repeated("(", depth) + repeated(")", depth);
    const std::string dictionaries = repeated("{a=", depth) + "b" + repeated(";}", depth);
    const std::string xml = plist(repeated("<array>", depth) + repeated("</array>", depth));
    EXPECT_EQ(parsePropertyList(dictionaries).has_value(), good);
    for (const std::string& text : {arrays, xml}) {
      if (good) {
        EXPECT_EQ(parsed(text), nestedArrays(512));
      } else {
        EXPECT_THAT(errorOf(text), HasSubstr("expected at most 512 levels of nesting"));
      }
    }
  }
  EXPECT_EQ(parsed(toXML(nestedArrays(512))), nestedArrays(512));
  EXPECT_THROW((void)toXML(nestedArrays(513)), std::invalid_argument);
}

TEST(PropertyListTest, MegabytesTakeTimeInProportion) {
  const std::string text =
      "(" + repeated("{Build = 25F71; /* c */ Name = \"a\\U2019b\";},\n", 40'000) + ")";
  const PropertyList value = parsed(text);
  ASSERT_NE(value.as<Array>(), nullptr);
  EXPECT_EQ(value.as<Array>()->size(), 40'000U);
  EXPECT_EQ(parsed(toXML(value)), value);
  EXPECT_THAT(errorOf(repeated("/* */ // x\n", 200'000)), StartsWith("line 200001: "));
}

TEST(PropertyListTest, FindAndAsAnswerOnlyForTheVeryType) {
  const PropertyList value = Dictionary{{"flag", true}, {"one", integer(1)}};
  EXPECT_EQ(value.find("one")->as<bool>(), nullptr);
  EXPECT_EQ(*value.find("flag")->as<bool>(), true);
  EXPECT_EQ(value.find("two"), nullptr);
  EXPECT_EQ(PropertyList(Array{"one"}).find("one"), nullptr);
}

TEST(PropertyListTest, DescriptionsAreOneLine) {
  EXPECT_EQ(describe(Dictionary{{"patchID", "104512"}, {"promptShownCount", integer(-2)}}),
            R"(["patchID": "104512", "promptShownCount": -2])");
  EXPECT_EQ(describe(Array{"a\"\\\n\r\t\x1B’", Dictionary(), Array(), true, real(2), real(0.1),
                           PropertyList::Value(UINT64_MAX), data({1, 2}), date(0), date(1e300)}),
            R"(["a\"\\\n\r\t\u{1b}’", [:], [], true, 2.0, 0.1, 18446744073709551615, 2 bytes, )"
            "2001-01-01 00:00:00 +0000, 1e+300 seconds since 2001]");
}

TEST(UnicodeTest, OnlyWellFormedSequencesAreUTF8) {
  for (const char* good : {"", "plain text", "é’😀", "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(findInvalidUTF8(good), std::string::npos) << good;
  }
  for (const char* bad : {"\x80", "\xC1\xBF", "\xC3", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xE2\x80",
                          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF0\x9F\x98", "\xFF"}) {
    EXPECT_EQ(findInvalidUTF8("nine char" + std::string(bad)), 9U) << bad;
  }
}

}  // namespace
}  // namespace platform
