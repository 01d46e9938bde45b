#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONReader.h"

namespace FileCodec {
namespace {

TEST(JSONReaderTest, SyntaxErrorHasPositionExpectedAndFound) {
  using namespace std::string_view_literals;
  const std::string deep(513, '[');
  for (
      const auto& [text, problem] : std::vector<std::pair<std::string_view, const char*>>{
          {"\xEF\xBB\xBF}", R"(line 1, column 1: expected a value, found "}")"},
          {"{\n  1:2}",
           R"(line 2, column 3: expected a member name in double quotes or "}", found 1 without quotes)"},
          {R"({"a":1,b:2})",
           "line 1, column 8: expected a member name in double quotes, found b without quotes"},
          {"{'a':1}", R"(line 1, column 2: expected the quotation mark ", found ')"},
          {"[\u201C30\u201D]", "line 1, column 2: expected the quotation mark \", found \u201C"},
          {"[1,\u00A02]", "line 1, column 4: expected a value, found U+00A0"},
          {"{\u200B\"a\":1}", R"(line 1, column 2: expected a member name or "}", found U+200B)"},
          {"{\"a\":\n [\"20],\r\n \"b\":[]}",
           "line 2, column 3: expected a quotation mark that ends the string, found the end of its "
           "line"},
          {R"({"a" "b"})",
           R"(line 1, column 6: expected ":" after the member name, found a string)"},
          {R"({"a":1 , })",
           R"(line 1, column 8: expected no comma before "}", found a trailing comma)"},
          {"[[1,\n]]", R"(line 1, column 4: expected no comma before "]", found a trailing comma)"},
          {"[,]", R"(line 1, column 2: expected a value or "]", found ",")"},
          {R"([1e+5,"b"})", R"(line 1, column 10: expected "," or "]", found "}")"},
          {R"({"a":})", R"(line 1, column 6: expected a value, found "}")"},
          {"{}\n// x", "line 2, column 1: expected JSON, which has no comments, found a comment"},
          {"[1 /* x */]",
           "line 1, column 4: expected JSON, which has no comments, found a comment"},
          {"{#", "line 1, column 2: expected JSON, which has no comments, found a comment"},
          {"{}\n {}", R"(line 2, column 2: expected the end of the text, found "{")"},
          {"[1,01]", R"(line 1, column 4: expected a value, found "01")"},
          {"[null\0]"sv, R"(line 1, column 6: expected "," or "]", found U+0000)"},
          {"\"a\tb\"",
           "line 1, column 3: expected control characters of a string to be escaped, found "
           "U+0009"},
          {R"("a\x41")", R"(line 1, column 3: expected an escape sequence, found "\x")"},
          {R"(["\ud800\u0041"])",
           R"(line 1, column 3: expected a pair of surrogates, found "\ud800")"},
          {"\"\\n\xED\xA0\x80\"", "line 1, column 4: expected UTF-8, found the byte 0xED"},
          {std::string_view(deep).substr(1),
           R"(line 1, column 513: expected a value or "]", found the end of the text)"},
          {deep,
           "line 1, column 513: expected at most 512 levels of nesting, found a deeper one"}}) {
    SCOPED_TRACE(problem);
    JSONEvents events;
    const JSONReading reading = readJSON(text, events);
    EXPECT_EQ(reading.outcome, JSONOutcome::syntaxError);
    EXPECT_EQ(syntaxError("", reading).what(), std::string(problem));
  }
}

TEST(JSONReaderTest, HugeExponentsAreShortened) {
  JSONEvents events;
  const std::string text =
      R"({"1e99999999999\\":[-1.5E+99999999999,1e-0000000000,"\"1e99999999999"]})";
  EXPECT_EQ(readJSON(text, events).outcome, JSONOutcome::hugeExponent);
  const std::string shortened = withShortExponents(text);
  EXPECT_EQ(shortened,
            R"({"1e99999999999\\":[-1.5E+00000000000,1e-0000000000,"\"1e99999999999"]})");
  EXPECT_EQ(readJSON(shortened, events).outcome, JSONOutcome::complete);
}

}  // namespace
}  // namespace FileCodec
