#include "AgentTool/NamesNotInFile.h"

#include <algorithm>

#include "AgentTool/PrintableText.h"

namespace agent_tool {

std::vector<std::string> namesNotInFile(const vexlo::PatchIdentifier& patch,
                                        const vexlo::PatchActionGroup& file) {
  std::vector<std::string> names;
  const auto byProduct = file.productServicePackActions();
  const auto byPatch = file.patchActions();
  if (!(byPatch && byPatch->actions(patch.patchID())) &&
      !(byProduct && byProduct->isExempt(patch.patchID()))) {
    names.push_back("patch " + patch.patchID());
  }
  if (!byProduct) {
    return names;
  }
  const auto products = byProduct->products();
  if (products.empty() || byProduct->actions(patch.productID(), patch.servicePackID())) {
    return names;
  }
  const bool hasProduct =
      std::ranges::find(products, patch.productID(), &vexlo::NamedProduct::name) != products.end();
  names.push_back(
      (hasProduct ? "service pack " + patch.servicePackID() + " of product " : "product ") +
      patch.productID());
  return names;
}

void complainOf(const std::vector<std::string>& namesNotInFile, Console& console) {
  for (const std::string& name : namesNotInFile) {
    console.complain("the action file doesn't hold " + printable(name));
  }
}

}  // namespace agent_tool
