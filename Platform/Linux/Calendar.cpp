#include "Platform/Calendar.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX
#include <time.h>    // NOLINT(modernize-deprecated-headers): strftime_l is POSIX

#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Platform/Posix/Formatted.h"

namespace platform {
namespace {

using std::chrono::year_month_day;

using MonthNames = std::array<std::string, 12>;

/// In the locale that the environment names.
MonthNames abbreviatedMonths() {
  MonthNames names{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> locale(
      newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "", nullptr), freelocale);
  if (!locale || nl_langinfo_l(CODESET, locale.get()) != std::string_view("UTF-8")) {
    return names;  // not installed or not UTF-8
  }
  std::tm parts{};
  for (std::string& name : names) {
    std::array<char, 64> buffer{};
    if (strftime_l(buffer.data(), buffer.size(), "%b", &parts, locale.get()) != 0) {
      name = buffer.data();
    }
    ++parts.tm_mon;
  }
  return names;
}

/// What the choice of a locale depends on.
std::string localeVariables() {
  std::string values;
  for (const char* variable : {"LC_ALL", "LC_TIME", "LC_CTYPE", "LANG", "LOCPATH"}) {
    const char* const value = std::getenv(variable);
    (values += value != nullptr ? value : "") += '\n';
  }
  return values;
}

std::string abbreviatedMonth(std::chrono::month month) {
  // Opening a locale takes a hundred times as long as all else in a date.
  static std::mutex mutex;
  static std::string variables;
  static MonthNames names;
  const std::scoped_lock lock(mutex);
  if (std::string now = localeVariables(); now != variables) {
    names = abbreviatedMonths();
    variables = std::move(now);
  }
  return names.at(static_cast<unsigned>(month) - 1);
}

}  // namespace

std::string yearMonthNameDay(year_month_day day) {
  return formatted("%04d-", static_cast<int>(day.year())) + abbreviatedMonth(day.month()) +
         formatted("-%02u", static_cast<unsigned>(day.day()));
}

std::string dayMonthYear(year_month_day day) {
  return formatted("%02u-%02u-%04d", static_cast<unsigned>(day.day()),
                   static_cast<unsigned>(day.month()), static_cast<int>(day.year()));
}

}  // namespace platform
