// Injects faults into this program by defining C library functions and `operator new`.
#pragma once
#include <string>

/// The error of a read or write that moves only one byte.
constexpr int kMovesOneByte = -1;

/// Which call fails, and how.
struct Fault {
  const char* call = "";       ///< The function's name; "*" for all but `new`.
  int error = 0;               ///< `operator new` throws instead.
  void (*before)() = nullptr;  ///< If present, called before the call, which then succeeds.
};

/// Makes the `number`-th such call, counting from 1, fail, or all from then on (`forGood`). While
/// armed, pauses return immediately.
void armFault(const Fault& fault, long number, bool forGood);
[[nodiscard]] const Fault& armedFault();
/// The names of the calls since "*" was armed, each followed by a blank; at most 100. For one
/// thread.
[[nodiscard]] std::string callsMade();
/// The longest wait that `poll` was asked for, in milliseconds.
[[nodiscard]] int longestPoll();
/// Stops injecting. Returns whether the call was reached.
bool disarmFault();
