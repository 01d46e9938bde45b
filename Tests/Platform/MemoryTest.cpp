#include "Platform/Memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace platform {
namespace {

TEST(MemoryTest, NoByteOfASecretStaysInItsBuffer) {
  std::string secret = "correct horse battery staple, correct horse battery staple";
  secret = "short";  // the rest of the longer one still lies behind
  const char* const buffer = secret.data();
  const std::size_t capacity = secret.capacity();
  wipe(secret);
  EXPECT_TRUE(secret.empty());
  ASSERT_EQ(secret.data(), buffer);
  secret.resize_and_overwrite(capacity, [](char*, std::size_t size) { return size; });
  EXPECT_TRUE(std::ranges::all_of(secret, [](char byte) { return byte == '\0'; }));
}

}  // namespace
}  // namespace platform
