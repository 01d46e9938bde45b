#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "Tests/Fakes/FakePlistManager.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vexlo {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::ElementsAre;
using Record = RunningAppPromptDataStoring::Record;

const std::string kFile = "Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore";
const Record kRecord{
    {"patchID", "104512"}, {"promptShownCount", std::int64_t{2}}, {"16-11-2026", std::int64_t{1}}};
const std::string kRecordText = R"(["16-11-2026": 1, "patchID": "104512", "promptShownCount": 2])";

class RunningAppPromptDataStoreTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakePlistManager> file = std::make_shared<FakePlistManager>();
  LogCapture log;
  RunningAppPromptDataStore store{file};
};

TEST_F(RunningAppPromptDataStoreTest, OnlyADictionaryIsARecord) {
  file->values = {{"a,b", kRecord}, {"n", std::int64_t{3}}, {"e", Record{}}};
  EXPECT_EQ(store.data("a,b"), kRecord);
  EXPECT_EQ(store.data("n"), std::nullopt);
  EXPECT_EQ(store.data("missing"), std::nullopt);
  EXPECT_EQ(store.data("e"), Record{});
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("Fetched prompt data for a,b: Optional(" + kRecordText + ")."),
                        LoggedBy(kFile, "data(for:)")),
                  InfoLine("Fetched prompt data for n: nil."),
                  InfoLine("Fetched prompt data for missing: nil."),
                  InfoLine("Fetched prompt data for e: Optional([:]).")));
}

TEST_F(RunningAppPromptDataStoreTest, AFailedSaveIsLoggedAndTheNewRecordStaysInMemory) {
  store.saveData(kRecord, "a,b");
  file->saveFailure = "/data/prompts.plist: No space left on device";
  store.saveData({{"patchID", "2"}}, "a,b");
  EXPECT_EQ(file->timesSaved, 1);
  EXPECT_EQ(file->values.at("a,b"), PropertyList(Record{{"patchID", "2"}}));
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("Saved prompt data for a,b: " + kRecordText + "."),
                        LoggedBy(kFile, "saveData(_:for:)")),
                  AllOf(ErrorLine(R"(Unable to save prompt data for a,b: ["patchID": "2"]. Error: )"
                                  "/data/prompts.plist: No space left on device."),
                        LoggedBy(kFile, "saveData(_:for:)"))));
}

TEST_F(RunningAppPromptDataStoreTest, ASaveReplacesOneRecordOfTheFileAndKeepsTheOtherKeys) {
  const TemporaryDirectory directory;
  PropertyList::Dictionary others{{"on", true},
                                  {"one", std::int64_t{1}},
                                  {"real", PropertyList::Value(1.0)},
                                  {"B", Record{{"patchID", "7"}}}};
  PropertyList::Dictionary before = others;
  before["A"] = kRecord;
  const std::string path = directory.write("prompts.plist", platform::toXML(before));
  const Record nextDay{{"patchID", "104512"},
                       {"promptShownCount", std::int64_t{3}},
                       {"17-11-2026", std::int64_t{1}}};
  RunningAppPromptDataStore(std::make_shared<RawPlistManager>(path)).saveData(nextDay, "A");
  EXPECT_EQ(RunningAppPromptDataStore(std::make_shared<RawPlistManager>(path)).data("A"), nextDay);
  others["A"] = nextDay;
  EXPECT_EQ(platform::parsePropertyList(directory.read("prompts.plist")).value(),
            PropertyList(others));
}

TEST_F(RunningAppPromptDataStoreTest, WhereNothingCanBeWrittenTheOldFileStays) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory.file("prompts.plist"));
  RunningAppPromptDataStore real(
      std::make_shared<RawPlistManager>(directory.file("prompts.plist")));
  EXPECT_EQ(real.data("A"), std::nullopt);
  log.clear();
  real.saveData({}, "A");
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(::testing::Field(&LogRecord::level, LogCore::LogLevel::error),
                                LoggedBy(kFile, "saveData(_:for:)"))));
  EXPECT_TRUE(std::filesystem::is_directory(directory.file("prompts.plist")));
}

}  // namespace
}  // namespace vexlo
