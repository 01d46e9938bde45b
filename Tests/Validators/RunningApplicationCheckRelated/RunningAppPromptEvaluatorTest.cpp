#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using Decision = RunningAppPromptDecision;
using Evaluation = RunningAppPromptEvaluation;
using Record = RunningAppPromptDataStoring::Record;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr const char* kToday = "16-11-2026";

/// Keeps records in a map and counts what is asked of it.
class FakePromptDataStore final : public RunningAppPromptDataStoring {
 public:
  std::map<std::string, Record> records;
  int timesRead = 0;
  int timesSaved = 0;
  std::optional<Record> data(const std::string& key) override {
    ++timesRead;
    const auto found = records.find(key);
    return found == records.end() ? std::nullopt : std::optional(found->second);
  }
  void saveData(const Record& record, const std::string& key) override {
    ++timesSaved;
    records.insert_or_assign(key, record);
  }
};

class FixedCustomization final : public RunningAppPromptCustomizing {
 public:
  std::optional<RunningAppPromptCustomization> settings;
  std::optional<RunningAppPromptCustomization> customization() override { return settings; }
  const std::optional<RunningAppPromptCustomization>& customizationData() override {
    return settings;
  }
};

class RunningAppPromptEvaluatorTest : public ::testing::Test {
 protected:
  std::shared_ptr<FixedCustomization> customization = std::make_shared<FixedCustomization>();
  std::shared_ptr<FakePromptDataStore> store = std::make_shared<FakePromptDataStore>();
  LogCapture log;
  RunningAppPromptEvaluator evaluator{customization, store, [] { return kToday; }};

  static Record countsOf(PropertyList total, PropertyList today, const char* day = kToday) {
    return {{"patchID", "1"}, {"promptShownCount", std::move(total)}, {day, std::move(today)}};
  }
  static Record counts(std::int64_t total, std::int64_t today) { return countsOf(total, today); }
};

TEST_F(RunningAppPromptEvaluatorTest, WithoutLimitsNothingIsCounted) {
  EXPECT_EQ(evaluator.evaluate("a", "1"), (Evaluation{0, false, Decision::promptUser}));
  customization->settings = {.enableForceDeploy = true,
                             .allowScreenGrab = true,
                             .numberOfSkipAttempts = -4,
                             .dailyPromptLimit = kLeast};
  EXPECT_EQ(evaluator.evaluate("a", "1"), (Evaluation{0, true, Decision::forceDeployment}));
  EXPECT_EQ(store->timesRead + store->timesSaved, 0);
  EXPECT_THAT(log.records(),
              Each(AllOf(InfoLine("Daily prompt limit and number of skip attempts are both 0, "
                                  "Using default flow."),
                         LoggedBy("Validators/RunningApplicationCheckRelated/"
                                  "RunningAppPromptEvaluator",
                                  "evaluate(for:having:)"))));
}

TEST_F(RunningAppPromptEvaluatorTest, PostponementsCountDownToTheForcedAttempt) {
  customization->settings = {.numberOfSkipAttempts = 3};
  std::array<Evaluation, 5> evaluations;
  for (Evaluation& evaluation : evaluations) {
    evaluation = evaluator.evaluate("a,b", "1");
  }
  const Evaluation forced{0, true, Decision::forceDeployment};
  EXPECT_THAT(evaluations, ElementsAre(Evaluation{3, false, Decision::promptUser},
                                       Evaluation{2, false, Decision::promptUser},
                                       Evaluation{1, false, Decision::promptUser}, forced, forced));
  EXPECT_EQ(store->records, (std::map<std::string, Record>{{"a,b", counts(5, 5)}}));
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          InfoLine("New version detected for bundleID: a,b. Resetting prompt data."),
          InfoLine("Exceeded the number of skip attempts, skipping deployment, total number of "
                   "prompts shown: 3"),
          InfoLine("Exceeded the number of skip attempts, skipping deployment, total number of "
                   "prompts shown: 4")));
}

TEST_F(RunningAppPromptEvaluatorTest, TheDailyLimitSkipsAndStoresNothing) {
  customization->settings = {
      .enableForceDeploy = true, .allowScreenGrab = true, .dailyPromptLimit = 2};
  const Evaluation shown{0, true, Decision::forceDeployment};
  EXPECT_EQ(evaluator.evaluate("a", "1"), shown);
  EXPECT_EQ(evaluator.evaluate("a", "1"), shown);
  log.clear();
  EXPECT_EQ(evaluator.evaluate("a", "1"), (Evaluation{0, true, Decision::skipDeployment}));
  EXPECT_EQ(store->records.at("a"), counts(2, 2));
  EXPECT_EQ(store->timesSaved, 2);
  EXPECT_THAT(log.records(), ElementsAre(InfoLine("Daily prompt limit reached (2/2) for bundleID: "
                                                  "a. Skipping deployment.")));
}

