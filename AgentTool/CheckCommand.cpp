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
using FileCodec::jsonString;
using LogCore::text;
using vexlo::PatchActionGroup;

/// What was probably meant where the file can't be used; empty when that isn't clear.
std::string hintFor(const DecodingError& error) {
  const std::string_view place = error.place();
  const std::string_view member = place.substr(std::min(place.rfind("› ") + 4, place.size()));
  if (error.found() == "an array" && vexlo::equalIgnoringCase(member, "ExclusionPatchIDs")) {
    return "did you mean \"ExclusionPatchIDs\"? Upper and lower case count";
  }
  if (error.found() == "a number" && error.expected() == "a string") {
    return "arguments are texts, numbers too: \"30\", not 30";
  }
  return {};
}

ExitStatus tellUnusable(const CheckRequest& request, const DecodingError& error, Console& console) {
  const std::string hint = hintFor(error);
  const std::string message = error.what() + (hint.empty() ? std::string() : " (" + hint + ')');
  if (request.json) {
    console.write(text(
        R"({"file":)", jsonString(request.file), R"(,"usable":false,"error":{"place":)",
        jsonString(error.place()), R"(,"expected":)", jsonString(error.expected()), R"(,"found":)",
        jsonString(error.found()), R"(,"message":)", jsonString(message), "},\"oddities\":[]}\n"));
  }
  console.complain(printable(message));
  return ExitStatus::unusableFile;
}

void tellAsJSON(const CheckRequest& request, const std::vector<Oddity>& oddities,
                Console& console) {
  std::string out =
      text(R"({"file":)", jsonString(request.file), R"(,"usable":true,"error":null,"oddities":[)");
  for (std::string_view separator; const Oddity& oddity : oddities) {
    out += text(separator, R"({"kind":)", jsonString(name(oddity.kind)), R"(,"place":)",
                jsonString(oddity.place), R"(,"text":)", jsonString(oddity.text), '}');
    separator = ",";
  }
  console.write(out += "]}\n");
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
    tellAsJSON(request, oddities, console);
  } else {
    tellForPeople(request, *group, oddities, console);
  }
  return ExitStatus::success;
}

}  // namespace agent_tool
