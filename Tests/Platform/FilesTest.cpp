#include "Platform/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Volume.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

class FilesTest : public ::testing::Test {
 protected:
  const TemporaryDirectory directory;
};

/// The errno value of reading the file; 0 on success.
int errorOf(const std::string& path, std::uint64_t maximumBytes) {
  const auto result = readFile(path, {.maximumBytes = maximumBytes});
  return result ? 0 : result.error().code.value();
}

TEST_F(FilesTest, ReadsUpToTheLimit) {
  const std::string ten = directory.write("ten", "01234\n6789");
  EXPECT_EQ(readFile(ten, {.maximumBytes = 10}), "01234\n6789");
  EXPECT_EQ(errorOf(ten, 9), EFBIG);
  constexpr const char* kWithoutSize = "/proc/self/status";
  if (std::filesystem::exists(kWithoutSize)) {
    EXPECT_GT(readFile(kWithoutSize, {.maximumBytes = UINT64_MAX}).value().size(), 100U);
    EXPECT_EQ(errorOf(kWithoutSize, 100), EFBIG);
  }
}

TEST_F(FilesTest, OnlyRegularFilesAreReadAndReplaced) {
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

TEST_F(FilesTest, ReplacingAFileKeepsPermissionsAndOwner) {
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

TEST_F(FilesTest, ReadsOnlyNewFilesOfAcceptedOwnersWithoutOtherNames) {
  const std::string path = directory.write("answer", "94");
  struct stat status{};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  const time_t written = status.st_mtime;
  EXPECT_TRUE(readFile(path, {.maximumBytes = 10,
                              .owners = {4321, geteuid()},
                              .onlyName = true,
                              .writtenSince = written}));
  EXPECT_FALSE(readFile(path, {.maximumBytes = 10, .owners = {geteuid() + 1}}));
  EXPECT_FALSE(readFile(path, {.maximumBytes = 10, .writtenSince = written + 1}));
  std::filesystem::create_hard_link(path, directory.file("second"));
  EXPECT_FALSE(readFile(path, {.maximumBytes = 10, .onlyName = true}));
}

TEST_F(FilesTest, SetsAsideWhateverNamesAreTaken) {
  const std::string path = directory.file("answer");
  std::filesystem::create_directories(path + ".damaged");
  for (int number = 2; number <= 20; ++number) {
    std::filesystem::create_directory(path + ".damaged-" + std::to_string(number));
  }
  for (int round = 0; round < 2; ++round) {
    std::filesystem::create_directory(path);
    const auto name = setFileAside(path, ".damaged");
    ASSERT_TRUE(name) << name.error().message;
    EXPECT_TRUE(name->starts_with(path + ".damaged-")) << *name;
    EXPECT_TRUE(fileExists(*name));
    EXPECT_FALSE(fileExists(path));
  }
}

/// On most volumes some blocks are reserved for root.
TEST(VolumeTest, CountsBlocksThatAreFreeForUsers) {
  struct statvfs volume{};
  ASSERT_EQ(statvfs("/", &volume), 0);
  const auto available = availableCapacity("/");
  ASSERT_TRUE(available && *available);
  const auto expected = static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_frsize);
  EXPECT_NEAR(static_cast<double>(**available), expected, 1e9) << "others may write meanwhile";
}

TEST_F(FilesTest, LockBlocksUntilReleased) {
  const std::string path = directory.file("counts");
  int pauses = 0;
  const auto count = [&](auto) { ++pauses; };
  {
    const auto held = FileLock::acquire(path);
    ASSERT_TRUE(held);
    const auto second = FileLock::acquire(path, std::chrono::milliseconds(100), count);
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().code, std::errc::timed_out);
    EXPECT_EQ(pauses, 5);
  }
  EXPECT_FALSE(fileExists(path + ".lock"));
  EXPECT_TRUE(FileLock::acquire(path));
}

TEST_F(FilesTest, LockSetsAsideWhatIsNoFile) {
  const std::vector<std::pair<const char*, int (*)(const char*)>> rows{
      {"directory", [](const char* name) { return mkdir(name, 0700); }},
      {"FIFO", [](const char* name) { return mkfifo(name, 0600); }},
      {"link", [](const char* name) { return symlink("/etc", name); }}};
  for (const auto& [kind, make] : rows) {
    SCOPED_TRACE(kind);
    const std::string path = directory.file(kind);
    ASSERT_EQ(make((path + ".lock").c_str()), 0);
    const auto held = FileLock::acquire(path);
    ASSERT_TRUE(held) << held.error().message;
    EXPECT_EQ(held->setAside(), path + ".lock.damaged");
    struct stat status{};
    EXPECT_EQ(lstat(held->setAside().c_str(), &status), 0);
    EXPECT_FALSE(FileLock::acquire(path, std::chrono::milliseconds(0)));
  }
}

TEST_F(FilesTest, ReplacesTheLinkNotItsTarget) {
  const std::string link = directory.file("link");
  std::filesystem::create_symlink(directory.write("target", "precious"), link);
  EXPECT_TRUE(writeFileAtomically(link, "mine"));
  EXPECT_EQ(directory.read("link"), "mine");
  EXPECT_EQ(directory.read("target"), "precious");
}

}  // namespace
}  // namespace platform
