// Property-list values in JSON.
#pragma once
#include <string>

#include "Platform/PropertyList.h"

namespace agent_tool {

/// The value with its type: docs/FACTS.md says how. `JSONValue::propertyList` reads it.
[[nodiscard]] std::string asJSON(const platform::PropertyList& value);
[[nodiscard]] std::string asJSON(const platform::PropertyList::Dictionary& dictionary);

}  // namespace agent_tool
