#include "Platform/Calendar.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Platform/RunningProcesses.h"
#include "Tests/Fakes/ScopedEnvironment.h"

namespace platform {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using std::chrono::sys_days;

// The zones are POSIX rules, so no time zone database is needed.
TEST(CalendarTest, DayStartsAtItsFirstSecond) {
  const ScopedEnvironment skipped("TZ", "AAA3BBB,M11.1.0/0,M2.3.0/0");  // 00:00 becomes 01:00
  EXPECT_TRUE(startOfDay(2018y / 11 / 4) == sys_days(2018y / 11 / 4) + 3h);
  const ScopedEnvironment repeated("TZ", "AAA5BBB,M3.2.0/0,M11.1.0/1");  // 01:00 becomes 00:00
  EXPECT_TRUE(startOfDay(2024y / 11 / 3) == sys_days(2024y / 11 / 3) + 4h);
}

TEST(CalendarTest, EndedPauseReturnsEarly) {
  std::atomic<bool> isOver = false;
  std::thread pausing([&] {
    systemSleeper()(1h);
    isOver = true;
  });
  while (!isOver) {  // the pause may not have begun when it is ended
    EXPECT_FALSE(endRunningProcesses(0ms));
    std::this_thread::yield();
  }
  pausing.join();
  const auto start = std::chrono::steady_clock::now();
  systemSleeper()(60ms);  // a later pause is a full one
  EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
}

}  // namespace
}  // namespace platform
