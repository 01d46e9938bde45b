#include "Platform/Descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Platform/Files.h"
#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(DescriptorTest, WriteAllContinuesAfterPartialWrites) {
  const TemporaryDirectory directory;
  FILE* const pipe = ::popen(("wc -c | tr -d ' ' > " + directory.file("size")).c_str(), "w");
  ASSERT_NE(pipe, nullptr);
  ::fcntl(::fileno(pipe), F_SETFL, O_NONBLOCK);
  EXPECT_EQ(writeAll(::fileno(pipe), std::string(std::size_t{1} << 20, 'x')), 0);
  ::pclose(pipe);
  EXPECT_EQ(directory.read("size"), "1048576\n");
}

TEST(DescriptorTest, NothingIsOpenedAsAStandardDescriptor) {
  const TemporaryDirectory folder;
  const auto openAll = [&] {
    ::close(STDIN_FILENO);
    ::close(STDERR_FILENO);
    const auto lock = FileLock::acquire(folder.file("file"));
    const auto pipe = makePipe();
    const auto listener = listenOnLocalSocket(folder.file("service.sock"));
    const auto client = connectLocalSocket(folder.file("service.sock"));
    const auto accepted = acceptLocalSocket(*listener);
    ::_exit(lock && pipe && client && accepted && ::fcntl(STDIN_FILENO, F_GETFD) < 0 &&
                    ::fcntl(STDERR_FILENO, F_GETFD) < 0
                ? 0
                : 1);
  };
  EXPECT_EXIT(openAll(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace platform
