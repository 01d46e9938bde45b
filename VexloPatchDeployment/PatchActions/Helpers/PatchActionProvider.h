// Determines which actions apply to a patch, and in which order.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {

/// The origin of an applicable action.
enum class ActionOrigin : std::uint8_t {
  product,  ///< the patch's product and service pack
  patch,    ///< the patch itself
};

/// One applicable action. Its arguments are views into the decoded file.
struct ActionDetail {
  ActionID actionID;
  StringList arguments;
  ActionOrigin origin;
};

/// Merges the actions of the patch's product and service pack with the patch's own, whose arguments
/// win, and applies the file's exemptions. Whatever is missing from the file counts as empty.
/// Immutable.
class PatchActionProvider {
 public:
  /// `patchActionGroup` must not be null.
  PatchActionProvider(PatchIdentifier patchIdentifier,
                      std::shared_ptr<const PatchActionGroup> patchActionGroup)
      : patchIdentifier_(std::move(patchIdentifier)),
        patchActionGroup_(std::move(patchActionGroup)) {}

  /// The applicable actions, without duplicates, by ascending `sortOrder` and then by code. They
  /// are valid as long as the group. Logs which case applied.
  [[nodiscard]] std::vector<ActionDetail> actionDetails() const;

  /// Whether the file exempts the patch from the actions of its product.
  [[nodiscard]] bool isExempt() const;

 private:
  PatchIdentifier patchIdentifier_;
  std::shared_ptr<const PatchActionGroup> patchActionGroup_;
};

}  // namespace vexlo
