#include "Platform/Calendar.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Tests/Fakes/ScopedEnvironment.h"

namespace platform {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using std::chrono::sys_days;
using std::chrono::year_month_day;

TEST(CalendarTest, ADayIsTenCharactersOfAnExistingDate) {
  EXPECT_EQ(parseDay("2024-06-15"), 2024y / 6 / 15);
  EXPECT_EQ(parseDay("2024-02-29"), 2024y / 2 / 29);
  for (const char* text : {"", "2023-02-29", "2024-13-01", "0000-01-01", "2024-6-5", "2024-06-15 ",
                           "2024/06/15", "+024-06-15", "2024-06-1x"}) {
    EXPECT_EQ(parseDay(text), std::nullopt) << text;
  }
}

TEST(CalendarTest, ADayStartsAtTheFirstMomentThatShowsIt) {
  // The rules stand in the zone texts themselves, so that no zone database is needed.
  constexpr const char* kForwardAtMidnight = "AAA3BBB,M11.1.0/0,M2.3.0/0";  // 00:00 becomes 01:00
  constexpr const char* kBackToMidnight = "AAA5BBB,M3.2.0/0,M11.1.0/1";     // 01:00 becomes 00:00
  const std::vector<std::tuple<const char*, year_month_day, Moment>> rows{
      {"CET-1CEST,M3.5.0,M10.5.0/3", 2024y / 6 / 15, sys_days(2024y / 6 / 14) + 22h},
      {kForwardAtMidnight, 2018y / 11 / 4, sys_days(2018y / 11 / 4) + 3h},
      {kForwardAtMidnight, 2018y / 11 / 5, sys_days(2018y / 11 / 5) + 2h},
      {kBackToMidnight, 2024y / 11 / 3, sys_days(2024y / 11 / 3) + 4h},
      {"UTC0", 4001y / 1 / 1, sys_days(4001y / 1 / 1)}};
  for (const auto& [zoneText, day, start] : rows) {
    const ScopedEnvironment zone("TZ", zoneText);
    EXPECT_EQ(startOfDay(day), start) << zoneText << ": " << describeMoment(startOfDay(day));
    EXPECT_LT(dayOf(start - 1s), day);
    EXPECT_EQ(dayOf(start), day);
  }
}

TEST(CalendarTest, TextsOfDaysAndMoments) {
  for (const char* name : {"C", "xx_NOWHERE.UTF-8"}) {
    const ScopedEnvironment locale("LC_ALL", name);
    EXPECT_EQ(yearMonthNameDay(2024y / 6 / 15), "2024-Jun-15") << name;
  }
  EXPECT_EQ(dayMonthYear(2026y / 11 / 6), "06-11-2026");
  EXPECT_EQ(describeMoment(sys_days(2024y / 6 / 15)), "2024-06-15 00:00:00 +0000");
  EXPECT_EQ(describeMoment(sys_days(1970y / 1 / 1) - 1s), "1969-12-31 23:59:59 +0000");
}

}  // namespace
}  // namespace platform
