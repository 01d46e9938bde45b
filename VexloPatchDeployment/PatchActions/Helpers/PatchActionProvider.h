// Decides which actions apply to one patch, and in which order.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {

/// Where an applicable action comes from.
enum class ActionOrigin : std::uint8_t {
  product,  ///< the patch's product and service pack
  patch,    ///< the patch itself
};

/// One applicable action. Its arguments are views into the decoded file.
struct ActionDetail {
  ActionID actionID;
  TextList arguments;
  ActionOrigin origin;
};

/// Joins the actions of the patch's product and service pack with the patch's own, whose
/// arguments win, and honours the file's exemptions. Everything that is missing from the file
/// counts as an empty map. Immutable.
class PatchActionProvider {
 public:
  /// `patchActionGroup` is shared with the caller and never null.
  PatchActionProvider(PatchIdentifier patchIdentifier,
                      std::shared_ptr<const PatchActionGroup> patchActionGroup);

  /// The applicable actions by ascending `sortOrder` (equal ones by code), each at most once. The
  /// details live as long as the group. Logs the path taken.
  [[nodiscard]] std::vector<ActionDetail> actionDetails() const;

  /// Whether the file exempts the patch from the actions of its product.
  [[nodiscard]] bool isExempt() const;

 private:
  PatchIdentifier patchIdentifier_;
  std::shared_ptr<const PatchActionGroup> patchActionGroup_;
};

}  // namespace vexlo
