#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

#include <algorithm>
#include <optional>
#include <ranges>
#include <string_view>
#include <tuple>

#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kPatchActionProviderTag{"actionDetails()"};

void append(std::vector<ActionDetail>& details, const std::optional<ActionMap>& actions,
            ActionOrigin origin) {
  if (actions) {
    for (const ActionEntry& action : *actions) {
      details.push_back({ActionID(action.code), action.arguments, origin});
    }
  }
}

/// Sorts the actions; if one occurs twice, the patch's own, which comes later, replaces the
/// product's.
void orderAndMerge(std::vector<ActionDetail>& details) {
  const auto key = [](const ActionDetail& detail) {
    return std::tuple(detail.actionID.sortOrder(), detail.actionID.code(), detail.origin);
  };
  std::ranges::sort(details, {}, key);
  const auto sameAction = [](const ActionDetail& a, const ActionDetail& b) {
    return a.actionID == b.actionID;
  };
  // unique() keeps the first of equal elements, which in reverse order is the last.
  const auto replaced = std::ranges::unique(std::views::reverse(details), sameAction);
  details.erase(details.begin(), replaced.begin().base());
}

/// `[minimumDiskSpaceCheck: ["20"], undefined("3001"): []]`; `[:]` when there are none.
std::string mapText(const std::vector<ActionDetail>& details) {
  const auto shown = [](const ActionDetail& detail) {
    return text(describe(detail.actionID), ": ", escapedListText(detail.arguments));
  };
  return details.empty() ? "[:]" : '[' + platform::joined(details, ", ", shown) + ']';
}

}  // namespace

bool PatchActionProvider::isExempt() const {
  const auto productActions = patchActionGroup_->productServicePackActions();
  return productActions && productActions->isExempt(patchIdentifier_.patchID());
}

std::vector<ActionDetail> PatchActionProvider::actionDetails() const {
  std::vector<ActionDetail> details;
  const bool exempt = isExempt();
  const auto productActions = patchActionGroup_->productServicePackActions();
  if (productActions && !exempt) {
    append(details,
           productActions->actions(patchIdentifier_.productID(), patchIdentifier_.servicePackID()),
           ActionOrigin::product);
  }
  if (const auto patchActions = patchActionGroup_->patchActions()) {
    append(details, patchActions->actions(patchIdentifier_.patchID()), ActionOrigin::patch);
  }
  orderAndMerge(details);

  logInfo(kPatchActionProviderTag, [&] {
    return exempt ? text(
                        "Patch is defined in exclusionPatchIDs. Using only PatchActions define for "
                        "patchID: ",
                        mapText(details), ".")
                  : text("Applicable actions for patchID: ", patchIdentifier_.patchID(), ": ",
                         mapText(details), ".");
  });
  return details;
}

}  // namespace vexlo
