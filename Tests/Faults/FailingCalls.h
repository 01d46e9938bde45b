// Makes calls of this program fail: it defines the C library's functions and `operator new` itself.
#pragma once
#include <string>

/// Which call fails, and how.
struct Fault {
  enum class Kind { fails, isShort, kills };  // a short read or write moves one byte
  const char* call = "";                      ///< Its name; "*" for all of them.
  int error = 0;                              ///< For `fails`; `operator new` throws instead.
  Kind kind = Kind::fails;
};

/// From the `number`-th such call on, counted from 1, that one or all (`forGood`) go wrong. Pauses
/// take no time meanwhile.
void armFault(const Fault& fault, long number, bool forGood);
[[nodiscard]] const Fault& armedFault();
/// Ends it. Whether the call was reached.
bool disarmFault();
