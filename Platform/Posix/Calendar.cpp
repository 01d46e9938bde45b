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
    std::tm parts{};
    parts.tm_year = static_cast<int>(day.year()) - 1900;
    parts.tm_mon = static_cast<int>(static_cast<unsigned>(day.month())) - 1;
    parts.tm_mday = static_cast<int>(static_cast<unsigned>(day.day()));
    parts.tm_isdst = daylightSaving;
    const Moment candidate{seconds(std::mktime(&parts))};
    const std::tm shown = localTime(candidate);
    if (dayOf(shown) == day && shown.tm_hour == 0 && shown.tm_min == 0 && shown.tm_sec == 0) {
      first = std::min(first.value_or(candidate), candidate);
    }
  }
  return first;
}

/// Reads "yyyy-MM-dd".
std::optional<year_month_day> parseDate(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
    return std::nullopt;
  }
  const auto year = wholeNumber<unsigned>(text.substr(0, 4));
  const auto month = wholeNumber<unsigned>(text.substr(5, 2));
  const auto day = wholeNumber<unsigned>(text.substr(8, 2));
  if (!year || !month || !day) {
    return std::nullopt;
  }
  const year_month_day date{std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                            std::chrono::day(*day)};
  return date.ok() ? std::optional(date) : std::nullopt;
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
  const auto date = parseDate(text);
  return date && date->year() != std::chrono::year(0) ? date : std::nullopt;
}

std::optional<Moment> parseMoment(std::string_view text) {
  constexpr std::size_t kSize = std::string_view("yyyy-MM-ddTHH:mm:ssZ").size();
  if (text.size() != kSize || text[10] != 'T' || text[13] != ':' || text[16] != ':' ||
      text[19] != 'Z') {
    return std::nullopt;
  }
  const auto day = parseDate(text.substr(0, 10));
  const auto hour = wholeNumber<unsigned>(text.substr(11, 2));
  const auto minute = wholeNumber<unsigned>(text.substr(14, 2));
  const auto second = wholeNumber<unsigned>(text.substr(17, 2));
  if (!day || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) {
    return std::nullopt;
  }
  return sys_days(*day) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
         seconds(*second);
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
