#include "Platform/Calendar.h"

#include <gtest/gtest.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): sigaction is POSIX
#include <sys/time.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using std::chrono::sys_days;
using std::chrono::year_month_day;

/// Sets an environment variable for the scope.
class Environment {
 public:
  Environment(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) {
      old_ = old;
    }
    setenv(name, value.c_str(), 1);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  ~Environment() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(CalendarTest, ADayIsTenCharactersOfAnExistingDate) {
  EXPECT_EQ(parseDay("2024-06-15"), 2024y / 6 / 15);
  EXPECT_EQ(parseDay("2024-02-29"), 2024y / 2 / 29);
  EXPECT_EQ(parseDay("9999-12-31"), 9999y / 12 / 31);
  for (const char* text : {"", "2024-02-30", "2023-02-29", "2024-13-01", "2024-00-10", "2024-06-00",
                           "0000-01-01", "2024-6-5x", "2024-6-5", "2024-06-15 ", " 2024-06-15",
                           "2024/06/15", "+024-06-15", "2024-06-1x", "2024-06-15T00"}) {
    EXPECT_EQ(parseDay(text), std::nullopt) << text;
  }
}

struct StartCase {
  const char* name;
  const char* zone;
  year_month_day day;
  Moment start;
};

class StartOfDayTest : public ::testing::TestWithParam<StartCase> {};

TEST_P(StartOfDayTest, IsTheFirstMomentThatShowsTheDay) {
  const Environment zone("TZ", GetParam().zone);
  const Moment start = startOfDay(GetParam().day);
  EXPECT_EQ(start, GetParam().start) << describeMoment(start);
  EXPECT_LT(dayOf(start - 1s), GetParam().day);
  EXPECT_GE(dayOf(start), GetParam().day);
}

// The rules stand in the zone texts themselves, so that no zone database is needed.
constexpr const char* kForwardAtMidnight = "AAA3BBB,M11.1.0/0,M2.3.0/0";  // 00:00 becomes 01:00
constexpr const char* kBackToMidnight = "AAA5BBB,M3.2.0/0,M11.1.0/1";     // 01:00 becomes 00:00

INSTANTIATE_TEST_SUITE_P(
    Zones, StartOfDayTest,
    ::testing::Values(
        StartCase{"UTC", "UTC0", 2024y / 6 / 15, sys_days(2024y / 6 / 15)},
        StartCase{"EastOfGreenwich", "CET-1CEST,M3.5.0,M10.5.0/3", 2024y / 6 / 15,
                  sys_days(2024y / 6 / 14) + 22h},
        StartCase{"FarEast", "XXX-14", 2024y / 6 / 15, sys_days(2024y / 6 / 14) + 10h},
        StartCase{"DayWithoutMidnight", kForwardAtMidnight, 2018y / 11 / 4,
                  sys_days(2018y / 11 / 4) + 3h},
        StartCase{"DayAfterThat", kForwardAtMidnight, 2018y / 11 / 5,
                  sys_days(2018y / 11 / 5) + 2h},
        StartCase{"MidnightTwice", kBackToMidnight, 2024y / 11 / 3, sys_days(2024y / 11 / 3) + 4h},
        StartCase{"BeyondTheNanosecondsOfTheClock", "UTC0", 4001y / 1 / 1, sys_days(4001y / 1 / 1)},
        StartCase{"Last", "UTC0", 9999y / 12 / 31, sys_days(9999y / 12 / 31)},
        StartCase{"BeforeTheEpoch", "UTC0", 1y / 1 / 1, sys_days(1y / 1 / 1)}),
    [](const auto& row) { return std::string(row.param.name); });

/// A small locale of its own for the system's locale compiler.
constexpr const char* kLocaleSource = R"(LC_CTYPE
copy "POSIX"
END LC_CTYPE
LC_TIME
abday "a";"b";"c";"d";"e";"f";"g"
day "a";"b";"c";"d";"e";"f";"g"
abmon "janv.";"f<U00E9>vr.";"c";"d";"e";"f";"g";"h";"i";"j";"k";"l"
mon "janvier";"b";"c";"d";"e";"f";"g";"h";"i";"j";"k";"l"
d_t_fmt "%c"
d_fmt "%x"
t_fmt "%X"
am_pm "";""
t_fmt_ampm ""
END LC_TIME
)";

TEST(CalendarTest, MonthsBearTheNameOfTheEnvironmentsLocale) {
  const TemporaryDirectory directory;
  directory.write("source", kLocaleSource);
  for (const std::string charset : {"UTF-8", "ISO-8859-1"}) {
    std::string command = "cd '" + directory.path() + "' && localedef -c -i ./source -f ";
    command.append(charset).append(" ./xx.").append(charset).append(" >/dev/null 2>&1");
    (void)std::system(command.c_str());  // NOLINT(cert-env33-c): its warnings count as a failure
    if (!std::filesystem::exists(directory.file("xx." + charset + "/LC_TIME"))) {
      GTEST_SKIP() << "this machine can't compile a locale";
    }
  }
  const auto printFifthOfFebruary = [&](const char* locale) {
    setenv("LOCPATH", directory.path().c_str(), 1);
    setenv("LC_ALL", locale, 1);
    std::cerr << yearMonthNameDay(2024y / 2 / 5);
    std::_Exit(0);
  };
  // In a child of its own: libc keeps a little memory for every look along LOCPATH.
  EXPECT_EXIT(printFifthOfFebruary("xx.UTF-8"), ::testing::ExitedWithCode(0), "^2024-févr.-05$");
  EXPECT_EXIT(printFifthOfFebruary("xx.ISO-8859-1"), ::testing::ExitedWithCode(0), "^2024-Feb-05$")
      << "no text but UTF-8 comes out";
}

TEST(CalendarTest, TextsOfDaysAndMoments) {
  for (const char* name : {"C", "xx_NOWHERE.UTF-8", "C.UTF-8"}) {
    const Environment locale("LC_ALL", name);
    EXPECT_EQ(yearMonthNameDay(2024y / 6 / 15), "2024-Jun-15") << name;
    EXPECT_EQ(yearMonthNameDay(2099y / 1 / 1), "2099-Jan-01") << name;
  }
  EXPECT_EQ(dayMonthYear(2026y / 11 / 6), "06-11-2026");
  EXPECT_EQ(describeMoment(sys_days(2024y / 6 / 15)), "2024-06-15 00:00:00 +0000");
  EXPECT_EQ(describeMoment(sys_days(1970y / 1 / 1) - 1s), "1969-12-31 23:59:59 +0000");
}

TEST(CalendarTest, ThePresentIsNow) {
  const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const Moment now = systemClock()();
  EXPECT_GE(now, before);
  EXPECT_LE(now, std::chrono::system_clock::now());
}

TEST(CalendarTest, ASignalDoesNotShortenAPause) {
  struct sigaction quiet{};
  struct sigaction old{};
  quiet.sa_handler = [](int) {};
  sigaction(SIGALRM, &quiet, &old);
  const itimerval soon{.it_interval = {.tv_sec = 0, .tv_usec = 5000},
                       .it_value = {.tv_sec = 0, .tv_usec = 5000}};
  setitimer(ITIMER_REAL, &soon, nullptr);
  const auto start = std::chrono::steady_clock::now();
  systemSleeper()(30ms);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
  systemSleeper()(-1ms);  // returns at once
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &old, nullptr);
}

}  // namespace
}  // namespace platform
