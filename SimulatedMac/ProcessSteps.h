// Operations of a process: print, wait, change the user, execute, exit.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

/// Waits until the process is killed.
[[noreturn]] void waitForever();
void waitMilliseconds(int duration);

/// Writes the whole text; exits when the reader has closed the pipe.
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

}  // namespace simulated_mac
