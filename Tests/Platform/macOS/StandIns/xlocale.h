// macOS's locale-aware conversions, for the C locale.
#pragma once
#include <stdio.h>
#include <stdlib.h>

inline double strtod_l(const char* text, char** end, decltype(nullptr)) {
  return strtod(text, end);
}
#define snprintf_l(buffer, size, locale, ...) snprintf(buffer, size, __VA_ARGS__)
