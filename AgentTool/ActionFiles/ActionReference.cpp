#include "AgentTool/ActionFiles/ActionReference.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFiles/ArgumentKinds.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/JSON/JSONDocument.h"
#include "Platform/Text.h"

namespace agent_tool {
namespace {

using FileCodec::jsonList;
using FileCodec::JSONObject;
using FileCodec::jsonString;
using LogCore::text;
using platform::joined;
using vexlo::ActionArgument;
using vexlo::KnownActionRow;

constexpr std::size_t kHelpWidth = 80;

/// Wraps the text at the help's width, indented by `indentation` spaces.
std::string paragraph(std::string_view words, std::size_t indentation) {
  std::string out;
  for (const std::string& line : wrapped(words, kHelpWidth - indentation)) {
    out.append(indentation, ' ') += line + '\n';
  }
  return out;
}

/// Such as `["14.5", "macOS Sonoma 14.5-23F79"]`.
std::string exampleArguments(const KnownActionRow& action) {
  const auto example = [](const ActionArgument& argument) { return jsonString(argument.example); };
  return '[' + joined(action.arguments, ", ", example) + ']';
}

/// «none», «minimum free space», «bundle identifier, …»; optional ones in brackets
std::string argumentNames(const KnownActionRow& action) {
  const std::string names = joined(action.arguments, ", ", [](const ActionArgument& argument) {
    return argument.isOptional ? text('[', argument.name, ']') : std::string(argument.name);
  });
  return names.empty() ? "none" : names + (action.lastRepeats ? ", …" : "");
}

/// What the argument means, and whether it may be left out or repeated.
std::string meaningOf(const KnownActionRow& action, const ActionArgument& argument) {
  return text(argument.meaning, argument.isOptional ? "; optional" : "",
              action.lastRepeats ? "; may be followed by more" : "");
}

std::string asMarkdown(const KnownActionRow& action) {
  std::string out =
      text("### ", action.code, " `", action.name, "`\n\n", action.summary, "\n\n```json\n",
           jsonString(action.code), ": ", exampleArguments(action), "\n```\n\n");
  if (!action.arguments.empty()) {
    out += "| argument | meaning |\n| --- | --- |\n";
    for (const ActionArgument& argument : action.arguments) {
      out += text("| ", argument.name, " | ", meaningOf(action, argument), " |\n");
    }
    out += '\n';
  }
  out += "| result | when |\n| --- | --- |\n";
  for (const vexlo::DocumentedResult& each : action.results) {
    out += text("| `", each.result, "` | ", each.when, " |\n");
  }
  return out;
}

std::string schemaOfArgument(const ActionArgument& argument) {
  return JSONObject()
      .addString("title", argument.name)
      .addString("description", argument.meaning)
      .addString("type", "string")
      .addString("pattern", patternOf(argument))
      .addJSON("examples", jsonList(std::vector{argument.example}))
      .done();
}

std::string schemaOfAction(const KnownActionRow& action) {
  std::string description(action.summary);
  for (const ActionArgument& argument : action.arguments) {
    description += text("\n• ", argument.name, ": ", meaningOf(action, argument));
  }
  JSONObject schema;
  schema.addString("title", text(action.code, ' ', action.name))
      .addString("description", description)
      .addJSON("examples", '[' + exampleArguments(action) + ']');
  if (action.doesNothing) {
    schema.addJSON("deprecated", "true");
  }
  schema.addString("type", "array");
  if (action.arguments.empty()) {
    return schema.addJSON("maxItems", "0").done();
  }
  std::vector<std::string> items;
  std::ranges::transform(action.arguments, std::back_inserter(items), schemaOfArgument);
  if (action.lastRepeats) {
    schema.addJSON("items", items.back()).addJSON("uniqueItems", "true");
    items.pop_back();
  }
  if (!items.empty()) {
    schema.addJSON("prefixItems", FileCodec::jsonArray(items));
  }
  schema.addJSON("minItems", std::to_string(action.requiredArguments()));
  if (!action.lastRepeats) {
    schema.addJSON("maxItems", std::to_string(action.arguments.size()));
  }
  return schema.done();
}

// The JSON Schema of the action file, around what the table of actions adds.

constexpr std::string_view kSchemaUpToActions = R"({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "title": "Patch action file",
  "description": "The actions that the agent runs for each patch (mac-patch-actions.json).",
  "type": "object",
  "properties": {
    "ProductServicePackActions": {
      "title": "Actions of products",
      "description": "Product IDs, each with service pack IDs, each with the actions that apply to all its patches.",
      "type": ["object", "null"],
      "properties": {
        "ExclusionPatchIDs": {
          "title": "Exempt patches",
          "description": "IDs of the patches to which only their own actions apply.",
          "type": "array",
          "items": {"type": "string"},
          "uniqueItems": true
        }
      },
      "additionalProperties": {
        "title": "Product",
        "description": "Service pack IDs with their actions.",
        "type": "object",
        "additionalProperties": {"$ref": "#/$defs/actions"}
      }
    },
    "PatchActions": {
      "title": "Actions of patches",
      "description": "Patch IDs, each with its own actions. They are added to the actions of the patch's product and service pack; for an action in both, the arguments given here apply.",
      "type": ["object", "null"],
      "additionalProperties": {"$ref": "#/$defs/actions"}
    }
  },
  "$defs": {
    "actions": {
      "title": "Actions",
      "description": "Action codes with their arguments. Actions run in the order of their codes; an unknown code is skipped and counts as passed. Names can't be used in the place of codes.",
      "type": "object",
      "properties": )";
constexpr std::string_view kSchemaUpToNames = R"(,
      "propertyNames": {"not": {"enum": )";
constexpr std::string_view kSchemaAfterNames = R"(}},
      "additionalProperties": {"type": "array", "items": {"type": "string"}}
    }
  }
})";

}  // namespace

