#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONManager.h"
#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentLibraries/FileCodec/JSONText.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace FileCodec {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Writes the events down, one word each; refuses the event `refused` (from 1; 0: none).
class RecordedEvents final : public JSONEvents {
 public:
  explicit RecordedEvents(std::size_t refused = 0) : refused_(refused) {}
  std::vector<std::string> events;
  std::vector<std::string_view> texts;

  bool beginObject() override { return record("{"); }
  bool memberName(std::string_view name) override { return recordText(name, ":"); }
  bool endObject() override { return record("}"); }
  bool beginArray() override { return record("["); }
  bool endArray() override { return record("]"); }
  bool string(std::string_view value) override { return recordText(value, ""); }
  bool number() override { return record("number"); }
  bool boolean() override { return record("boolean"); }
  bool null() override { return record("null"); }

 private:
  bool record(std::string event) {
    events.push_back(std::move(event));
    return events.size() != refused_;
  }
  bool recordText(std::string_view text, std::string_view suffix) {
    texts.push_back(text);
    return record(std::string(text) + std::string(suffix));
  }
  std::size_t refused_;
};

std::string problemOf(std::string_view text) {
  RecordedEvents events;
  const JSONReading reading = readJSON(text, events);
  return reading.outcome == JSONOutcome::syntaxError ? syntaxError("", reading).what() : "none";
}

TEST(ReadJSONTest, ReportsEveryKindOfValueInOrder) {
  RecordedEvents events;
  EXPECT_EQ(readJSON(" {\"a\": [1, -2.5e3, true, null, \"x\"], \"\" : {}}\r\n\t", events).outcome,
            JSONOutcome::complete);
  EXPECT_THAT(events.events, ElementsAre("{", "a:", "[", "number", "number", "boolean", "null", "x",
                                         "]", ":", "{", "}", "}"));
}

TEST(ReadJSONTest, TextsWithoutEscapesAreViewsIntoTheInput) {
  const std::string text = R"({"näme": "a value that fits in no short buffer"})";
  RecordedEvents events;
  ASSERT_EQ(readJSON(text, events).outcome, JSONOutcome::complete);
  ASSERT_EQ(events.texts.size(), 2U);
  EXPECT_EQ(events.texts[0].data(), text.data() + text.find("näme"));
  EXPECT_EQ(events.texts[1].data(), text.data() + text.find("a value"));
}

TEST(ReadJSONTest, DecodesEscapesAndJoinsTheParts) {
  const std::string longPart(10'000, 'x');
  RecordedEvents events;
  const std::string text = R"({"k\u00e9y":")" + longPart + R"(\n\"\\\/\b\f\r\t\u20AC\ud83d\ude00)" +
                           longPart + R"(","b":"\u0041"})";
  ASSERT_EQ(readJSON(text, events).outcome, JSONOutcome::complete);
  EXPECT_THAT(events.events,
              ElementsAre("{", "kéy:", longPart + "\n\"\\/\b\f\r\t€😀" + longPart, "b:", "A", "}"));
}

TEST(ReadJSONTest, AnEventThatRefusesEndsTheReading) {
  RecordedEvents events(3);
  EXPECT_EQ(readJSON(R"({"a":[],"b":)", events).outcome, JSONOutcome::stoppedByEvents);
  EXPECT_EQ(events.events.size(), 3U);
}

