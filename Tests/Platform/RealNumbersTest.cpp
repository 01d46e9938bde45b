#include "Platform/RealNumbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform {
namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)

TEST(RealNumbersTest, AreReadAndWrittenAsInTheCLocale) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<std::string, std::optional<double>>> texts{{"1.5", 1.5},
                                                                         {"-.5e-3", -.0005},
                                                                         {"5.", 5.0},
                                                                         {"4e-320", 4e-320},
                                                                         {"-0", -0.0},
                                                                         {"inf", kInfinity},
                                                                         {"-INFINITY", -kInfinity},
                                                                         {"0e999", 0.0}};
  for (const auto& [text, expected] : texts) {
    EXPECT_EQ(parseReal(text), expected) << text;
  }
  for (const std::string& text :
       {"1e400"s, "1e-400"s, "0x10"s, "+1"s, "-+1"s, " 1"s, "1 "s, ""s, "-"s, "1,5"s, "1\0"s}) {
    EXPECT_EQ(parseReal(text), std::nullopt) << text;
  }
  const std::vector<std::pair<double, std::string>> numbers{
      {0.1, "0.1"},        {-0.0, "-0"},
      {45, "45"},          {1e22, "1e+22"},
      {100000, "1e+05"},   {123456, "123456"},
      {1e-5, "1e-05"},     {0.001, "0.001"},
      {5e-324, "5e-324"},  {1.0 / 3, "0.3333333333333333"},
      {-kInfinity, "-inf"}};
  for (const auto& [number, expected] : numbers) {
    SCOPED_TRACE(number);
    EXPECT_EQ(shortestText(number), expected);
  }
  EXPECT_EQ(shortestText(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
  EXPECT_EQ(shortestText(9007199254740993.0), "9007199254740992");
  EXPECT_EQ(decimalText(2.0 / 3, 2), "0.67");
}

}  // namespace
}  // namespace platform