std::string listOfActions() {
  std::string out = "The actions of action files, in running order:\n";
  for (const KnownActionRow& action : vexlo::knownActions()) {
    out += text("\n  ", action.code, "  ", action.name, '\n') + paragraph(action.summary, 8);
    if (!action.arguments.empty()) {
      out += paragraph("Arguments: " + argumentNames(action), 8);
    }
  }
  return out + "\nTry 'vexlo-patch help actions CODE' (or NAME) for details.\n";
}

std::string explanationOf(const KnownActionRow& action) {
  std::string out = text(action.code, ' ', action.name, "\n\n") + paragraph(action.summary, 0);
  if (!action.arguments.empty()) {
    out += action.requiredArguments() == action.arguments.size() ? "\nArguments, all required:\n"
                                                                 : "\nArguments:\n";
    for (const ActionArgument& argument : action.arguments) {
      out += paragraph(text(argument.name, ": ", meaningOf(action, argument)), 2);
    }
  }
  out += text("\nIn an action file:\n  ", jsonString(action.code), ": ", exampleArguments(action),
              "\n\nResults:\n");
  for (const vexlo::DocumentedResult& each : action.results) {
    out += text("  ", each.result, '\n') + paragraph(each.when, 6);
  }
  return out;
}

std::string actionsAsMarkdown() {
  std::string out = "| code | action | arguments |\n| --- | --- | --- |\n";
  for (const KnownActionRow& action : vexlo::knownActions()) {
    out += text("| ", action.code, " | `", action.name, "` | ", argumentNames(action), " |\n");
  }
  for (const KnownActionRow& action : vexlo::knownActions()) {
    out += '\n' + asMarkdown(action);
  }
  return out;
}

std::string measurementsAsMarkdown() {
  std::string out = "| `kind` | members |\n| --- | --- |\n";
  for (const auto& [kind, members] : vexlo::knownMeasurements()) {
    out += text("| `", kind, "` | ", members, " |\n");
  }
  return out;
}

std::string actionFileSchema() {
  JSONObject known;
  std::vector<std::string_view> names;
  for (const KnownActionRow& action : vexlo::knownActions()) {
    known.addJSON(action.code, schemaOfAction(action));
    names.push_back(action.name);
  }
  return indented(
      text(kSchemaUpToActions, known.done(), kSchemaUpToNames, jsonList(names), kSchemaAfterNames));
}

}  // namespace agent_tool
