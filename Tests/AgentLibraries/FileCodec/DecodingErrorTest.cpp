#include <gtest/gtest.h>

#include <string>

#include "AgentLibraries/FileCodec/DecodingError.h"

namespace FileCodec {
namespace {

TEST(DecodingErrorTest, MessageIsOneLineForAnyNames) {
  const DecodingError error("a\nfile", "a\x1Bplace", "x", "y");
  EXPECT_STREQ(error.what(), "a\\nfile: a\\u001bplace: expected x, found y");
  const std::string fits(198, 'x');
  EXPECT_EQ(nameInPlace(fits + "é"), fits + "é");
  EXPECT_EQ(nameInPlace(fits + "x" + "é"), fits + "x…");
}

}  // namespace
}  // namespace FileCodec
