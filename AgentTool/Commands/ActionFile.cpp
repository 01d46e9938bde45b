#include "AgentTool/Commands/ActionFile.h"

#include <algorithm>
#include <string>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/PrintableText.h"

namespace agent_tool {

ActionFile decoded(vexlo::PatchActionJSONParser& parser) {
  const vexlo::PatchActionJSONParser::Outcome& outcome = parser.cachedPatchActionGroup();
  if (!outcome) {
    throw outcome.error();
  }
  return *outcome;
}

std::vector<std::string_view> namesNotInFile(const PatchRequest& request,
                                             const vexlo::PatchActionGroup& file, Console& console,
                                             std::string_view fileName) {
  std::vector<std::string_view> names;
  const auto add = [&](std::string_view name, const std::string& text) {
    names.push_back(name);
    console.reportError(LogCore::text(fileName, " has no ", printable(text)));
  };
  const auto byProduct = file.productServicePackActions();
  const auto byPatch = file.patchActions();
  if (!(byPatch && byPatch->actions(request.patchID)) &&
      !(byProduct && byProduct->isExempt(request.patchID))) {
    add("patchID", "patch " + request.patchID);
  }
  if (byProduct && !byProduct->actions(request.productID, request.servicePackID)) {
    const auto products = byProduct->products();
    if (std::ranges::find(products, request.productID, &vexlo::NamedProduct::name) !=
        products.end()) {
      add("servicePackID",
          "service pack " + request.servicePackID + " of product " + request.productID);
    } else if (!products.empty()) {
      add("productID", "product " + request.productID);
    }
  }
  if (request.strict && !names.empty()) {
    throw UsageError("");
  }
  return names;
}

CheckedActionFile checkedActionFile(const PatchRequest& request, const AgentSession& session,
                                    Console& console) {
  const ActionFile file = [&] {
    const auto quiet = session.withoutLinesOnConsole();
    return decoded(vexlo::PatchActionJSONParser::shared());
  }();
  return {.file = file, .namesNotInFile = namesNotInFile(request, *file, console)};
}

FileCodec::JSONObject patchAsJSON(const PatchRequest& request,
                                  const std::vector<std::string_view>& notInFile, bool exempt) {
  const std::string names = FileCodec::JSONObject()
                                .addString("patchID", request.patchID)
                                .addString("productID", request.productID)
                                .addString("servicePackID", request.servicePackID)
                                .done();
  return FileCodec::JSONObject()
      .addJSON("patch", names)
      .addJSON("notInFile", FileCodec::jsonList(notInFile))
      .addBoolean("exempt", exempt);
}

}  // namespace agent_tool
