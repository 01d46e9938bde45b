#include "VexloPatchDeployment/Common/Version.h"

const double VexloPatchDeploymentVersionNumber = VEXLO_VERSION_NUMBER;
const unsigned char VexloPatchDeploymentVersionString[] =
    "@(#)PROGRAM:VexloPatchDeployment  PROJECT:VexloPatchDeployment-" VEXLO_VERSION_MAJOR "\n";
