#include "Platform/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

/// 0 when the file was read.
int errorOf(const std::string& path, std::uint64_t maximumBytes) {
  const auto result = readFile(path, {.maximumBytes = maximumBytes});
  return result ? 0 : result.error().code.value();
}

TEST(FilesTest, ReadsUpToTheBoundAndNoByteMore) {
  const TemporaryDirectory directory;
  const std::string ten = directory.write("ten", "01234\n6789");
  EXPECT_EQ(readFile(ten, {.maximumBytes = 10}), "01234\n6789");
  EXPECT_EQ(errorOf(ten, 9), EFBIG);
  constexpr const char* kWithoutSize = "/proc/self/status";
  EXPECT_GT(readFile(kWithoutSize, {.maximumBytes = UINT64_MAX}).value().size(), 100U);
  EXPECT_EQ(errorOf(kWithoutSize, 100), EFBIG);
}

TEST(FilesTest, WhatIsNoRegularFileIsNeitherReadNorReplaced) {
  const TemporaryDirectory directory;
  const std::string fifo = directory.file("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string afterNUL = directory.write("f", "x") + std::string("\0.bak", 5);
  const std::vector<std::pair<std::string, int>> rows{{fifo, EINVAL},
                                                      {directory.path(), EISDIR},
                                                      {directory.file("missing/file"), ENOENT},
                                                      {afterNUL, EINVAL}};
  for (const auto& [path, error] : rows) {
    EXPECT_EQ(errorOf(path, 100), error) << path;
    EXPECT_FALSE(writeFileAtomically(path, "y")) << path;
  }
  EXPECT_FALSE(fileExists(afterNUL));
  EXPECT_EQ(removeFile(afterNUL), EINVAL);
  EXPECT_EQ(directory.read("f"), "x");
}

TEST(FilesTest, ANewFileIsReadableForAllAndAReplacedOneKeepsPermissionsAndOwner) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("settings");
  const mode_t former = umask(077);
  EXPECT_TRUE(writeFileAtomically(path, "old"));
  umask(former);
  struct stat status{};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0644U);
  const uid_t owner = geteuid() == 0 ? 1234 : geteuid();
  ASSERT_EQ(chown(path.c_str(), owner, static_cast<gid_t>(-1)), 0);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  EXPECT_TRUE(writeFileAtomically(path, "new"));
  const ino_t formerFile = status.st_ino;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
  EXPECT_EQ(status.st_uid, owner);
  EXPECT_NE(status.st_ino, formerFile) << "the old file was overwritten, not replaced";
}

TEST(FilesTest, ALinkIsReplacedItself) {
  const TemporaryDirectory directory;
  const std::string link = directory.file("link");
  std::filesystem::create_symlink(directory.write("target", "precious"), link);
  EXPECT_TRUE(writeFileAtomically(link, "mine"));
  EXPECT_EQ(directory.read("link"), "mine");
  EXPECT_EQ(directory.read("target"), "precious");
}

TEST(DescriptorTest, WritesAllToAPipeThatTakesOnlySomeAtOnce) {
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
