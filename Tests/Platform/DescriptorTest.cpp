#include "Platform/Descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(DescriptorTest, WriteAllContinuesAfterPartialWrites) {
  const TemporaryDirectory directory;
  FILE* const pipe = ::popen(("wc -c > " + directory.file("size")).c_str(), "w");
  ASSERT_NE(pipe, nullptr);
  ::fcntl(::fileno(pipe), F_SETFL, O_NONBLOCK);
  EXPECT_EQ(writeAll(::fileno(pipe), std::string(std::size_t{1} << 20, 'x')), 0);
  ::pclose(pipe);
  EXPECT_EQ(directory.read("size"), "1048576\n");
}

}  // namespace
}  // namespace platform
