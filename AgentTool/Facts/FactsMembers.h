// The table of facts: how each one is named, written, parsed, read from the machine and shown.
#pragma once
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Facts/FactsRecord.h"
#include "AgentTool/Facts/JSONMembers.h"
#include "VexloPatchDeployment/Adapters/MachineFacts.h"

namespace agent_tool {

/// A member of a line of facts.
struct FactsMember {
  std::string_view name;
  /// The value in JSON; null for a member that `facts` doesn't write.
  std::string (*write)(const Facts& facts);
  /// Sets the fact; throws `FileCodec::DecodingError` if the value has the wrong type. Null for
  /// informative members, which are not read.
  void (*take)(const JSONValue& value, const JSONPlace& place, FactsRecord& record);
  bool isNeeded = false;  ///< A line without it is an error.
  /// Reads the fact from this machine and returns whether it is available. Null for facts that
  /// `Facts.cpp` reads.
  bool (*ask)(const vexlo::MachineFacts& machine, Facts& facts) = nullptr;
  /// The heading of the fact's row in the table, and its value. Empty and null for a fact that has
  /// no row, or several.
  std::string_view heading = {};
  std::optional<std::string> (*show)(const Facts& facts) = nullptr;
};

/// All members, in the order in which `facts` writes them.
[[nodiscard]] std::span<const FactsMember> factsMembers() noexcept;

}  // namespace agent_tool
