#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"

#include <gmock/gmock.h>

#include <limits>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using platform::PropertyList;

class FakePowerSources final : public PowerSourcesProvider {
 public:
  std::vector<PropertyList> sources;
  std::vector<PropertyList> powerSourcesInfo() override { return sources; }
};

PropertyList source(PropertyList state, PropertyList current, PropertyList maximum) {
  return PropertyList::Dictionary{{"Power Source State", std::move(state)},
                                  {"Current Capacity", std::move(current)},
                                  {"Max Capacity", std::move(maximum)}};
}
PropertyList battery(std::int64_t current, std::int64_t maximum) {
  return source("Battery Power", current, maximum);
}
constexpr const char* kUnobtainable = "Unable to obtain system power source details.";
const PropertyList kTen = std::int64_t{10};
const PropertyList kMains = source("AC Power", kTen, kTen);

TEST(PowerSourceResolverTest, UsesTheFirstReadableSource) {
  const LogCapture log;
  FakePowerSources provider;
  SystemPowerSource resolver(provider);
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  using Cases = std::vector<std::pair<std::vector<PropertyList>, std::optional<PowerSource>>>;
  for (const auto& [sources, expected] :
       Cases{{{}, std::nullopt},
             {{PropertyList::Dictionary{}, "x"}, std::nullopt},
             {{battery(2, 3)}, BatteryPower{66}},
             {{battery(1, 10), kMains}, BatteryPower{10}},
             {{battery(50, 0), source("Battery Power", "7", kTen), kMains, battery(1, 10)},
              AcPower{}},
             {{source("ac power", kTen, kTen)}, BatteryPower{100}},
             {{battery(kLargest, kLargest), battery(1, 2)}, BatteryPower{50}}}) {
    SCOPED_TRACE(testing::PrintToString(expected));
    provider.sources = sources;
    EXPECT_EQ(resolver.currentPowerSource(), expected);
  }
  log.clear();
  provider.sources = {"x"};
  EXPECT_EQ(resolver.currentPowerSource(), std::nullopt);
  EXPECT_THAT(log.records(),
              testing::ElementsAre(DebugLine(kUnobtainable), ErrorLine(kUnobtainable)));
}

}  // namespace
}  // namespace vexlo
