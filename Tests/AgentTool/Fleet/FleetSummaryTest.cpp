#include "AgentTool/Fleet/FleetSummary.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

using agent_tool::asJSON;
using agent_tool::FleetQuestion;
using agent_tool::FleetSummary;
using agent_tool::Prediction;
using agent_tool::summaryFromJSON;

namespace {

const FleetQuestion kQuestion{.patchID = "1",
                              .productID = "2",
                              .servicePackID = "3",
                              .actions = {{"2005", {"20"}}, {"2008", {}}},
                              .actionsBefore = {{}}};

/// A summary of a few kinds of machine; some counts are near the limit.
FleetSummary randomSummary(std::mt19937& random) {
  const std::array<agent_tool::FleetPrediction, 4> predictions{
      {{Prediction::success, {}, {}, {}},
       {Prediction::applyLater, "2005", "inSufficientDiskSpaceForSoftwareUpdate", {}},
       {Prediction::wouldAsk,
        "2010",
        {},
        {{"2007", Prediction::wouldRun}, {"2008", Prediction::wouldForce}}},
       {Prediction::failure, "20\"07", "unDefined", {}}}};
  FleetSummary summary = random() % 4 == 0 ? FleetSummary() : FleetSummary(kQuestion);
  for (std::size_t rows = random() % 6; rows > 0; --rows) {
    const auto& prediction = predictions[random() % predictions.size()];
    const std::uint64_t machines =
        random() % 8 == 0 ? FleetSummary::kMostMachines - random() % 3 : random() % 1000;
    summary.add(prediction,
                {.update = agent_tool::kUpdates.at(random() % agent_tool::kUpdates.size()).value,
                 .macOS = static_cast<std::int64_t>(random() % 3) * 13,
                 .processor = static_cast<agent_tool::Processor>(random() % 2)},
                machines);
    summary.addMove({predictions[random() % predictions.size()], prediction}, machines);
    summary.addBadLines(random() % 2);
  }
  return summary;
}

FleetSummary merged(FleetSummary left, const FleetSummary& right) {
  EXPECT_TRUE(left.merge(right));
  return left;
}

TEST(FleetSummaryTest, MergingIsAssociativeAndCommutative) {
  std::mt19937 random(13);  // NOLINT(*-msc51-cpp): reproducible cases
  for (int round = 0; round < 300; ++round) {
    const FleetSummary a = randomSummary(random);
    const FleetSummary b = randomSummary(random);
    const FleetSummary c = randomSummary(random);
    EXPECT_EQ(merged(merged(a, b), c), merged(a, merged(b, c)));
    EXPECT_EQ(merged(a, b), merged(b, a));
    EXPECT_EQ(merged(a, FleetSummary()), a);
    EXPECT_EQ(merged(FleetSummary(), a), a);
    EXPECT_EQ(summaryFromJSON(asJSON(a)).value(), a);
  }
}

TEST(FleetSummaryTest, SummariesOfDifferentQuestionsDoNotMerge) {
  FleetQuestion other = kQuestion;
  other.actions.front().arguments = {"21"};
  FleetSummary summary(kQuestion);
  FleetSummary different(other);
  different.addBadLines(1);
  EXPECT_FALSE(summary.merge(different));
  EXPECT_EQ(summary, FleetSummary(kQuestion));
}

TEST(FleetSummaryTest, InvalidVersionsAreCountedAsUnknown) {
  FleetSummary summary;
  for (const std::int64_t version : {-1, 0, 100, 1'000'000}) {
    summary.add({}, {.macOS = version});
  }
  EXPECT_EQ(summary.groups().size(), 1U);
}

TEST(FleetSummaryTest, InvalidJSONIsRejectedWithItsPlace) {
  for (const auto& [text, error] : std::vector<std::pair<std::string, std::string>>{
           {"[", R"(column 2: expected a value or "]", found the end of the text)"},
           {"{}", R"(expected the member "fleetSummary", found none)"},
           {R"({"fleetSummary":2})", "fleetSummary: expected the version 1, found the integer 2"},
           {R"({"fleetSummary":1,"machines":1,"patch":null,"badLines":-1})",
            "badLines: expected a count, found the integer -1"},
           {R"({"fleetSummary":1,"machines":1,"badLines":0,"counts":[{"processor":"M1"}]})",
            R"(counts › [0] › processor: expected "apple-silicon" or "intel", found "M1")"},
           {R"({"fleetSummary":1,"machines":1,"badLines":0,"counts":[{"outcome":"maybe"}]})",
            R"(counts › [0] › outcome: expected "success", "applyLater", "failure", "wouldAsk", )"
            R"("wouldForce", "wouldKill", "wouldRun" or "notAsked", found "maybe")"},
           {R"({"fleetSummary":1,"machines":3,"badLines":0,"moves":[],"counts":[)"
            R"({"outcome":"success","machines":2}]})",
            "machines: expected the sum of the counts, 2, found 3"},
           {R"({"fleetSummary":1,"machines":1,"badLines":0,"moves":[],"counts":[)"
            R"({"outcome":"failure","acted":[{"code":"2007","outcome":"success"}]}]})",
            "counts › [0] › acted › [0] › outcome: expected an outcome that changes the machine, "
            R"(found "success")"},
           {R"({"fleetSummary":1,"machines":0,"badLines":0,"counts":[],"moves":[{"machines":1,)"
            R"("from":{"outcome":"failure"},"to":{"outcome":"success"}}]})",
            "moves: expected at most 0 machines, found 1"}}) {
    const auto summary = summaryFromJSON(text);
    ASSERT_FALSE(summary) << text;
    EXPECT_EQ(summary.error().what(), error);
  }
}

}  // namespace
