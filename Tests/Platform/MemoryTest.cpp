#include "Platform/Memory.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace platform {
namespace {

TEST(MemoryTest, WipeClearsTheWholeBuffer) {
  std::string secret = "correct horse battery staple, correct horse battery staple";
  secret = "short";  // the rest of the longer string is still in the buffer
  const char* const buffer = secret.data();
  wipe(secret);
  ASSERT_EQ(secret.data(), buffer);
  secret.resize_and_overwrite(secret.capacity(), [](char*, std::size_t size) { return size; });
  EXPECT_TRUE(std::ranges::all_of(secret, [](char byte) { return byte == '\0'; }));
}

}  // namespace
}  // namespace platform
