#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "AgentLibraries/FileCodec/PropertyListFile.h"
#include "AgentLibraries/FileCodec/RawPlistManager.h"
#include "Platform/PropertyList.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace FileCodec {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const PropertyList kRecord{
    PropertyList::Dictionary{{"patchID", "104512"}, {"count", std::int64_t{2}}}};

/// Lets no file of the process grow beyond `bytes`, as a full disk would.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &limit_);
    const rlimit full{.rlim_cur = bytes, .rlim_max = limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &limit_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  void (*handler_)(int);
  rlimit limit_{};
};

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

TEST_F(RawPlistManagerTest, AKeyIsAbsentUntilItIsSetAndAfterItIsRemoved) {
  directory.write("data.plist", "");  // holds no keys, and is no damage
  EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
  manager.updateValue(kRecord, "key");
  EXPECT_EQ(manager.fetchValue("key"), kRecord);
  manager.save();
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
  manager.updateValue(std::nullopt, "key");
  manager.save();
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RawPlistManagerTest, SeesAndKeepsWhatAnotherWriterChangedMeanwhile) {
  manager.updateValue(kRecord, "mine");
  directory.write("data.plist", toXML(PropertyList::Dictionary{{"theirs", "1"}}));
  EXPECT_EQ(manager.fetchValue("theirs"), PropertyList("1"));
  manager.save();
  directory.write("data.plist", toXML(PropertyList::Dictionary{{"theirs", "2"}}));
  manager.save();  // "mine" was saved once; the other writer has removed it since
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"theirs", "2"}}));
}

TEST_F(RawPlistManagerTest, AnUndecodableFileIsKeptBesideItsReplacement) {
  const std::string anArray = toXML(PropertyList::Array{"x"});
  for (const std::string& bytes : {std::string("<plist><dict><key>cut"), anArray}) {
    log.clear();
    directory.write("data.plist", bytes);
    EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
    manager.updateValue(kRecord, "key");
    manager.save();
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
  }
  EXPECT_EQ(directory.read("data.plist.damaged"), "<plist><dict><key>cut");
  EXPECT_EQ(directory.read("data.plist.damaged-2"), anArray);
  const std::string why = path + ": expected a dictionary at the top, found an array.";
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(ErrorLine("Unable to read the property list: " + why),
                                LoggedBy("FileCodec/RawPlistManager", "fetchValue(forKey:)")),
                          AllOf(ErrorLine("Replaced a file that could not be used, it is kept as " +
                                          path + ".damaged-2: " + why),
                                LoggedBy("FileCodec/RawPlistManager", "save(toFile:)"))));
}

TEST_F(RawPlistManagerTest, WhereNoSecondNameCanBeHadTheDamagedFileIsRenamed) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can play another user";
  }
  // Users get no second name for the file of another one that they may only read.
  constexpr uid_t kOtherUser = 65534;
  directory.write("data.plist", "damaged");
  ASSERT_EQ(chown(directory.path().c_str(), kOtherUser, kOtherUser), 0);
  manager.updateValue(kRecord, "key");
  ASSERT_EQ(seteuid(kOtherUser), 0);
  {
    const FullDisk disk(16);
    EXPECT_THROW(manager.save(), std::runtime_error);
  }
  const std::string afterFailure = directory.read("data.plist");
  manager.save();
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(afterFailure, "damaged");
  EXPECT_EQ(directory.read("data.plist.damaged"), "damaged");
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
}

TEST_F(RawPlistManagerTest, AFullDiskThrowsAndLosesNothing) {
  const std::string before = toXML(PropertyList::Dictionary{{"old", "1"}});
  for (const std::string& bytes : {before, std::string("damaged {")}) {
    directory.write("data.plist", bytes);
    manager.updateValue(kRecord, "key");
    {
      const FullDisk disk(16);
      EXPECT_THROW(manager.save(), std::runtime_error);
    }
    EXPECT_EQ(directory.read("data.plist"), bytes);
    EXPECT_EQ(manager.fetchValue("key"), kRecord);
  }
  const std::filesystem::directory_iterator files(directory.path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "something was left behind";
  manager.save();
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
}

TEST_F(RawPlistManagerTest, WhatCanNotBeReadOrWrittenIsAnErrorThatNamesTheFile) {
  std::filesystem::create_symlink("/dev/zero", path);
  manager.updateValue(kRecord, "key");
  EXPECT_THROW(manager.save(), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_symlink(path));
  std::filesystem::remove(path);
  manager.updateValue("\x1B", "what XML can't hold");
  EXPECT_THAT([&] { manager.save(); },
              ::testing::ThrowsMessage<std::runtime_error>(StartsWith(path + ": ")));
}

}  // namespace
}  // namespace FileCodec
