// What the stand-ins do as processes: print, wait, change the user, execute, end.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

/// Waits until the process is killed.
[[noreturn]] void waitForever();
void waitMilliseconds(int duration);

/// Writes the whole text; ends the process when nobody reads it any more.
void print(int descriptor, std::string_view text);
/// The same, with a line feed unless the text ends with one.
void printLine(int descriptor, const std::string& text);

/// Changes to the user where the account exists and the process may, and tells the children by an
/// environment variable.
void becomeUser(const std::string& user);
/// Replaces the process; a program that can't be executed ends it with 126 or 127.
[[noreturn]] void execute(std::vector<std::string> command);
/// Ends the process as `exits` says: a status, "signal 9" or "never".
[[noreturn]] void endAs(std::string_view exits);

}  // namespace simulated_mac
