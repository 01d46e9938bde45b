// Ends a fuzzer whose input shows a fault.
#pragma once
#include <cstdlib>
#include <iostream>
#include <string_view>

inline void require(bool condition, std::string_view what) {
  if (!condition) {
    std::cerr << what << '\n';
    std::abort();
  }
}
