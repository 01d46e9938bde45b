#include "Platform/Files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using ::testing::HasSubstr;

class FilesTest : public ::testing::Test {
 protected:
  [[nodiscard]] static int errorOf(const std::string& path, const ReadOptions& options) {
    const auto result = readFile(path, options);
    if (result) {
      ADD_FAILURE() << path << " was read";
      return 0;
    }
    EXPECT_THAT(result.error().message, HasSubstr(path + ": "));
    return result.error().code.value();
  }
  TemporaryDirectory directory;
};

TEST_F(FilesTest, ReadsUpToTheBoundAndNoByteMore) {
  const std::string ten = directory.write("ten", "01234\n6789");
  EXPECT_EQ(readFile(ten, {.maximumBytes = 10}), "01234\n6789");
  EXPECT_EQ(errorOf(ten, {.maximumBytes = 9}), EFBIG);
  const std::string big = directory.write("big", std::string(3'000'000, 'x'));
  EXPECT_EQ(readFile(big, {.maximumBytes = UINT64_MAX})->size(), 3'000'000U);
  constexpr const char* kWithoutSize = "/proc/self/status";
  EXPECT_THAT(readFile(kWithoutSize, {.maximumBytes = 100'000}).value(), HasSubstr("\nPid:"));
  EXPECT_EQ(errorOf(kWithoutSize, {.maximumBytes = 100}), EFBIG);
}

TEST_F(FilesTest, WhatIsNoRegularFileIsNeitherReadNorReplaced) {
  ASSERT_EQ(mkfifo(directory.file("fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(directory.file("folder"));
  const std::vector<std::pair<std::string, int>> rows{{directory.file("fifo"), EINVAL},
                                                      {directory.file("folder"), EISDIR},
                                                      {directory.file("missing/file"), ENOENT},
                                                      {"/dev/zero", EINVAL}};
  for (const auto& [path, error] : rows) {
    EXPECT_EQ(errorOf(path, {.maximumBytes = 100}), error) << path;
    EXPECT_FALSE(writeFileAtomically(path, "x")) << path;
  }
  for (const std::string& path :
       {directory.file("folder/"), directory.path() + "/.", std::string()}) {
    EXPECT_FALSE(writeFileAtomically(path, "x")) << path;
  }
  EXPECT_TRUE(std::filesystem::is_fifo(directory.file("fifo")));
}

TEST_F(FilesTest, APathWithANULNamesNoFile) {
  const std::string path = directory.write("f", "x") + std::string("\0.bak", 5);
  EXPECT_EQ(readFile(path, {.maximumBytes = 10}).error().code.value(), EINVAL);
  EXPECT_FALSE(writeFileAtomically(path, "y"));
  EXPECT_FALSE(fileExists(path));
  EXPECT_EQ(removeFile(path), EINVAL);
  EXPECT_EQ(directory.read("f"), "x");
}

TEST_F(FilesTest, ANewFileIsReadableForAllAndAReplacedOneKeepsPermissionsAndOwner) {
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
  EXPECT_EQ(directory.read("settings"), "new");
}

TEST_F(FilesTest, ALinkIsReadByItsTargetWhereAskedAndReplacedItself) {
  const std::string link = directory.file("link");
  std::filesystem::create_symlink(directory.write("target", "precious"), link);
  EXPECT_EQ(readFile(link, {.maximumBytes = 10}), "precious");
  EXPECT_EQ(errorOf(link, {.maximumBytes = 10, .followLinks = false}), ELOOP);
  EXPECT_TRUE(writeFileAtomically(link, "mine"));
  EXPECT_FALSE(std::filesystem::is_symlink(link));
  EXPECT_EQ(directory.read("link"), "mine");
  EXPECT_EQ(directory.read("target"), "precious");
}

TEST_F(FilesTest, ExistenceAndRemovalTreatLinksAsFilesAndLeaveDirectories) {
  const std::string target = directory.write("target", "x");
  std::filesystem::create_symlink(target, directory.file("link"));
  std::filesystem::create_symlink("nowhere", directory.file("dangling"));
  EXPECT_TRUE(fileExists(directory.file("link")));
  EXPECT_FALSE(fileExists(directory.file("dangling")));
  EXPECT_EQ(removeFile(directory.file("link")), 0);
  EXPECT_TRUE(fileExists(target));
  EXPECT_EQ(removeFile(directory.file("link")), ENOENT);
  EXPECT_NE(removeFile(directory.path()), 0);
}

TEST(DescriptorTest, WritesAllToAPipeThatTakesOnlySomeAtOnce) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const Descriptor reader(ends[0]);
  Descriptor writer(ends[1]);
  ::fcntl(writer.get(), F_SETFL, O_NONBLOCK);
  const std::string bytes(std::size_t{1} << 20, 'x');
  std::size_t received = 0;
  std::jthread reading([&] {
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(reader.get(), buffer.data(), buffer.size())) > 0;) {
      received += static_cast<std::size_t>(count);
    }
  });
  EXPECT_EQ(writeAll(writer.get(), bytes), 0);
  writer.reset();
  reading.join();
  EXPECT_EQ(received, bytes.size());
}

}  // namespace
}  // namespace platform
