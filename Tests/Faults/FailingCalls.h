// Injects faults into this program by defining C library functions and `operator new`.
#pragma once
/// The error of a read or write that moves only one byte.
constexpr int kMovesOneByte = -1;

/// Which call fails, and how.
struct Fault {
  const char* call = "";  ///< The function's name; "*" for all but `new`.
  int error = 0;          ///< `operator new` throws instead.
  /// If present, called with the name before the call, which then succeeds.
  void (*before)(const char* call) = nullptr;
};

/// Makes the `number`-th such call, counting from 1, fail, or all from then on (`forGood`). While
/// armed, pauses return immediately.
void armFault(const Fault& fault, long number, bool forGood);
[[nodiscard]] const Fault& armedFault();
/// The longest wait that `poll` was asked for, in milliseconds.
[[nodiscard]] int longestPoll();
/// Stops injecting. Returns whether the call was reached.
bool disarmFault();
