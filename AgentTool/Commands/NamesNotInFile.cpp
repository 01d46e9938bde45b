#include "AgentTool/Commands/NamesNotInFile.h"

#include <algorithm>

#include "AgentTool/Console/PrintableText.h"

namespace agent_tool {
namespace {

std::vector<NameNotInFile> namesNotInFile(const vexlo::PatchIdentifier& patch,
                                          const vexlo::PatchActionGroup& file) {
  std::vector<NameNotInFile> names;
  const auto byProduct = file.productServicePackActions();
  const auto byPatch = file.patchActions();
  if (!(byPatch && byPatch->actions(patch.patchID())) &&
      !(byProduct && byProduct->isExempt(patch.patchID()))) {
    names.push_back({"patchID", "patch " + patch.patchID()});
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
  names.push_back(hasProduct
                      ? NameNotInFile{"servicePackID", "service pack " + patch.servicePackID() +
                                                           " of product " + patch.productID()}
                      : NameNotInFile{"productID", "product " + patch.productID()});
  return names;
}

}  // namespace

std::expected<std::vector<NameNotInFile>, ExitStatus> checkNames(
    const vexlo::PatchIdentifier& patch, const vexlo::PatchActionGroup& file, bool strict,
    Console& console) {
  std::vector<NameNotInFile> names = namesNotInFile(patch, file);
  for (const NameNotInFile& name : names) {
    console.reportError("the action file has no " + printable(name.text));
  }
  if (strict && !names.empty()) {
    return std::unexpected(ExitStatus::badUsage);
  }
  return names;
}

std::string asJSON(const std::vector<NameNotInFile>& names) {
  std::vector<std::string_view> members(names.size());
  std::ranges::transform(names, members.begin(), &NameNotInFile::member);
  return FileCodec::jsonList(members);
}

FileCodec::JSONObject patchAsJSON(const vexlo::PatchIdentifier& patch,
                                  const std::vector<NameNotInFile>& notInFile, bool exempt) {
  const std::string names = FileCodec::JSONObject()
                                .addString("patchID", patch.patchID())
                                .addString("productID", patch.productID())
                                .addString("servicePackID", patch.servicePackID())
                                .done();
  return FileCodec::JSONObject()
      .addJSON("patch", names)
      .addJSON("notInFile", asJSON(notInFile))
      .addBoolean("exempt", exempt);
}

}  // namespace agent_tool
