// Days, moments and pauses: Gregorian dates in the process's time zone.
#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Blocks the calling thread for a duration. Tests hand in one that only records.
using Sleeper = std::function<void(std::chrono::milliseconds duration)>;
/// The real one.
[[nodiscard]] Sleeper systemSleeper();

/// Tells the present moment. Tests hand in a fixed one.
using Clock = std::function<std::chrono::system_clock::time_point()>;
[[nodiscard]] Clock systemClock();

/// Reads a whole text "yyyy-MM-dd" as an existing day; absent otherwise.
[[nodiscard]] std::optional<std::chrono::year_month_day> parseDay(std::string_view text);

/// The first moment of `day` in the process's time zone; on a day without a midnight (a
/// daylight-saving jump) the first moment that exists.
[[nodiscard]] std::chrono::system_clock::time_point startOfDay(std::chrono::year_month_day day);

/// The day of `moment` in the process's time zone.
[[nodiscard]] std::chrono::year_month_day dayOf(std::chrono::system_clock::time_point moment);

/// "yyyy-MMM-dd", the month abbreviated in the process's locale (LC_TIME): «2024-Jun-15».
[[nodiscard]] std::string yearMonthNameDay(std::chrono::year_month_day day);
/// "dd-MM-yyyy": «16-11-2026».
[[nodiscard]] std::string dayMonthYear(std::chrono::year_month_day day);
/// A moment for log lines, in UTC: «2024-06-15 00:00:00 +0000».
[[nodiscard]] std::string describeMoment(std::chrono::system_clock::time_point moment);

}  // namespace platform
