// The library's version constants, readable by tools from the symbol table.
#pragma once
#include "Platform/Export.h"

extern "C" {

/// Major and minor version: 1.0
VEXLO_EXPORT extern const double VexloPatchDeploymentVersionNumber;
/// Ends with a line feed and a NUL.
VEXLO_EXPORT extern const unsigned char VexloPatchDeploymentVersionString[];

}  // extern "C"
