// One running application.
#pragma once
#include "Platform/RunningApplications.h"

namespace vexlo {

/// A record of the platform, which tests and recorded facts fill in themselves.
using RunningApplication = platform::ApplicationProcess;

}  // namespace vexlo
