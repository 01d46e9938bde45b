#include "Platform/Calendar.h"

#include <time.h>  // NOLINT(modernize-deprecated-headers): localtime_r is POSIX

#include <algorithm>
#include <ctime>

#include "Platform/Posix/Formatted.h"
#include "Platform/RunningProcesses.h"
#include "Platform/Text.h"

namespace platform {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year_month_day;

std::tm localTime(Moment moment) {
  tzset();  // localtime_r may ignore a changed TZ
  const std::time_t time = moment.time_since_epoch().count();
  std::tm parts{};
  localtime_r(&time, &parts);
  return parts;
}

year_month_day dayOf(const std::tm& parts) {
  return {std::chrono::year(parts.tm_year + 1900),
          std::chrono::month(static_cast<unsigned>(parts.tm_mon + 1)),
          std::chrono::day(static_cast<unsigned>(parts.tm_mday))};
}

/// The first 00:00:00 of the day; absent when the clock skips it.
std::optional<Moment> midnight(year_month_day day) {
  std::optional<Moment> first;
  for (const int daylightSaving : {1, 0}) {  // the clock may show midnight twice
    const std::time_t inUTC = Moment(sys_days(day)).time_since_epoch().count();
    std::tm parts{};
    gmtime_r(&inUTC, &parts);
    parts.tm_isdst = daylightSaving;
    const Moment candidate{seconds(std::mktime(&parts))};
    const std::tm shown = localTime(candidate);
    if (dayOf(shown) == day && shown.tm_hour == 0 && shown.tm_min == 0 && shown.tm_sec == 0) {
      first = std::min(first.value_or(candidate), candidate);
    }
  }
  return first;
}

/// Whether the text has this form, in which 0 stands for any digit.
bool hasForm(std::string_view text, std::string_view form) {
  return std::ranges::equal(text, form, [](char character, char expected) {
    return expected == '0' ? character >= '0' && character <= '9' : character == expected;
  });
}

/// The number that these digits of a text of the right form are.
unsigned numberAt(std::string_view text, std::size_t position, std::size_t digits) {
  return wholeNumber<unsigned>(text.substr(position, digits)).value_or(0);
}

/// The day at the start of a text "yyyy-MM-dd"; may not exist.
year_month_day dayAtStart(std::string_view text) {
  return {std::chrono::year(static_cast<int>(numberAt(text, 0, 4))),
          std::chrono::month(numberAt(text, 5, 2)), std::chrono::day(numberAt(text, 8, 2))};
}

std::string formattedMoment(const char* format, Moment moment) {
  const auto midnightUTC = floor<days>(moment);
  const year_month_day day(midnightUTC);
  const std::chrono::hh_mm_ss time(moment - midnightUTC);
  return formatted(format, static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                   static_cast<unsigned>(day.day()), static_cast<int>(time.hours().count()),
                   static_cast<int>(time.minutes().count()),
                   static_cast<int>(time.seconds().count()));
}

}  // namespace

Sleeper systemSleeper() { return pauseUnlessEnded; }

Clock systemClock() {
  return [] { return floor<seconds>(std::chrono::system_clock::now()); };
}

std::optional<year_month_day> parseDay(std::string_view text) {
  if (!hasForm(text, "0000-00-00")) {
    return std::nullopt;
  }
  const year_month_day day = dayAtStart(text);
  return day.ok() && day.year() != std::chrono::year(0) ? std::optional(day) : std::nullopt;
}

std::optional<Moment> parseMoment(std::string_view text) {
  if (!hasForm(text, "0000-00-00T00:00:00Z")) {
    return std::nullopt;
  }
  const year_month_day day = dayAtStart(text);
  const std::chrono::hours hour(numberAt(text, 11, 2));
  const std::chrono::minutes minute(numberAt(text, 14, 2));
  const seconds second(numberAt(text, 17, 2));
  const bool exists = day.ok() && hour < days(1) && minute < std::chrono::hours(1) &&
                      second < std::chrono::minutes(1);
  return exists ? std::optional(sys_days(day) + hour + minute + second) : std::nullopt;
}

Moment startOfDay(year_month_day day) {
  if (const auto found = midnight(day)) {
    return *found;
  }
  // Midnight or the whole day was skipped: search for the first second whose date is `day` or
  // later. No zone is further from UTC than this.
  constexpr seconds kFarthestZone = std::chrono::hours(26);
  Moment before = sys_days(day) - kFarthestZone;
  Moment after = sys_days(day) + kFarthestZone;
  while (after - before > seconds(1)) {
    const Moment middle = before + (after - before) / 2;
    (dayOf(middle) < day ? before : after) = middle;
  }
  return after;
}

year_month_day dayOf(Moment moment) { return dayOf(localTime(moment)); }

std::string timestamp(Moment moment) {
  return formattedMoment("%04d-%02u-%02uT%02d:%02d:%02dZ", moment);
}

std::string describeMoment(Moment moment) {
  return formattedMoment("%04d-%02u-%02u %02d:%02d:%02d +0000", moment);
}

}  // namespace platform
