// The library's public interface in one header.
#pragma once
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionNames.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionFileError.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/Common/Version.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchActionProcessing.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"
