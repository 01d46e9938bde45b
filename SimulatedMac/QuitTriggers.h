// Applications that quit as soon as the command prints a given text to standard error.
#pragma once
#include <sys/types.h>

#include <array>
#include <string>
#include <vector>

namespace simulated_mac {

/// An application that quits when the text has been printed.
struct Quitter {
  std::string text;
  pid_t process = 0;
};

/// Reads a command's standard error, forwards it and kills the applications at their trigger lines.
/// Without applications, leaves the command's standard error alone.
class QuitTriggers {
 public:
  /// Throws `std::system_error` when no pipe can be made.
  explicit QuitTriggers(std::vector<Quitter> quitters);

  /// For the command's process, before it executes the program.
  void redirectStandardError() const;

  /// Forwards the output until the command exits. Applications that quit at a line have exited
  /// before the next line is read.
  void forward(pid_t command);

 private:
  std::vector<Quitter> quitters_;
  std::array<int, 2> pipe_{};
};

}  // namespace simulated_mac
