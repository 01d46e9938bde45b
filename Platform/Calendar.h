// Dates, times and pauses: Gregorian dates in the process's time zone.
#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// A point in time, in UTC, with a resolution of one second. Holds every day that `parseDay`
/// accepts; the system clock's nanoseconds would overflow in 2262.
using Moment = std::chrono::sys_seconds;

/// Blocks the calling thread for a duration. Tests pass one that only records the call.
using Sleeper = std::function<void(std::chrono::milliseconds duration)>;
/// The real sleeper. `endRunningProcesses` ends the pause, but a signal handler that runs during it
/// doesn't shorten it.
[[nodiscard]] Sleeper systemSleeper();

/// Returns the current time, rounded down. Tests pass a fixed one.
using Clock = std::function<Moment()>;
[[nodiscard]] Clock systemClock();

/// Parses exactly "yyyy-MM-dd" (four, two and two digits); absent unless it is a valid date in the
/// years 0001 to 9999.
[[nodiscard]] std::optional<std::chrono::year_month_day> parseDay(std::string_view text);

/// Parses exactly "yyyy-MM-ddTHH:mm:ssZ", in UTC; absent unless it is a valid time in the years
/// 0000 to 9999.
[[nodiscard]] std::optional<Moment> parseMoment(std::string_view text);

/// The first second of `day` in the process's time zone, also when daylight saving skips midnight.
[[nodiscard]] Moment startOfDay(std::chrono::year_month_day day);

/// The day of `moment` in the process's time zone.
[[nodiscard]] std::chrono::year_month_day dayOf(Moment moment);

/// "yyyy-MMM-dd", with the month's abbreviation in the user's locale: «2024-Jun-15». On Linux the
/// locale comes from the environment (LC_ALL, LC_TIME, LANG), whether or not the program has called
/// `setlocale`; English is used if that locale is not installed or not UTF-8. On macOS, days before
/// 15 October 1582 are in the Julian calendar.
[[nodiscard]] std::string yearMonthNameDay(std::chrono::year_month_day day);
/// "dd-MM-yyyy": «16-11-2026»; on macOS with the user's calendar and digits.
[[nodiscard]] std::string dayMonthYear(std::chrono::year_month_day day);
/// The form that `parseMoment` reads: «2024-06-15T00:00:00Z».
[[nodiscard]] std::string timestamp(Moment moment);
/// For log lines, in UTC: «2024-06-15 00:00:00 +0000».
[[nodiscard]] std::string describeMoment(Moment moment);

}  // namespace platform
