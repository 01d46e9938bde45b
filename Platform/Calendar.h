// Days, moments and pauses: Gregorian dates in the process's time zone.
#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// A moment to the second, in UTC. Every day that `parseDay` reads fits, which the system
/// clock's own nanoseconds could not hold after the year 2262.
using Moment = std::chrono::sys_seconds;

/// Blocks the calling thread for a duration. Tests hand in one that only records.
using Sleeper = std::function<void(std::chrono::milliseconds duration)>;
/// The real one. A signal handler that runs meanwhile doesn't shorten it.
[[nodiscard]] Sleeper systemSleeper();

/// Tells the present moment, rounded down. Tests hand in a fixed one.
using Clock = std::function<Moment()>;
[[nodiscard]] Clock systemClock();

/// Reads a whole text "yyyy-MM-dd" (four, two and two digits) as an existing day of the years
/// 0001 to 9999; absent otherwise.
[[nodiscard]] std::optional<std::chrono::year_month_day> parseDay(std::string_view text);

/// The first moment of `day` in the process's time zone; on a day without a midnight (a
/// daylight-saving jump) the first moment that exists.
[[nodiscard]] Moment startOfDay(std::chrono::year_month_day day);

/// The day of `moment` in the process's time zone.
[[nodiscard]] std::chrono::year_month_day dayOf(Moment moment);

/// "yyyy-MMM-dd", the month abbreviated in the process's locale: «2024-Jun-15». That locale is
/// the user's on macOS. On Linux it is the one the environment names (LC_ALL, LC_TIME, LANG),
/// whether or not the program has called `setlocale`; one that is not installed, or not in UTF-8,
/// counts as English.
[[nodiscard]] std::string yearMonthNameDay(std::chrono::year_month_day day);
/// "dd-MM-yyyy": «16-11-2026»; on macOS in the calendar and the digits that the user has chosen.
[[nodiscard]] std::string dayMonthYear(std::chrono::year_month_day day);
/// A moment for log lines, in UTC: «2024-06-15 00:00:00 +0000».
[[nodiscard]] std::string describeMoment(Moment moment);

}  // namespace platform
