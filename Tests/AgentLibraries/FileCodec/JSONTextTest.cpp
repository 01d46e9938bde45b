#include <gtest/gtest.h>

#include <string_view>

#include "AgentLibraries/FileCodec/JSONText.h"

namespace FileCodec {
namespace {

TEST(JSONTextTest, EscapesAndReplacesInvalidUTF8) {
  EXPECT_EQ(jsonString(std::string_view("\"\\\b\t\n\f\r\0\x1f\x7f", 10)),
            "\"\\\"\\\\\\b\\t\\n\\f\\r\\u0000\\u001f\\u007f\"");
  // A terminal's control sequence in one character, a mark that reverses text, a line separator.
  EXPECT_EQ(jsonString("\u009b31m \u202egpj.exe \u2028 gr\u00fc\u00df \U0001F600"),
            "\"\\u009b31m \\u202egpj.exe \\u2028 gr\u00fc\u00df \U0001F600\"");
  EXPECT_EQ(jsonString("a\xFF\xE2\x82z\xED\xA0\x80"), "\"a\uFFFD\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD\"");
}

}  // namespace
}  // namespace FileCodec
