// Records how a stand-in was called, as one line of JSON.
#pragma once
#include <vector>

#include "SimulatedMac/ToolCall.h"

namespace simulated_mac {

/// The descriptors that the program was started with. Those that it opened itself close on exec,
/// which an inherited one can't.
[[nodiscard]] std::vector<InheritedDescriptor> inheritedDescriptors();

/// Appends the call to the record file, with the process's user, session, directory and
/// environment:
/// {"tool":…,"arguments":[…],"input":…,"user":…,"uid":…,"session":…,"directory":…,
/// "environment":[…],"descriptors":[{"number":0,"target":…}]}. One write, so concurrent calls
/// don't mix. Returns false when it fails.
[[nodiscard]] bool appendToRecord(const ToolCall& call);

}  // namespace simulated_mac
