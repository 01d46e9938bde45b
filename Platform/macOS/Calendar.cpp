#include "Platform/Calendar.h"

#include "Platform/macOS/Conversions.h"

namespace platform {
namespace {

using std::chrono::year_month_day;

enum class Years : std::uint8_t { gregorian, ofTheUser };

/// Noon of the day in UTC, as a Core Foundation time.
CFAbsoluteTime noonOf(year_month_day day) {
  using std::chrono::sys_days;
  constexpr sys_days kBeginning = std::chrono::year(2001) / std::chrono::January / 1;
  const std::chrono::duration<double> seconds = sys_days(day) - kBeginning + std::chrono::hours(12);
  return seconds.count();
}

/// Formats the day with a date pattern in the user's language. Empty on failure.
std::string writtenDay(year_month_day day, std::string_view pattern, Years years) {
  const Owned<CFLocaleRef> locale(CFLocaleCopyCurrent());
  const Owned<CFDateFormatterRef> formatter(CFDateFormatterCreate(
      kCFAllocatorDefault, locale.get(), kCFDateFormatterNoStyle, kCFDateFormatterNoStyle));
  const Owned<CFTimeZoneRef> zone(
      CFTimeZoneCreateWithTimeIntervalFromGMT(kCFAllocatorDefault, 0));  // as `noonOf`
  const Owned<CFCalendarRef> calendar(
      CFCalendarCreateWithIdentifier(kCFAllocatorDefault, kCFGregorianCalendar));
  const Owned<CFStringRef> format = coreFoundationText(pattern);
  if (!formatter || !zone || !calendar || !format) {
    return {};
  }
  CFDateFormatterSetProperty(formatter.get(), kCFDateFormatterTimeZone, zone.get());
  if (years == Years::gregorian) {
    CFDateFormatterSetProperty(formatter.get(), kCFDateFormatterCalendar, calendar.get());
  }
  CFDateFormatterSetFormat(formatter.get(), format.get());
  const Owned<CFStringRef> text(CFDateFormatterCreateStringWithAbsoluteTime(
      kCFAllocatorDefault, formatter.get(), noonOf(day)));
  return textOf(text.get()).value_or("");
}

}  // namespace

std::string yearMonthNameDay(year_month_day day) {
  return writtenDay(day, "yyyy-MMM-dd", Years::gregorian);  // the text exactly as written
}

std::string dayMonthYear(year_month_day day) {
  return writtenDay(day, "dd-MM-yyyy", Years::ofTheUser);
}

}  // namespace platform
