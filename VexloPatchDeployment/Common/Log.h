// Brings the logging library's names into the module's namespace.
#pragma once
#include "AgentLibraries/LogCore/LogTag.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"

namespace vexlo {

using LogCore::logDebug;
using LogCore::logError;
using LogCore::logInfo;
using LogCore::LogTag;
using LogCore::text;

}  // namespace vexlo
