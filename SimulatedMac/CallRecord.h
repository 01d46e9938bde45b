// Records how a stand-in was called, as one line of JSON.
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

/// A descriptor that was open when the program started.
struct OpenDescriptor {
  int number = 0;
  std::string target;  ///< As /proc shows it: a path, "pipe:[1234]", "/dev/null".
};

/// One call of a stand-in.
struct CallRecord {
  std::string tool;
  std::vector<std::string> arguments;  ///< Without the program's name.
  std::optional<std::string> input;    ///< All of standard input; absent when not read.
  std::vector<OpenDescriptor> descriptors;
};

/// The descriptors that are open now, without the one that reads the list.
[[nodiscard]] std::vector<OpenDescriptor> openDescriptors();

/// Appends the call to the record file, with the process's user, session, directory and
/// environment:
/// {"tool":…,"arguments":[…],"input":…,"user":…,"uid":…,"session":…,"directory":…,
/// "environment":[…],"descriptors":[{"number":0,"target":…}]}. One write, so concurrent calls
/// don't mix. Returns false when it fails.
[[nodiscard]] bool appendToRecord(const CallRecord& call);

}  // namespace simulated_mac
