#include "Platform/Files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "Platform/LocalSocket.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string kTenBytes(
    "01234\0"
    "6789",
    10);  // NOLINT(cert-err58-cpp)

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
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
      found.push_back(entry.path().filename());
    }
    std::ranges::sort(found);
    return found;
  }
  [[nodiscard]] static mode_t modeOf(const std::string& path) {
    struct stat status{};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
  }

  TemporaryDirectory directory;
};

TEST_F(FilesTest, ReadsUpToTheBoundAndNoByteMore) {
  const std::string ten = directory.write("ten", kTenBytes);
  EXPECT_EQ(readFile(ten, {.maximumBytes = 10}), kTenBytes);
  EXPECT_EQ(errorOf(ten, {.maximumBytes = 9}), EFBIG);
  EXPECT_EQ(readFile(directory.write("empty", ""), {.maximumBytes = 0}), "");
  const std::string big = directory.write("big", std::string(3'000'000, 'x'));
  EXPECT_EQ(readFile(big, {.maximumBytes = UINT64_MAX})->size(), 3'000'000U);
}

TEST_F(FilesTest, ReadsAFileThatAnnouncesNoSize) {
  EXPECT_THAT(readFile("/proc/self/status", {.maximumBytes = 100'000}).value(),
              HasSubstr("\nPid:"));
  EXPECT_EQ(errorOf("/proc/self/status", {.maximumBytes = 100}), EFBIG);
}

TEST_F(FilesTest, WhatIsNoRegularFileIsRefusedWithoutWaiting) {
  const std::string fifo = directory.file("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string socketPath = directory.file("socket");
  const Descriptor listening(socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(socketPath, address.sun_path);
  ASSERT_EQ(bind(listening.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  const ReadOptions options{.maximumBytes = 100};
  EXPECT_EQ(errorOf(fifo, options), EINVAL);
  EXPECT_EQ(errorOf("/dev/zero", options), EINVAL);
  EXPECT_EQ(errorOf(directory.path(), options), EISDIR);
  EXPECT_EQ(errorOf(socketPath, options), EINVAL);
  EXPECT_EQ(errorOf(directory.file("missing"), options), ENOENT);
  EXPECT_EQ(errorOf(directory.write("f", "x") + "/below", options), ENOTDIR);
}

TEST_F(FilesTest, LinksAreFollowedOnlyWhereAsked) {
  const std::string link = directory.file("link");
  std::filesystem::create_symlink(directory.write("target", "text"), link);
  EXPECT_EQ(readFile(link, {.maximumBytes = 10}), "text");
  EXPECT_EQ(errorOf(link, {.maximumBytes = 10, .followLinks = false}), ELOOP);
}

TEST_F(FilesTest, APathWithANULNamesNoFile) {
  const std::string path = directory.write("f", "x") + std::string("\0.bak", 5);
  EXPECT_EQ(readFile(path, {.maximumBytes = 10}).error().code.value(), EINVAL);
  EXPECT_FALSE(writeFileAtomically(path, "y"));
  EXPECT_FALSE(fileExists(path));
  EXPECT_EQ(removeFile(path), EINVAL);
  EXPECT_EQ(directory.read("f"), "x");
}

TEST_F(FilesTest, WritesANewFileReadableForAll) {
  const mode_t old = umask(077);
  EXPECT_TRUE(writeFileAtomically(directory.file("new"), "content"));
  umask(old);
  EXPECT_EQ(directory.read("new"), "content");
  EXPECT_EQ(modeOf(directory.file("new")), 0644U);
  EXPECT_THAT(names(), ElementsAre("new"));
}

TEST_F(FilesTest, AReplacedFileKeepsPermissionsAndOwnerAndItsReaders) {
  const std::string path = directory.write("settings", "old");
  const bool isRoot = geteuid() == 0;
  ASSERT_EQ(isRoot ? chown(path.c_str(), 1234, 4321) : 0, 0);
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  const Descriptor reader(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(writeFileAtomically(path, "new"));
  EXPECT_EQ(modeOf(path), 0640U);
  if (isRoot) {
    struct stat status{};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 4321U);
  }
  char first = 0;
  ASSERT_EQ(read(reader.get(), &first, 1), 1);
  EXPECT_EQ(first, 'o') << "the old file was overwritten, not replaced";
}

TEST_F(FilesTest, ALinkIsReplacedAndItsTargetLeftAlone) {
  const std::string target = directory.write("target", "precious");
  std::filesystem::create_symlink(target, directory.file("link"));
  EXPECT_TRUE(writeFileAtomically(directory.file("link"), "mine"));
  EXPECT_FALSE(std::filesystem::is_symlink(directory.file("link")));
  EXPECT_EQ(directory.read("link"), "mine");
  EXPECT_EQ(directory.read("target"), "precious");
}

TEST_F(FilesTest, AFailedWriteLeavesTheOldFileAndNothingElse) {
  directory.write("kept", "old");
  // A file-size limit stands for the full disk: the write stops half-way.
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  const rlimit small{.rlim_cur = 4096, .rlim_max = limit.rlim_max};
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto result = writeFileAtomically(directory.file("kept"), std::string(10'000, 'x'));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  std::signal(SIGXFSZ, oldHandler);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().message, directory.file("kept") + ": File too large");
  EXPECT_EQ(directory.read("kept"), "old");
  EXPECT_THAT(names(), ElementsAre("kept"));
}

TEST_F(FilesTest, PlacesThatTakeNoFileAreRefused) {
  std::filesystem::create_directory(directory.file("folder"));
  ASSERT_EQ(mkfifo(directory.file("fifo").c_str(), 0600), 0);
  for (const std::string& path :
       {directory.file("folder"), directory.file("folder/"), directory.file("missing/file"),
        directory.file("fifo"), directory.path() + "/.", std::string()}) {
    EXPECT_FALSE(writeFileAtomically(path, "x")) << path;
  }
  EXPECT_THAT(names(), ElementsAre("fifo", "folder"));
}

TEST_F(FilesTest, ExistenceAndRemovalTreatLinksAsFilesAndLeaveDirectories) {
  const std::string target = directory.write("target", "x");
  std::filesystem::create_symlink(target, directory.file("link"));
  std::filesystem::create_symlink("nowhere", directory.file("dangling"));
  EXPECT_TRUE(fileExists(directory.file("link")));
  EXPECT_FALSE(fileExists(directory.file("dangling")));
  EXPECT_EQ(removeFile(directory.file("link")), 0);
  EXPECT_EQ(removeFile(directory.file("dangling")), 0);
  EXPECT_THAT(names(), ElementsAre("target"));
  EXPECT_NE(removeFile(directory.path()), 0);
  EXPECT_EQ(removeFile(target), 0);
  EXPECT_EQ(removeFile(target), ENOENT);
}

}  // namespace
}  // namespace platform
