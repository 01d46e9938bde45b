#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONManager.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFileCheck.h"
#include "AgentTool/Commands.h"
#include "AgentTool/JSONPieces.h"
#include "AgentTool/PrintableText.h"
#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using LogCore::text;
using vexlo::PatchActionGroup;

constexpr std::string_view kProducts = "ProductServicePackActions";
constexpr std::string_view kExclusionPatchIDs = "ExclusionPatchIDs";
constexpr std::string_view kSeparator = " › ";  // of the members in a place

/// What was probably meant where the file can't be used; empty when that isn't clear.
std::string hintFor(const DecodingError& error) {
  const std::string_view place = error.place();
  const std::size_t separator = place.rfind(kSeparator);
  const std::string_view member =
      separator == std::string_view::npos ? place : place.substr(separator + kSeparator.size());
  if (error.found() == "an array" && vexlo::equalIgnoringCase(member, kExclusionPatchIDs)) {
    if (place != text(kProducts, kSeparator, member)) {
      return text('"', kExclusionPatchIDs, "\" belongs in \"", kProducts, '"');
    }
    return "did you mean \"ExclusionPatchIDs\"? Upper and lower case count";
  }
  if (error.found() == "a number" && error.expected() == "a string") {
    return "strings are in double quotes, numbers too: \"30\", not 30";
  }
  return {};
}

/// `error` is JSON; absent for a file that can be used.
std::string answerAsJSON(const CheckRequest& request, const std::optional<std::string>& error,
                         const std::vector<Oddity>& oddities) {
  std::vector<std::string> listed;
  listed.reserve(oddities.size());
  for (const Oddity& oddity : oddities) {
    listed.push_back(JSONObject()
                         .addString("kind", name(oddity.kind))
                         .addString("place", oddity.place)
                         .addString("text", oddity.text)
                         .done());
  }
  return JSONObject()
             .addString("file", request.file)
             .addJSON("usable", error ? "false" : "true")
             .addJSON("error", error.value_or("null"))
             .addJSON("oddities", jsonArray(listed))
             .done() +
         '\n';
}

ExitStatus tellUnusable(const CheckRequest& request, const DecodingError& error, Console& console) {
  const std::string hint = hintFor(error);
  const std::string message = error.what() + (hint.empty() ? std::string() : " (" + hint + ')');
  if (request.json) {
    const std::string asJSON = JSONObject()
                                   .addString("place", error.place())
                                   .addString("expected", error.expected())
                                   .addString("found", error.found())
                                   .addString("message", message)
                                   .done();
    console.write(answerAsJSON(request, asJSON, {}));
  }
  console.complain(printable(message));
  return ExitStatus::unusableFile;
}

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
  return text(count, ' ', count == 1 ? one : many);
}

/// «2 products, 3 patches, 1 exempt patch»
std::string contents(const PatchActionGroup& group) {
  const auto productActions = group.productServicePackActions();
  const auto patchActions = group.patchActions();
  const std::size_t products = productActions ? productActions->products().size() : 0;
  const std::size_t exempt = productActions ? productActions->exclusionPatchIDs().size() : 0;
  const std::size_t patches = patchActions ? patchActions->patches().size() : 0;
  return text(counted(products, "product", "products"), ", ", counted(patches, "patch", "patches"),
              " with actions, ", counted(exempt, "exempt patch", "exempt patches"));
}

void tellForPeople(const CheckRequest& request, const PatchActionGroup& group,
                   const std::vector<Oddity>& oddities, Console& console) {
  std::string out;
  for (const Oddity& oddity : oddities) {
    const std::string place = oddity.place.empty() ? "the document" : printable(oddity.place);
    out += console.styled(place, Style::bold) + ": " + printable(oddity.text) + '\n';
  }
  const std::string verdict = oddities.empty()
                                  ? "nothing looks odd"
                                  : counted(oddities.size(), "thing looks odd", "things look odd");
  out += text(printable(request.file), " can be used (", contents(group), "); ",
              console.styled(verdict, oddities.empty() ? Style::good : Style::waiting), ".\n");
  console.write(out);
}

}  // namespace

ExitStatus check(const CheckRequest& request, Console& console) {
  std::string bytes;
  std::optional<PatchActionGroup> group;
  try {
    bytes = FileCodec::readTextFile(request.file);
    group = PatchActionGroup::decode(bytes, request.file);
  } catch (const DecodingError& error) {
    return tellUnusable(request, error, console);
  }
  const std::vector<Oddity> oddities = findOddities(*group, bytes);
  if (request.json) {
    console.write(answerAsJSON(request, {}, oddities));
  } else {
    tellForPeople(request, *group, oddities, console);
  }
  return ExitStatus::success;
}

}  // namespace agent_tool
