#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/PropertyListFile.h"
#include "AgentLibraries/FileCodec/RawPlistManager.h"
#include "AgentLibraries/vxutils/FileUtils.h"
#include "Platform/PropertyList.h"
#include "Tests/Fakes/DirectoryEntries.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace FileCodec {
namespace {

using platform::PropertyList;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const PropertyList kRecord{
    PropertyList::Dictionary{{"patchID", "104512"}, {"count", std::int64_t{2}}}};

class RawPlistManagerTest : public ::testing::Test {
 protected:
  [[nodiscard]] PropertyList::Dictionary stored() const {
    return readPropertyListFile(path).value();
  }

  TemporaryDirectory directory;
  LogCapture log;
  std::string path = directory.file("data.plist");
  RawPlistManager manager{path};
};

TEST_F(RawPlistManagerTest, SaveKeepsOtherWritersChangesAndAcceptsAnEmptyFile) {
  directory.write("data.plist", "");
  manager.updateValue(kRecord, "key");
  manager.save();
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
  directory.write("data.plist", toXML(PropertyList::Dictionary{{"theirs", "1"}, {"old", "x"}}));
  manager.updateValue(std::nullopt, "old");
  manager.save();  // "key" was saved once; the other writer has removed it since
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"theirs", "1"}}));
  EXPECT_THAT(log.records(), ::testing::IsEmpty());
}

TEST_F(RawPlistManagerTest, SaveOnAFullDiskThrowsAndLosesNothing) {
  const uid_t self = geteuid();
  // A user who can't hard-link root's file: it is renamed. Only root can switch users.
  const uid_t other = self == 0 ? 65534 : self;
  std::filesystem::permissions(directory.path(), std::filesystem::perms::all);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{.rlim_cur = 16, .rlim_max = limit.rlim_max};
  const std::string whole = toXML(PropertyList::Dictionary{{"old", "1"}});
  const std::string damaged = toXML(PropertyList::Array{"x"});
  directory.write("data.plist.damaged", "former");
  for (const auto& [bytes, user] : {std::pair(whole, self), {damaged, self}, {damaged, other}}) {
    SCOPED_TRACE(bytes + " as user " + std::to_string(user));
    directory.write("data.plist", bytes);
    manager.updateValue(kRecord, "key");
    setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_EQ(seteuid(user), 0);
    EXPECT_THAT([&] { manager.save(); },
                ::testing::ThrowsMessage<std::runtime_error>(HasSubstr("File too large")));
    EXPECT_EQ(seteuid(self), 0);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(directory.read("data.plist"), bytes);
    EXPECT_EQ(manager.fetchValue("key"), kRecord);
  }
  EXPECT_EQ(entriesOf(directory.path()), 2) << "something was left behind";
  EXPECT_EQ(seteuid(other), 0);
  manager.save();
  EXPECT_EQ(seteuid(self), 0);
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
  EXPECT_EQ(directory.read("data.plist.damaged"), "former");
  EXPECT_EQ(directory.read("data.plist.damaged-2"), damaged);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Replaced a file that could not be used, it is kept as " +
                                    path + ".damaged-2: " + path +
                                    ": expected a dictionary at the top, found an array.")));
}

TEST_F(RawPlistManagerTest, SaveRenamesNonFilesAndFallsBackToBinary) {
  const std::vector<std::function<void()>> places{
      [&] { std::filesystem::create_directory(path); },
      [&] { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); },
      [&] { std::filesystem::create_symlink("/dev/zero", path); },
      [&] { std::filesystem::resize_file(directory.write("data.plist", "x"), 65U << 20); }};
  for (const auto& occupy : places) {
    std::filesystem::remove(path);
    occupy();
    manager.updateValue(kRecord, "\x1B");
    manager.save();
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"\x1B", kRecord}}));
    EXPECT_TRUE(std::filesystem::remove(path + ".damaged"));
  }
  manager.updateValue("\xC3(", "key");
  EXPECT_THAT([&] { manager.save(); },
              ::testing::ThrowsMessage<std::runtime_error>(::testing::StartsWith(path + ": ")));
}

TEST_F(RawPlistManagerTest, FetchReportsADamagedFileButNotAMissingOne) {
  EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
  EXPECT_THAT(log.records(), ::testing::IsEmpty());
  directory.write("data.plist", "(a)");
  EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Unable to read the property list: " + path +
                                    ": expected a dictionary at the top, found an array.")));
}

TEST_F(RawPlistManagerTest, RemoveFileRenamesADirectory) {
  std::filesystem::create_directory(path);
  directory.write("data.plist/inside", "kept");
  EXPECT_EQ(vxutils::FileUtils().removeFile(path), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_TRUE(std::filesystem::exists(path + ".damaged/inside"));
}

TEST_F(RawPlistManagerTest, ConcurrentSavesLoseNoKeyAndLeaveNoFiles) {
  directory.write(".data.plist.vexlo-0123456789abcdef01234567", "of a process that was killed");
  constexpr int kProcesses = 4;
  constexpr int kKeys = 25;
  std::vector<pid_t> children;
  for (int child = 0; child < kProcesses; ++child) {
    children.push_back(::fork());
    if (children.back() == 0) {
      RawPlistManager own(path);
      for (int key = 0; key < kKeys; ++key) {
        own.updateValue(kRecord, std::to_string(child) + "-" + std::to_string(key));
        own.save();
      }
      ::_exit(0);
    }
  }
  for (const pid_t child : children) {
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(stored().size(), kProcesses * kKeys);
  EXPECT_EQ(entriesOf(directory.path()), 1);
}

}  // namespace
}  // namespace FileCodec
