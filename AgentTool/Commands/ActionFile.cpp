#include "AgentTool/Commands/ActionFile.h"

#include <algorithm>
#include <utility>

#include "AgentTool/Console/PrintableText.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

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
    const PatchRequest& request, const vexlo::PatchActionGroup& file, Console& console) {
  std::vector<NameNotInFile> names = namesNotInFile(request.patch(), file);
  for (const NameNotInFile& name : names) {
    console.reportError("the action file has no " + printable(name.text));
  }
  if (request.strict && !names.empty()) {
    return std::unexpected(ExitStatus::badUsage);
  }
  return names;
}

std::expected<UsableActionFile, ExitStatus> actionFile(const PatchRequest& request,
                                                       const AgentSession& session,
                                                       Console& console) {
  const vexlo::PatchActionJSONParser::Outcome& file = [&]() -> const auto& {
    const auto quiet = session.withoutLinesOnConsole();
    return vexlo::PatchActionJSONParser::shared().cachedPatchActionGroup();
  }();
  if (!file) {
    console.reportError(printable(file.error().what()));
    return std::unexpected(ExitStatus::unusableFile);
  }
  auto names = checkNames(request, **file, console);
  if (!names) {
    return std::unexpected(names.error());
  }
  return UsableActionFile{.group = *file, .namesNotInFile = *std::move(names)};
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
