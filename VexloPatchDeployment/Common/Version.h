// Version constants of the library, readable by tools from its symbol table.
#pragma once
#include "VexloPatchDeployment/Common/Export.h"

extern "C" {

/// 1.0
VEXLO_EXPORT extern const double VexloPatchDeploymentVersionNumber;
/// Zero-terminated, with a line feed before the terminating zero.
VEXLO_EXPORT extern const unsigned char VexloPatchDeploymentVersionString[];

}  // extern "C"
