// Why the patch action file can't be used.
#pragma once
#include <stdexcept>

#include "VexloPatchDeployment/Common/Export.h"

namespace vexlo {

/// Thrown when a processor is made without a usable patch action file. `what()` is one line that
/// names the file, the place in it, and what was expected and found.
class VEXLO_EXPORT PatchActionFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace vexlo
