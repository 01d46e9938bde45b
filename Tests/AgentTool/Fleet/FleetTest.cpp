#include "tools/Fleet.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "AgentTool/Facts/Facts.h"

namespace {

TEST(FleetTest, SameSeedMakesTheSameMachine) {
  const fleet::Fleet fleet(7);
  const std::string second = fleet.line(2);
  (void)fleet.line(1);
  EXPECT_EQ(fleet::Fleet(7).line(2), second);
  EXPECT_NE(fleet::Fleet(8).line(2), second);
  // The same on every system.
  EXPECT_NE(second.find("\"consoleUser\":\"amara62\""), std::string::npos) << second;
}

TEST(FleetTest, LinesAreValidAndMachinesDiffer) {
  const fleet::Fleet fleet(1);
  agent_tool::FactsReader reader;
  std::set<std::string> versions;
  int withoutUser = 0;
  int lowBatteries = 0;
  for (std::uint64_t number = 1; number <= 1000; ++number) {
    const std::string line = fleet.line(number);
    const auto record = reader.read(line);
    ASSERT_TRUE(record) << line << record.error().what();
    versions.emplace((*record)->macOSVersion.value_or("none"));
    withoutUser += (*record)->consoleUser == "NOUSERNAME" ? 1 : 0;
    const vexlo::PowerSource source = (*record)->powerSource.value_or(vexlo::AcPower{});
    const auto* const battery = std::get_if<vexlo::BatteryPower>(&source);
    lowBatteries += battery != nullptr && battery->percentage < 30 ? 1 : 0;
  }
  EXPECT_GT(versions.size(), 8U);
  EXPECT_NEAR(withoutUser, 130, 40);
  EXPECT_NEAR(lowBatteries, 40, 30);
}

}  // namespace
