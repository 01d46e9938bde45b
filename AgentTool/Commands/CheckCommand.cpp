#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONManager.h"
#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFiles/ActionFileCheck.h"
#include "AgentTool/ActionFiles/SourceExcerpt.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/LineReader.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/JSON/JSONDocument.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using FileCodec::jsonArray;
using FileCodec::JSONObject;
using LogCore::text;
using vexlo::PatchActionGroup;

/// The result of checking one file.
struct Checked {
  std::string name;  ///< Of the file, for people.
  std::string text;
  std::vector<Finding> findings;
  std::optional<std::string> error;  ///< Why the agent can't use the file, on one line.
  std::string contents;              ///< «2 products, 3 patches with actions, 1 exempt patch»

  [[nodiscard]] std::size_t errorCount() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(findings, [](const Finding& each) { return isError(each.kind); }));
  }
  [[nodiscard]] std::size_t warningCount() const { return findings.size() - errorCount(); }
};

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
  return text(count, ' ', count == 1 ? one : many);
}

std::string contentsOf(const PatchActionGroup& group) {
  const auto productActions = group.productServicePackActions();
  const auto patchActions = group.patchActions();
  const std::size_t products = productActions ? productActions->products().size() : 0;
  const std::size_t exempt = productActions ? productActions->exclusionPatchIDs().size() : 0;
  const std::size_t patches = patchActions ? patchActions->patches().size() : 0;
  return text(counted(products, "product", "products"), ", ", counted(patches, "patch", "patches"),
              " with actions, ", counted(exempt, "exempt patch", "exempt patches"));
}

Checked checkFile(const std::string& file) {
  const bool isInput = file == kStandardInputName;
  Checked checked;
  checked.name = isInput ? "<stdin>" : file;
  try {
    checked.text =
        isInput ? FileCodec::readText(STDIN_FILENO, checked.name) : FileCodec::readTextFile(file);
    checked.findings = checkActionFile(checked.text);
    // The agent's own reader decides.
    checked.contents = contentsOf(PatchActionGroup::decode(checked.text, checked.name));
  } catch (const DecodingError& error) {
    checked.error = error.what();
    if (checked.errorCount() == 0) {
      const bool wasRead = !error.expected().empty();
      checked.findings.push_back(
          {.kind = wasRead ? FindingKind::wrongType : FindingKind::unreadable,
           .text = error.found()});
    }
  }
  return checked;
}

std::string findingJSON(const Finding& finding) {
  const bool hasPlace = finding.kind != FindingKind::unreadable;
  return JSONObject()
      .addString("kind", name(finding.kind))
      .addNumber("line", hasPlace ? std::optional(finding.line) : std::nullopt)
      .addNumber("column", hasPlace ? std::optional(finding.column) : std::nullopt)
      .addString("pointer", finding.pointer)
      .addString("place", finding.place)
      .addString("text", finding.text)
      .done();
}

std::string checkedJSON(const std::string& file, const Checked& checked) {
  std::vector<std::string> errors;
  std::vector<std::string> warnings;
  for (const Finding& finding : checked.findings) {
    (isError(finding.kind) ? errors : warnings).push_back(findingJSON(finding));
  }
  return JSONObject()
             .addString("file", file)
             .addJSON("usable", checked.error ? "false" : "true")
             .addJSON("errors", jsonArray(errors))
             .addJSON("warnings", jsonArray(warnings))
             .done() +
         '\n';
}

/// One line per finding, «FILE:LINE:COLUMN: error: place: text», with the source on a terminal.
std::string asReport(const Checked& checked, const Console& console) {
  const std::string_view source = FileCodec::withoutByteOrderMark(checked.text);
  std::string out;
  for (const Finding& finding : checked.findings) {
    if (finding.kind == FindingKind::unreadable) {
      continue;  // reported on stderr
    }
    const bool isWrong = isError(finding.kind);
    out += console.styled(
        text(printable(checked.name), ':', finding.line, ':', finding.column, ':'), Style::bold);
    out += ' ' +
           console.styled(isWrong ? "error:" : "warning:", isWrong ? Style::bad : Style::waiting);
    out += ' ' + (finding.place.empty() ? "" : printable(finding.place) + ": ") +
           printable(finding.text) + '\n';
    if (console.isTerminal()) {
      out += sourceExcerpt(source, finding.offset, tokenLength(source, finding.offset),
                           console.width());
    }
  }
  return out;
}

/// «file can be used (2 products, …); no warnings.»
std::string verdict(const Checked& checked, const Console& console) {
  const std::size_t warnings = checked.warningCount();
  return text(
      printable(checked.name), " can be used (", checked.contents, "); ",
      console.styled(warnings == 0 ? "no warnings" : counted(warnings, "warning", "warnings"),
                     warnings == 0 ? Style::good : Style::waiting),
      ".\n");
}

}  // namespace

ExitStatus check(const CheckRequest& request, Console& console) {
  ExitStatus status = ExitStatus::success;
  for (const std::string& file : request.files) {
    const Checked checked = checkFile(file);
    console.write(request.json ? checkedJSON(file, checked) : asReport(checked, console));
    if (checked.error) {
      status = ExitStatus::unusableFile;
      const std::size_t errors = checked.errorCount();
      if (!request.json && console.isTerminal() &&
          checked.findings.back().kind != FindingKind::unreadable) {
        // The report above has the errors.
        console.write(text(printable(checked.name), " can't be used: ",
                           console.styled(counted(errors, "error", "errors"), Style::bad), ".\n"));
      } else {
        console.reportError(
            printable(*checked.error) +
            (errors == 1 ? "" : text("; and ", counted(errors - 1, "more error", "more errors"))));
      }
      continue;
    }
    if (!request.json) {
      console.write(verdict(checked, console));
    }
    if (request.strict && checked.warningCount() > 0 && status == ExitStatus::success) {
      status = ExitStatus::failure;
    }
  }
  return status;
}

}  // namespace agent_tool
