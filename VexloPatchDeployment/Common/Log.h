// Brings the logging library's names into the module's namespace.
#pragma once
#include <concepts>
#include <source_location>

#include "AgentLibraries/LogCore/LogTag.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"

namespace vexlo {

using LogCore::logDebug;
using LogCore::logError;
using LogCore::logInfo;
using LogCore::LogTag;
using LogCore::text;

/// A tag with the line that converts it, for log lines of code that several source files share.
struct LogPlace {
  constexpr LogPlace(const LogTag& itsTag,  // NOLINT: converts
                     std::source_location here = std::source_location::current())
      : tag(itsTag), where(here) {}
  LogTag tag;
  std::source_location where;
};

template <std::invocable Build>
void logInfo(const LogPlace& place, const Build& build) {
  logInfo(place.tag, build, place.where);
}
template <std::invocable Build>
void logError(const LogPlace& place, const Build& build) {
  logError(place.tag, build, place.where);
}

}  // namespace vexlo