/// One stored record, and what comes of it.
struct CountsCase {
  const char* name;
  std::optional<std::int64_t> skips;
  std::optional<std::int64_t> limit;
  Record before;
  Evaluation expected;
  std::optional<Record> after;  ///< Absent: nothing is saved.
};

class StoredCountsTest : public RunningAppPromptEvaluatorTest,
                         public ::testing::WithParamInterface<CountsCase> {
 public:
  static std::vector<CountsCase> cases() {
    const Record fresh = counts(1, 1);
    const Evaluation forced{0, true, Decision::forceDeployment};
    const auto left = [](std::int64_t skips) {
      return Evaluation{skips, false, Decision::promptUser};
    };
    const PropertyList beyond(PropertyList::Value(std::uint64_t{1} << 63));
    Record numberForPatch = counts(9, 9);
    numberForPatch["patchID"] = std::int64_t{1};
    Record otherPatch = counts(9, 9);
    otherPatch["patchID"] = "1 ";
    return {
        {"EmptyRecord", 2, {}, {}, left(2), fresh},
        {"PatchIDIsANumber", 2, 1, numberForPatch, left(2), fresh},
        {"AnotherPatch", 2, 1, otherPatch, left(2), fresh},
        {"OtherDaysAreDropped",
         {},
         1,
         countsOf(std::int64_t{4}, std::int64_t{9}, "15-11-2026"),
         left(0),
         counts(5, 1)},
        {"CountsAsTexts", 2, 1, countsOf("9", "9"), left(2), fresh},
        {"CountsAsBooleansAndReals", 2, 1, countsOf(true, PropertyList::Value(9.0)), left(2),
         fresh},
        {"CountsBeyondTheRange", 2, 1, countsOf(beyond, beyond), left(2), fresh},
        {"NegativeCounts", 2, 1, counts(-3, -1), left(5), counts(-2, 0)},
        {"LeastCounts", kMost, kMost, counts(kLeast, kLeast), left(kMost),
         counts(kLeast + 1, kLeast + 1)},
        {"MostCounts", kMost, {}, counts(kMost, kMost), forced, counts(kMost, kMost)},
        {"OneBelowTheSkips", kMost, {}, counts(kMost - 1, 1), left(1), counts(kMost, 2)},
        {"OneBelowTheLimit", {}, kMost, counts(1, kMost - 1), left(0), counts(2, kMost)},
        {"BothReached", 3, 3, counts(3, 3), {0, false, Decision::skipDeployment}, {}},
        {"AboveTheLimit", {}, 3, counts(1, 4), {0, false, Decision::skipDeployment}, {}},
        {"NegativeLimitIsOff", 3, -1, counts(1, 9), left(2), counts(2, 10)},
        {"NegativeSkipsAreOff", -1, 9, counts(7, 1), left(0), counts(8, 2)},
    };
  }
};

TEST_P(StoredCountsTest, DecideAndAdvance) {
  const CountsCase& row = GetParam();
  customization->settings = {.numberOfSkipAttempts = row.skips, .dailyPromptLimit = row.limit};
  store->records["a"] = row.before;
  EXPECT_EQ(evaluator.evaluate("a", "1"), row.expected);
  EXPECT_EQ(store->timesSaved, row.after ? 1 : 0);
  EXPECT_EQ(store->records.at("a"), row.after.value_or(row.before));
}

INSTANTIATE_TEST_SUITE_P(Records, StoredCountsTest, ::testing::ValuesIn(StoredCountsTest::cases()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(RunningAppPromptDataStoreKeysTest, TheDayIsWorkedOutOncePerProcess) {
  const std::string& date = RunningAppPromptDataStoreKeys::currentDate();
  EXPECT_THAT(date, MatchesRegex("[0-3][0-9]-[01][0-9]-[0-9][0-9][0-9][0-9]"));
  EXPECT_EQ(&date, &RunningAppPromptDataStoreKeys::currentDate());
}

}  // namespace
}  // namespace vexlo