TEST(ReadJSONTest, NestingIsTakenUpTo512Levels) {
  const auto nested = [](std::size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
  };
  EXPECT_EQ(problemOf(nested(512)), "none");
  const std::string problem =
      "line 1, column 513: expected at most 512 levels of nesting, found a deeper one";
  EXPECT_EQ(problemOf(nested(513)), problem);
  EXPECT_EQ(problemOf(std::string(100'000, '[')), problem);
}

TEST(ReadJSONTest, EveryTruncationIsAnErrorAtItsEndOrInItsLastToken) {
  const std::string text =
      "{\"a\":[\"\\u00e9\\n\",-1.5e+10,true,false,null,\"ü\"],\n\"b\":{\"c\":0}}";
  for (std::size_t length = 0; length < text.size(); ++length) {
    RecordedEvents events;
    const JSONReading reading = readJSON(std::string_view(text).substr(0, length), events);
    EXPECT_EQ(reading.outcome, JSONOutcome::syntaxError) << length;
    EXPECT_THAT(std::string(syntaxError("f", reading).what()),
                AllOf(StartsWith("f: line "), HasSubstr("expected "), HasSubstr(", found ")));
    EXPECT_LE(reading.column, length + 1);
  }
}

struct SyntaxCase {
  const char* name;
  std::string_view text;
  const char* problem;
};
class JSONSyntaxTest : public ::testing::TestWithParam<SyntaxCase> {};

TEST_P(JSONSyntaxTest, SaysWhereAndWhat) {
  EXPECT_EQ(problemOf(GetParam().text), GetParam().problem);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, JSONSyntaxTest,
    ::testing::Values(
        SyntaxCase{"Empty", "", "line 1, column 1: expected a value, found the end of the text"},
        SyntaxCase{"ByteOrderMark", "\xEF\xBB\xBF{}",
                   "line 1, column 1: expected text without a byte order mark, found one"},
        SyntaxCase{"NameMissing", "{\n  1:2}",
                   R"(line 2, column 3: expected a member name or "}", found "1")"},
        SyntaxCase{"ColonMissing", R"({"a" "b"})",
                   R"(line 1, column 6: expected ":" after the member name, found a string)"},
        SyntaxCase{"CommaMissingInObject", R"({"a":1 "b":2})",
                   R"(line 1, column 8: expected "," or "}", found a string)"},
        SyntaxCase{"CommaMissingInArray", "[1 2]",
                   R"(line 1, column 4: expected "," or "]", found "2")"},
        SyntaxCase{"TrailingCommaInObject", R"({"a":1,})",
                   R"(line 1, column 8: expected a member name, found "}")"},
        SyntaxCase{"TrailingCommaInArray", "[1,]",
                   R"(line 1, column 4: expected a value, found "]")"},
        SyntaxCase{"WrongBracket", "[1}", R"(line 1, column 3: expected "," or "]", found "}")"},
        SyntaxCase{"TrailingText", "{}\n {}",
                   R"(line 2, column 2: expected the end of the text, found "{")"},
        SyntaxCase{"Comment", "[ // x\n]",
                   R"(line 1, column 3: expected a value or "]", found "//")"},
        SyntaxCase{"UnknownWord", "[nul]",
                   R"(line 1, column 2: expected a value or "]", found "nul")"},
        SyntaxCase{"LeadingZero", "[1,01]", R"(line 1, column 4: expected a value, found "01")"},
        SyntaxCase{"NoDigitAfterPoint", "1.", R"(line 1, column 1: expected a value, found "1.")"},
        SyntaxCase{"NULByte", std::string_view("[\0]", 3),
                   R"(line 1, column 2: expected a value or "]", found U+0000)"},
        SyntaxCase{"ControlCharacterAfterWord", "[null\x01]",
                   R"(line 1, column 6: expected "," or "]", found U+0001)"},
        SyntaxCase{
            "OpenString", "\"abc",
            "line 1, column 5: expected a quotation mark that ends the string, found the end "
            "of the text"},
        SyntaxCase{"ControlCharacter", "\"a\tb\"",
                   "line 1, column 3: expected control characters of a string to be escaped, found "
                   "U+0009"},
        SyntaxCase{"UnknownEscape", R"("a\x41")",
                   R"(line 1, column 3: expected an escape sequence, found "\x")"},
        SyntaxCase{
            "ShortUnicodeEscape", R"("\u12")",
            R"(line 1, column 2: expected four hexadecimal digits after "\u", found "\u12")"},
        SyntaxCase{"LeadingSurrogateAlone", R"(["\ud800\u0041"])",
                   R"(line 1, column 3: expected a pair of surrogates, found "\ud800")"},
        SyntaxCase{"TrailingSurrogateAlone", R"("ok\uDC00")",
                   R"(line 1, column 4: expected a pair of surrogates, found "\uDC00")"},
        SyntaxCase{"StrayContinuation", "\"ab\x80\"",
                   "line 1, column 4: expected UTF-8, found the byte 0x80"},
        SyntaxCase{"EncodedSurrogate", "\"\\n\xED\xA0\x80\"",
                   "line 1, column 4: expected UTF-8, found the byte 0xED"},
        SyntaxCase{"OverlongSlash", "\"\xC0\xAF\"",
                   "line 1, column 2: expected UTF-8, found the byte 0xC0"},
        SyntaxCase{"CutUTF8", "\"\xE2\x82",
                   "line 1, column 2: expected UTF-8, found the byte 0xE2"},
        SyntaxCase{"HugeExponent", "1e99999999999",
                   "line 1, column 12: expected a smaller exponent, found one above 2147483647"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(JSONStringTest, EscapesAndRepairs) {
  EXPECT_EQ(jsonString("plain é€😀 /"), "\"plain é€😀 /\"");
  EXPECT_EQ(jsonString(std::string_view("\"\\\b\t\n\f\r\0\x1f\x7f", 10)),
            "\"\\\"\\\\\\b\\t\\n\\f\\r\\u0000\\u001f\x7f\"");
  EXPECT_EQ(jsonString("a\xFF\xE2\x82z\xED\xA0\x80"), "\"a\uFFFD\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD\"");
}

TEST(JSONStringTest, WhatItWritesIsReadBackUnchanged) {
  std::string all;
  for (int c = 0; c < 128; ++c) {
    all += static_cast<char>(c);
  }
  all += "éß€😀\U0010FFFF";
  RecordedEvents events;
  ASSERT_EQ(readJSON(jsonString(all), events).outcome, JSONOutcome::complete);
  EXPECT_THAT(events.events, ElementsAre(all));
}

TEST(DecodingErrorTest, IsOneLineHoweverOddTheNames) {
  const DecodingError error("a\nfile", "a\x1Bplace", "x", "y");
  EXPECT_STREQ(error.what(), "a\\nfile: a\\u001bplace: expected x, found y");
  EXPECT_EQ(nameInPlace("n\té\x7F"), "n\\té\\u007f");
  const std::string fits(198, 'x');
  EXPECT_EQ(nameInPlace(fits + "é"), fits + "é");
  EXPECT_EQ(nameInPlace(fits + "x" + "é"), fits + "x…");
}

struct LengthRecord {
  std::size_t length;
  static LengthRecord decode(const std::string& text, const std::string& file) {
    if (text.empty()) {
      throw DecodingError(file, "a › b", "text", "none");
    }
    return {text.size()};
  }
};

TEST(JSONManagerTest, DecodesTheFileOrNamesItInTheError) {
  const TemporaryDirectory directory;
  EXPECT_EQ(JSONManager<LengthRecord>(directory.write("full", "12345")).data().length, 5U);
  try {
    const JSONManager<LengthRecord> manager(directory.write("empty", ""));
    FAIL();
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.what(), directory.file("empty") + ": a › b: expected text, found none");
  }
}

TEST(JSONManagerTest, WhatIsNoReadableFileIsAnErrorAndNeverWaitedFor) {
  const TemporaryDirectory directory;
  ASSERT_EQ(mkfifo(directory.file("fifo").c_str(), 0600), 0);
  const std::vector<std::pair<std::string, std::string>> rows{
      {directory.file("missing"), "No such file or directory"},
      {directory.path(), "Is a directory"},
      {directory.file("fifo"), "Not a regular file"},
      {"/dev/zero", "Not a regular file"}};
  for (const auto& [path, reason] : rows) {
    try {
      std::ignore = readTextFile(path);
      ADD_FAILURE() << path;
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.file(), path);
      EXPECT_EQ(error.place(), "");
      EXPECT_EQ(error.expected(), "a readable regular file of at most 1 GiB");
      EXPECT_EQ(error.found(), reason);
    }
  }
}

}  // namespace
}  // namespace FileCodec
