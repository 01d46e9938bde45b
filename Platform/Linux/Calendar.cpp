#include "Platform/Calendar.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX
#include <time.h>    // NOLINT(modernize-deprecated-headers): strftime_l is POSIX

#include <array>
#include <ctime>

#include "Platform/Posix/Formatted.h"

namespace platform {
namespace {

using std::chrono::year_month_day;

/// The locale that the environment names; null when it isn't installed.
class LocaleOfEnvironment {
 public:
  LocaleOfEnvironment() : locale_(newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "", nullptr)) {}
  LocaleOfEnvironment(const LocaleOfEnvironment&) = delete;
  LocaleOfEnvironment& operator=(const LocaleOfEnvironment&) = delete;
  ~LocaleOfEnvironment() {
    if (locale_ != nullptr) {
      freelocale(locale_);
    }
  }
  [[nodiscard]] locale_t get() const { return locale_; }

 private:
  locale_t locale_;
};

std::string abbreviatedMonth(std::chrono::month month) {
  constexpr std::array kEnglish{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const unsigned index = static_cast<unsigned>(month) - 1;
  const LocaleOfEnvironment locale;
  if (locale.get() != nullptr &&
      nl_langinfo_l(CODESET, locale.get()) == std::string_view("UTF-8")) {
    std::array<char, 64> name{};
    std::tm parts{};
    parts.tm_mon = static_cast<int>(index);
    if (strftime_l(name.data(), name.size(), "%b", &parts, locale.get()) != 0) {
      return name.data();
    }
  }
  return kEnglish.at(index);
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
