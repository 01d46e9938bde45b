#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Commands/ActionFile.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/PrintableText.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using LogCore::text;
using vexlo::ActionDetail;

std::string_view originOf(const ActionDetail& action) {
  return action.origin == vexlo::ActionOrigin::product ? "product" : "patch";
}

std::string actionAsJSON(const ActionDetail& action) {
  return JSONObject()
      .addJSON("actionID", action.actionID.encode())
      .addString("name", describe(action.actionID))
      .addString("code", action.actionID.code())
      .addNumber("sortOrder", action.actionID.sortOrder())
      .addJSON("arguments", FileCodec::jsonList(action.arguments))
      .addString("origin", originOf(action))
      .done();
}

/// Explains what may be surprising in the table.
std::string_view remark(const PatchRequest& request, const vexlo::PatchActionGroup& file,
                        bool isExempt) {
  if (isExempt) {
    return "The patch is exempt from the actions of its product; only its own apply.\n";
  }
  const auto byProduct = file.productServicePackActions();
  if (!byProduct || !byProduct->actions(request.productID, request.servicePackID)) {
    return "The file has no actions for this product and service pack; only the patch's own "
           "apply.\n";
  }
  return {};
}

std::string asTable(const std::vector<ActionDetail>& actions, const Console& console) {
  if (actions.empty()) {
    return "No action applies.\n";
  }
  std::vector<std::vector<Cell>> rows;
  for (const ActionDetail& action : actions) {
    const bool hasArguments = !action.arguments.empty();
    std::vector<Cell>& row = rows.emplace_back();
    row = {{std::to_string(rows.size())},
           {printable(action.actionID.code())},
           {printable(describe(action.actionID))},
           {std::string(originOf(action))},
           {hasArguments ? platform::joined(action.arguments, ", ", listed) : "-",
            hasArguments ? Style::plain : Style::faint}};
  }
  return '\n' + tableText(console, {"#", "CODE", "ACTION", "FROM", "ARGUMENTS"}, rows);
}

}  // namespace

ExitStatus plan(const PlanRequest& request, Console& console) {
  const AgentSession session(request.agent, console);
  const auto [file, notInFile] = checkedActionFile(request, session, console);
  const vexlo::PatchActionProvider provider(request.patch(), file);
  const std::vector<ActionDetail> actions = provider.actionDetails();
  console.write(request.json
                    ? patchAsJSON(request, notInFile, provider.isExempt())
                              .addJSON("actions", FileCodec::jsonArray(actions, actionAsJSON))
                              .done() +
                          '\n'
                    : text("Patch ", printable(request.patchID), " of product ",
                           printable(request.productID), ", service pack ",
                           printable(request.servicePackID), '\n',
                           remark(request, *file, provider.isExempt()), asTable(actions, console)));
  return ExitStatus::success;
}

}  // namespace agent_tool
