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
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const PropertyList kRecord{
    PropertyList::Dictionary{{"patchID", "104512"}, {"count", std::int64_t{2}}}};

PropertyList::Dictionary everyType() {
  return {{"text", "t\n<&>é"},
          {"integer", std::int64_t{-1}},
          {"unsigned", PropertyList::Value(~std::uint64_t{0})},
          {"real", PropertyList::Value(0.1)},
          {"true", true},
          {"one", std::int64_t{1}},
          {"oneAsText", "1"},
          {"date", PropertyList::Value(platform::PropertyListDate{725846400})},
          {"data", PropertyList::Value(PropertyList::Data{std::byte{0}, std::byte{255}})},
          {"nested", PropertyList::Array{PropertyList::Dictionary{}, PropertyList::Array{}}}};
}

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
  EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
  manager.updateValue(kRecord, "key");
  EXPECT_EQ(manager.fetchValue("key"), kRecord);
  EXPECT_FALSE(std::filesystem::exists(path));
  manager.save();
  EXPECT_EQ(RawPlistManager(path).fetchValue("key"), kRecord);
  manager.updateValue(std::nullopt, "key");
  EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
  manager.save();
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RawPlistManagerTest, OtherKeysAndTheirTypesSurviveASave) {
  directory.write("data.plist", toXML(everyType()));
  manager.updateValue(kRecord, "key");
  manager.save();
  PropertyList::Dictionary expected = everyType();
  expected["key"] = kRecord;
  EXPECT_EQ(stored(), expected);
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

TEST_F(RawPlistManagerTest, SavesToAnotherPathWithoutTouchingItsOwn) {
  directory.write("data.plist", toXML(PropertyList::Dictionary{{"old", "1"}}));
  manager.updateValue(kRecord, "key");
  manager.save(directory.file("copy.plist"));
  EXPECT_EQ(readPropertyListFile(directory.file("copy.plist")).value(),
            (PropertyList::Dictionary{{"old", "1"}, {"key", kRecord}}));
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"old", "1"}}));
  EXPECT_EQ(manager.fetchValue("key"), kRecord);
}

TEST_F(RawPlistManagerTest, AnUndecodableFileIsKeptBesideItsReplacement) {
  const std::string damaged = "<plist><dict><key>cut";
  const std::string anArray = toXML(PropertyList::Array{"x"});
  for (const std::string& bytes : {damaged, anArray}) {
    directory.write("data.plist", bytes);
    EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
    manager.updateValue(kRecord, "key");
    manager.save();
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
  }
  EXPECT_EQ(directory.read("data.plist.damaged"), damaged);
  EXPECT_EQ(directory.read("data.plist.damaged-2"), anArray);
  const auto origin = [](const char* function) {
    return LoggedBy("FileCodec/RawPlistManager", function);
  };
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(Field(&LogRecord::message, StartsWith("Unable to read the property list: " + path +
                                                      ": expected a property list, found ")),
                origin("fetchValue(forKey:)")),
          AllOf(Field(&LogRecord::message, HasSubstr("kept as " + path + ".damaged: ")),
                origin("save(toFile:)")),
          ErrorLine("Unable to read the property list: " + path +
                    ": expected a dictionary at the top, found an array."),
          ErrorLine("Replaced a file that could not be used, it is kept as " + path +
                    ".damaged-2: " + path +
                    ": expected a dictionary at the top, found an array.")));
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

TEST_F(RawPlistManagerTest, AValueThatXMLCannotHoldIsAnErrorThatNamesTheFile) {
  manager.updateValue("\x1B", "key");
  try {
    manager.save();
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith(path + ": "));
  }
}

TEST_F(RawPlistManagerTest, AnEmptyFileHoldsNoKeys) {
  directory.write("data.plist", "");
  EXPECT_EQ(manager.fetchValue("key"), std::nullopt);
  manager.updateValue(kRecord, "key");
  manager.save();
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", kRecord}}));
  EXPECT_FALSE(std::filesystem::exists(path + ".damaged"));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RawPlistManagerTest, AFullDiskThrowsAndLosesNothing) {
  const std::string before = toXML(everyType());
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

TEST_F(RawPlistManagerTest, ALinkInItsPlaceIsReplacedAndItsTargetLeftAlone) {
  const std::string target = directory.write("target", toXML(PropertyList::Dictionary{{"a", "1"}}));
  const std::string bytes = directory.read("target");
  std::filesystem::create_symlink(target, path);
  manager.updateValue(kRecord, "key");
  manager.save();
  EXPECT_FALSE(std::filesystem::is_symlink(path));
  EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", "1"}, {"key", kRecord}}));
  EXPECT_EQ(directory.read("target"), bytes);
}

TEST_F(RawPlistManagerTest, WhatIsNoFileIsLeftAlone) {
  std::filesystem::create_directory(path);
  manager.updateValue(kRecord, "key");
  EXPECT_EQ(manager.fetchValue("other"), std::nullopt);
  EXPECT_THROW(manager.save(), std::runtime_error);
  std::filesystem::remove(path);
  std::filesystem::create_symlink("/dev/zero", path);
  EXPECT_THROW(manager.save(), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_symlink(path));
}

TEST_F(RawPlistManagerTest, AMissingFolderIsAnErrorThatNamesThePath) {
  RawPlistManager lost(directory.file("none/data.plist"));
  lost.updateValue(kRecord, "key");
  try {
    lost.save();
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith(directory.file("none/data.plist") + ": No such file"));
  }
}

}  // namespace
}  // namespace FileCodec
