#include "VexloPatchDeployment/Common/Version.h"

const double VexloPatchDeploymentVersionNumber = 1.0;
const unsigned char VexloPatchDeploymentVersionString[] =
    "@(#)PROGRAM:VexloPatchDeployment  PROJECT:VexloPatchDeployment-1\n";
