// Operations of a process: print, wait, change the user, execute, exit, wait for a child.
#pragma once
#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

/// Throws `std::system_error` with errno and `what` if `failed`.
void failIf(bool failed, const std::string& what);

/// Waits until the process is killed.
[[noreturn]] void waitForever();
void waitMilliseconds(int duration);

/// Writes the whole text; exits with 141 when the reader has closed the pipe.
void print(int descriptor, std::string_view text);
/// The same, with a line feed unless the text ends with one.
void printLine(int descriptor, const std::string& text);

/// Changes to the user if the account exists and the process may, and sets an environment variable
/// for its children.
void becomeUser(const std::string& user);
/// The arguments for exec(), which refer to `command`.
[[nodiscard]] std::vector<char*> argumentPointers(std::vector<std::string>& command);
/// Replaces the process; exits with 126 or 127 if the program can't be executed.
[[noreturn]] void execute(std::vector<std::string> command);
/// Ends the process as `exits` says: a status, "signal 9" or "never".
[[noreturn]] void exitAs(std::string_view exits);
/// Prints the message to standard error and exits.
[[noreturn]] void exitWith(int status, const std::string& message);

/// From now on passes termination signals on to the child, except for those from the terminal,
/// which have already reached it. Kills it five seconds after the first one, or at a second one.
void passOnSignals(pid_t child);
/// Waits for the child and returns its exit status, or 128 + n if killed by signal n. Reaps orphans
/// meanwhile, as process 1 must.
[[nodiscard]] int waitFor(pid_t child);

}  // namespace simulated_mac
