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
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

namespace agent_tool {
namespace {

using FileCodec::jsonArray;
using FileCodec::jsonList;
using FileCodec::JSONObject;
using LogCore::text;
using vexlo::ActionDetail;

/// The actions that apply to a patch.
struct Plan {
  const vexlo::PatchIdentifier& patch;
  const std::vector<NameNotInFile>& notInFile;
  bool exempt = false;
  bool productIsKnown = false;  ///< The file has actions for the product and service pack.
  std::vector<ActionDetail> actions;
};

std::string_view nameOf(vexlo::ActionOrigin origin) {
  return origin == vexlo::ActionOrigin::product ? "product" : "patch";
}

std::string planJSON(const Plan& plan) {
  std::vector<std::string> actions;
  actions.reserve(plan.actions.size());
  for (const auto& [actionID, arguments, origin] : plan.actions) {
    actions.push_back(JSONObject()
                          .addJSON("actionID", actionID.encode())
                          .addString("name", describe(actionID))
                          .addString("code", actionID.code())
                          .addJSON("sortOrder", std::to_string(actionID.sortOrder()))
                          .addJSON("arguments", jsonList(arguments))
                          .addString("origin", nameOf(origin))
                          .done());
  }
  return patchAsJSON(plan.patch, plan.notInFile, plan.exempt)
             .addJSON("actions", jsonArray(actions))
             .done() +
         '\n';
}

/// Explains what may be surprising in the table.
std::string remark(const Plan& plan) {
  if (plan.exempt) {
    return "The patch is exempt from the actions of its product; only its own apply.\n";
  }
  if (!plan.productIsKnown) {
    return "The file has no actions for this product and service pack; only the patch's own "
           "apply.\n";
  }
  return {};
}

std::string asTable(const Plan& plan, const Console& console) {
  std::string out = text("Patch ", printable(plan.patch.patchID()), " of product ",
                         printable(plan.patch.productID()), ", service pack ",
                         printable(plan.patch.servicePackID()), '\n', remark(plan));
  if (plan.actions.empty()) {
    return out + "No action applies.\n";
  }
  std::vector<std::vector<Cell>> rows;
  for (const ActionDetail& action : plan.actions) {
    const bool hasArguments = !action.arguments.empty();
    std::vector<Cell>& row = rows.emplace_back();
    row = {{std::to_string(rows.size())},
           {printable(action.actionID.code())},
           {printable(describe(action.actionID))},
           {std::string(nameOf(action.origin))},
           {hasArguments ? joinedReadably(action.arguments) : "-",
            hasArguments ? Style::plain : Style::faint}};
  }
  return out + '\n' + tableText(console, {"#", "CODE", "ACTION", "FROM", "ARGUMENTS"}, rows);
}

}  // namespace

ExitStatus plan(const PlanRequest& request, Console& console) {
  const AgentSession session(request.agent, console);
  const auto file = actionFile(request, session, console);
  if (!file) {
    return file.error();
  }
  const vexlo::PatchActionProvider provider(request.patch(), file->group);
  const auto productActions = file->group->productServicePackActions();
  const Plan plan{.patch = request.patch(),
                  .notInFile = file->namesNotInFile,
                  .exempt = provider.isExempt(),
                  .productIsKnown = productActions && productActions->actions(
                                                          request.productID, request.servicePackID),
                  .actions = provider.actionDetails()};
  console.write(request.json ? planJSON(plan) : asTable(plan, console));
  return ExitStatus::success;
}

}  // namespace agent_tool
