#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Platform/Linux/PowerSupplies.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(PowerSuppliesTest, DescribesBatteriesByStateAndCapacity) {
  const TemporaryDirectory root;
  const std::vector<std::pair<std::string, std::string>> attributes{
      {"A/status", "Discharging"}, {"A/energy_now", "30"},       {"A/energy_full", "40"},
      {"A/capacity", "1"},         {"B/status", "Not charging"}, {"B/capacity", "45"},
      {"C/status", "Full"},        {"C/capacity", "99"},         {"Mouse/status", "Discharging"},
      {"Mouse/scope", "Device"},   {"B/energy_now", "30"},       {"B/energy_full", "0"}};
  for (const auto& [name, value] : attributes) {
    root.write(name, value + "\n");
    root.write(name.substr(0, name.find('/')) + "/type", "Battery\n");
  }
  std::string summary;
  for (const PropertyList& source : readPowerSupplies(root.path())) {
    summary += *source.find("Power Source State")->as<std::string>() + ' ' +
               describe(*source.find("Current Capacity")) + '/' +
               describe(*source.find("Max Capacity")) + '\n';
  }
  EXPECT_EQ(summary, "Battery Power 30/40\nAC Power 45/100\nAC Power 99/100\n");
  // The external supply decides about a battery that says neither.
  root.write("AC/type", "Mains\n");
  for (const auto& [online, state] : {std::pair("0", "Battery Power"), {"1", "AC Power"}}) {
    root.write("AC/online", online);
    EXPECT_EQ(*readPowerSupplies(root.path()).at(1).find("Power Source State"),
              PropertyList(state));
  }
}

}  // namespace
}  // namespace platform
