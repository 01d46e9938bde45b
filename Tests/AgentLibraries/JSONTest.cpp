#include <gmock/gmock.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentLibraries/FileCodec/JSONText.h"

namespace FileCodec {
namespace {

using ::testing::ElementsAre;

/// Writes the events down, one word each.
class RecordedEvents final : public JSONEvents {
 public:
  std::vector<std::string> events;

  bool beginObject() override { return record("{"); }
  bool memberName(std::string_view name) override { return record(std::string(name) + ":"); }
  bool endObject() override { return record("}"); }
  bool beginArray() override { return record("["); }
  bool endArray() override { return record("]"); }
  bool string(std::string_view value) override { return record(std::string(value)); }
  bool number() override { return record("number"); }
  bool boolean() override { return record("boolean"); }
  bool null() override { return record("null"); }

 private:
  bool record(std::string event) {
    events.push_back(std::move(event));
    return true;
  }
};

std::string problemOf(std::string_view text) {
  RecordedEvents events;
  const JSONReading reading = readJSON(text, events);
  return reading.outcome == JSONOutcome::syntaxError ? syntaxError("", reading).what() : "none";
}

TEST(ReadJSONTest, ReportsEveryKindOfValueInOrderAndDecodesEscapes) {
  const std::string longPart(10'000, 'x');
  RecordedEvents events;
  const std::string text = R"( {"k\u00e9y": [1, -2.5e3, true, null, "x"], "" : {}, "s":")" +
                           longPart + R"(\n\"\\\/\b\f\r\t\u20AC\ud83d\ude00)" + longPart +
                           "\"}\r\n\t";
  ASSERT_EQ(readJSON(text, events).outcome, JSONOutcome::complete);
  EXPECT_THAT(events.events,
              ElementsAre("{", "kéy:", "[", "number", "number", "boolean", "null", "x", "]", ":",
                          "{", "}", "s:", longPart + "\n\"\\/\b\f\r\t€😀" + longPart, "}"));
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

TEST(ReadJSONTest, ASyntaxErrorSaysWhereAndWhat) {
  using namespace std::string_view_literals;
  const std::vector<std::pair<std::string_view, const char*>> rows{
      {"", "line 1, column 1: expected a value, found the end of the text"},
      {"\xEF\xBB\xBF{}", "line 1, column 1: expected text without a byte order mark, found one"},
      {"{\n  1:2}", R"(line 2, column 3: expected a member name or "}", found "1")"},
      {R"({"a" "b"})", R"(line 1, column 6: expected ":" after the member name, found a string)"},
      {R"({"a":1,})", R"(line 1, column 8: expected a member name, found "}")"},
      {"{}\n {}", R"(line 2, column 2: expected the end of the text, found "{")"},
      {"[1,01]", R"(line 1, column 4: expected a value, found "01")"},
      {"[null\0]"sv, R"(line 1, column 6: expected "," or "]", found U+0000)"},
      {"\"a\tb\"",
       "line 1, column 3: expected control characters of a string to be escaped, found U+0009"},
      {R"("a\x41")", R"(line 1, column 3: expected an escape sequence, found "\x")"},
      {R"(["\ud800\u0041"])", R"(line 1, column 3: expected a pair of surrogates, found "\ud800")"},
      {"\"\\n\xED\xA0\x80\"", "line 1, column 4: expected UTF-8, found the byte 0xED"},
      {"1e99999999999",
       "line 1, column 12: expected an exponent between -2147483647 and 2147483647, found one "
       "beyond"}};
  for (const auto& [text, problem] : rows) {
    EXPECT_EQ(problemOf(text), problem);
  }
}

TEST(JSONStringTest, EscapesAndRepairs) {
  EXPECT_EQ(jsonString("plain é€😀 /"), "\"plain é€😀 /\"");
  EXPECT_EQ(jsonString(std::string_view("\"\\\b\t\n\f\r\0\x1f\x7f", 10)),
            "\"\\\"\\\\\\b\\t\\n\\f\\r\\u0000\\u001f\x7f\"");
  EXPECT_EQ(jsonString("a\xFF\xE2\x82z\xED\xA0\x80"), "\"a\uFFFD\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD\"");
}

TEST(DecodingErrorTest, IsOneLineHoweverOddTheNames) {
  const DecodingError error("a\nfile", "a\x1Bplace", "x", "y");
  EXPECT_STREQ(error.what(), "a\\nfile: a\\u001bplace: expected x, found y");
  EXPECT_EQ(nameInPlace("n\té\x7F"), "n\\té\\u007f");
  const std::string fits(198, 'x');
  EXPECT_EQ(nameInPlace(fits + "é"), fits + "é");
  EXPECT_EQ(nameInPlace(fits + "x" + "é"), fits + "x…");
}

}  // namespace
}  // namespace FileCodec
