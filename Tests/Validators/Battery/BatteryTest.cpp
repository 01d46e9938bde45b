#include "VexloPatchDeployment/Validators/Battery/Battery.h"

#include <gmock/gmock.h>

#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::ElementsAre;

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

class FakePowerSourceResolver final : public PowerSourceResolver {
 public:
  std::optional<PowerSource> source;
  std::optional<PowerSource> currentPowerSource() override { return source; }
};

class BatteryLevelCheckerTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakePowerSourceResolver> resolver = std::make_shared<FakePowerSourceResolver>();
  LogCapture log;
  BatteryLevelChecker checker{resolver};
};

TEST_F(BatteryLevelCheckerTest, BatteryIsComparedWithTheMinimumAndEqualIsEnough) {
  resolver->source = BatteryPower{.percentage = 50};
  EXPECT_TRUE(checker.hasMinimumBattery(50));
  EXPECT_TRUE(checker.hasMinimumBattery(-5));
  log.clear();
  EXPECT_FALSE(checker.hasMinimumBattery(51));
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("System battery percentage: 50, minimum battery "
                                         "percentage: 51, is sufficient: false."),
                                LoggedBy("Validators/Battery/Battery", "hasMinimumBattery(of:)"))));
}

TEST_F(BatteryLevelCheckerTest, MainsAndAnUnknownSourceAreSufficient) {
  resolver->source = AcPower{};
  EXPECT_TRUE(checker.hasMinimumBattery(1000));
  resolver->source = std::nullopt;
  EXPECT_TRUE(checker.hasMinimumBattery(1000));
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          InfoLine("System is AC powered, so considering it as sufficient battery."),
          ErrorLine(
              "Unable to obtain system power source, Considering it as sufficient battery.")));
}

class FakePowerSourcesProvider final : public PowerSourcesProvider {
 public:
  std::vector<PropertyList> sources;
  std::vector<PropertyList> powerSourcesInfo() override { return sources; }
};

PropertyList description(const char* state, PropertyList current, PropertyList maximum) {
  return PropertyList::Dictionary{{"Power Source State", state},
                                  {"Current Capacity", std::move(current)},
                                  {"Max Capacity", std::move(maximum)}};
}

PropertyList onBattery(std::int64_t current, std::int64_t maximum) {
  return description("Battery Power", current, maximum);
}

struct SourcesCase {
  const char* name;
  std::vector<PropertyList> sources;
  std::optional<PowerSource> expected;
};

class SystemPowerSourceTest : public ::testing::TestWithParam<SourcesCase> {};

TEST_P(SystemPowerSourceTest, TakesTheFirstDescriptionThatAnswers) {
  const auto provider = std::make_shared<FakePowerSourcesProvider>();
  provider->sources = GetParam().sources;
  const LogCapture log;
  EXPECT_EQ(SystemPowerSource(provider).currentPowerSource(), GetParam().expected);
}

const PropertyList kMains = description("AC Power", std::int64_t{10}, std::int64_t{100});

INSTANTIATE_TEST_SUITE_P(
    Sources, SystemPowerSourceTest,
    ::testing::Values(
        SourcesCase{"None", {}, std::nullopt}, SourcesCase{"Mains", {kMains}, AcPower{}},
        SourcesCase{"Half", {onBattery(45, 90)}, BatteryPower{50}},
        SourcesCase{"Truncated", {onBattery(2, 3)}, BatteryPower{66}},
        SourcesCase{"BatteryBeforeMains", {onBattery(1, 10), kMains}, BatteryPower{10}},
        SourcesCase{"NoCapacitiesThenMains",
                    {PropertyList::Dictionary{{"Power Source State", "Battery Power"}}, kMains},
                    AcPower{}},
        SourcesCase{"StateInOtherCase",
                    {description("ac power", std::int64_t{7}, std::int64_t{10})},
                    BatteryPower{70}},
        SourcesCase{"StateNotText",
                    {PropertyList::Dictionary{{"Power Source State", true},
                                              {"Current Capacity", std::int64_t{7}},
                                              {"Max Capacity", std::int64_t{10}}}},
                    BatteryPower{70}},
        SourcesCase{
            "CapacityAsText", {description("Battery Power", "7", std::int64_t{10})}, std::nullopt},
        SourcesCase{"FullChargeOfZero", {onBattery(50, 0)}, std::nullopt},
        SourcesCase{"HugeCapacityThenUsable",
                    {onBattery(kLargest, kLargest), onBattery(1, 2)},
                    BatteryPower{50}},
        SourcesCase{"EmptyAndNoDictionary", {PropertyList::Dictionary{}, "x"}, std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(SystemPowerSourceLogTest, SaysWhatItFound) {
  const auto provider = std::make_shared<FakePowerSourcesProvider>();
  LogCapture log;
  SystemPowerSource source(provider);
  constexpr auto kFile = "Validators/Battery/PowerSourceResolver";
  constexpr auto kFunction = "currentPowerSource()";

  provider->sources = {onBattery(45, 90)};
  EXPECT_TRUE(source.currentPowerSource());
  provider->sources = {"no dictionary"};
  EXPECT_FALSE(source.currentPowerSource());
  provider->sources = {kMains};
  EXPECT_TRUE(source.currentPowerSource());
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("Power source: Battery, current capacity: 45, max capacity: 90, "
                                 "battery percentage: 50%."),
                        LoggedBy(kFile, kFunction)),
                  DebugLine("Unable to obtain system power source details."),
                  ErrorLine("Unable to obtain system power source details."),
                  InfoLine("Power source: AC.")));
}

}  // namespace
}  // namespace vexlo
