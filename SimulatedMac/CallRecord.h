// Records how a stand-in was called, as one line of JSON.
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

/// A descriptor that a program found open when it began.
struct OpenDescriptor {
  int number = 0;
  std::string target;  ///< As /proc shows it: a path, "pipe:[1234]", "/dev/null".
};

/// One call of a stand-in.
struct CallRecord {
  std::string tool;
  std::vector<std::string> arguments;  ///< Without the program's name.
  std::optional<std::string> input;    ///< Whole standard input; absent when not read.
  std::vector<OpenDescriptor> descriptors;
};

/// The descriptors that are open now, but for the one that looks.
[[nodiscard]] std::vector<OpenDescriptor> openDescriptors();

/// Appends the call to the Mac's record, with the process's user, session, directory and
/// environment: {"tool":…,"arguments":[…],"input":…,"user":…,"uid":…,"session":…,"directory":…,
/// "environment":[…],"descriptors":[{"number":0,"target":…}]}. One write: calls at the same time
/// don't mix. False when it can't be written.
[[nodiscard]] bool appendToRecord(const CallRecord& call);

}  // namespace simulated_mac
