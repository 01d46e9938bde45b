// Tests the prompt decision with the store of its counts.
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

#include <gmock/gmock.h>

#include <limits>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// For failure messages.
static std::ostream& operator<<(std::ostream& out, const RunningAppPromptEvaluation& evaluation) {
  return out << '(' << evaluation.remainingSkipAttempts << ", " << evaluation.allowScreenGrab
             << ", " << describe(evaluation.decision) << ')';
}

namespace {

using platform::PropertyList;
using Decision = RunningAppPromptDecision;
using Evaluation = RunningAppPromptEvaluation;
using Record = RunningAppPromptDataStoring::Record;

constexpr const char* kToday = "16-11-2026";

class RunningAppPromptEvaluatorTest : public ::testing::Test,
                                      public RunningAppPromptCustomizing,
                                      public PlistManager {
 protected:
  std::optional<RunningAppPromptCustomization> customization() override { return settings; }
  const std::optional<RunningAppPromptCustomization>& customizationData() override {
    return settings;
  }
  std::optional<PropertyList> fetchValue(const std::string& key) override { return values.at(key); }
  void updateValue(std::optional<PropertyList> value, const std::string& key) override {
    values.insert_or_assign(key, value.value());
  }
  void save(const std::optional<std::string>& /*path*/) override {}

  static Record countsOf(PropertyList total, PropertyList today, const char* day = kToday) {
    return {{"patchID", "1"}, {"promptShownCount", std::move(total)}, {day, std::move(today)}};
  }
  static Record counts(std::int64_t total, std::int64_t today) { return countsOf(total, today); }

  std::optional<RunningAppPromptCustomization> settings;
  std::map<std::string, PropertyList> values;
  RunningAppPromptDataStore store{*this};
  LogCapture log;
  RunningAppPromptEvaluator evaluator{*this, store, [] { return kToday; }};
};

TEST_F(RunningAppPromptEvaluatorTest, DecidesFromStoredCountsAndUpdatesThem) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  struct Case {
    std::string name;
    std::optional<std::int64_t> skips;
    std::optional<std::int64_t> limit;
    PropertyList before;
    Evaluation expected;
    Record after;
  };
  const Record fresh = counts(1, 1);
  const Evaluation forced{0, true, Decision::forceDeployment};
  const Evaluation skipped{0, false, Decision::skipDeployment};
  const auto left = [](std::int64_t skips) {
    return Evaluation{skips, false, Decision::promptUser};
  };
  const PropertyList beyond(PropertyList::Value(std::uint64_t{1} << 63));
  const PropertyList four = std::int64_t{4};
  Record otherPatch = counts(9, 9);
  otherPatch["patchID"] = "1 ";
  for (const auto& [name, skips, limit, before, expected, after] : std::vector<Case>{
           {"no dictionary", 2, 1, four, left(2), fresh},
           {"another patch", 2, 1, otherPatch, left(2), fresh},
           {"another day", {}, 1, countsOf(four, four, "15-11-2026"), left(0), counts(5, 1)},
           {"no integers", 2, 1, countsOf("9", true), left(2), fresh},
           {"beyond the range", 2, 1, countsOf(beyond, beyond), left(2), fresh},
           {"negative", kMost, 1, counts(-3, -1), left(kMost), counts(-2, 0)},
           {"most", kMost, {}, counts(kMost, kMost), forced, counts(kMost, kMost)},
           {"last skip", 9, {}, counts(8, 1), left(1), counts(9, 2)},
           {"both reached", 3, 3, counts(3, 3), skipped, counts(3, 3)},
           {"negative limit", 3, -1, counts(1, 9), left(2), counts(2, 10)},
           {"negative skips", -1, 9, counts(7, 8), left(0), counts(8, 9)},
           {"no limits", -1, -1, counts(7, 8), left(0), counts(7, 8)}}) {
    SCOPED_TRACE(name);
    settings = {.numberOfSkipAttempts = skips, .dailyPromptLimit = limit};
    values["a"] = before;
    EXPECT_EQ(evaluator.evaluate("a", "1"), expected);
    EXPECT_EQ(values.at("a"), PropertyList(after));
  }
}

}  // namespace
}  // namespace vexlo
