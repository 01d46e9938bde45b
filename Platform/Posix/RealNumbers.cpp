#include "Platform/RealNumbers.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): locale_t is the system's

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#if __has_include(<xlocale.h>)
#include <xlocale.h>  // macOS declares locale_t here
#endif

#include "Platform/Posix/Formatted.h"

// The standard library's to_chars needs macOS 13.3, its from_chars a later one.
namespace platform {
namespace {

constexpr std::string_view kDigits = "0123456789";

/// The calling thread uses the C locale as long as this exists.
class InCLocale {
 public:
  InCLocale() : former_(::uselocale(cLocale())) {}
  InCLocale(const InCLocale&) = delete;
  InCLocale& operator=(const InCLocale&) = delete;
  ~InCLocale() { ::uselocale(former_); }

 private:
  static locale_t cLocale() {
    static const locale_t made = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return made;
  }
  locale_t former_;
};

/// strtod also accepts leading white space, a plus sign and hexadecimal.
bool mayBeReal(std::string_view text) {
  text.remove_prefix(text.starts_with('-') ? 1 : 0);
  return !text.empty() && !text.starts_with('+') && !text.starts_with('-') &&
         text.find_first_of(" \t\n\v\f\rxX") == std::string_view::npos;
}

}  // namespace

std::optional<double> parseReal(std::string_view text) {
  if (!mayBeReal(text)) {
    return std::nullopt;
  }
  const InCLocale scope;
  const std::string whole(text);
  char* end = nullptr;
  const double number = std::strtod(whole.c_str(), &end);
  if (end != whole.c_str() + whole.size()) {
    return std::nullopt;
  }
  const std::string_view mantissa = text.substr(0, text.find_first_of("eE"));
  const bool hasDigits = text.find_first_of(kDigits) != std::string_view::npos;
  const bool isTooLarge = std::isinf(number) && hasDigits;
  const bool isTooSmall =
      number == 0 && mantissa.find_first_of(kDigits.substr(1)) != std::string_view::npos;
  return isTooLarge || isTooSmall ? std::nullopt : std::optional(number);
}

std::string shortestText(double number) {
  constexpr int kAlwaysEnough = 17;
  const InCLocale scope;
  if (!std::isfinite(number)) {
    return formatted("%.*f", 0, number);
  }
  int digits = 1;
  std::string scientific = formatted("%.*e", 0, number);
  while (digits < kAlwaysEnough && std::strtod(scientific.c_str(), nullptr) != number) {
    scientific = formatted("%.*e", digits++, number);
  }
  const int exponent = std::atoi(scientific.c_str() + scientific.find('e') + 1);
  std::string decimal = formatted("%.*f", std::max(digits - 1 - exponent, 0), number);
  return decimal.size() <= scientific.size() ? decimal : scientific;
}

std::string decimalText(double number, int places) {
  const InCLocale scope;
  return formatted("%.*f", places, number);
}

}  // namespace platform
