#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

#include <exception>
#include <utility>

#include "AgentLibraries/FileCodec/JSONManager.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kPatchActionJSONParserTag{"cachedPatchActionGroup"};
constexpr std::string_view kFileUnderBase = "/client-data/patch-resources/mac-patch-actions.json";

PatchActionJSONParser::Outcome unusable(const std::string& path, PatchActionFileError error) {
  logError(kPatchActionJSONParserTag,
           [&] { return text("Unable to parse ", path, ". Error: ", error.what(), "."); });
  return std::unexpected(std::move(error));
}

PatchActionJSONParser::Outcome readFile(const std::string& path) {
  try {
    FileCodec::JSONManager<PatchActionGroup> manager(path);
    return std::make_shared<const PatchActionGroup>(std::move(manager).data());
  } catch (const FileCodec::DecodingError& error) {
    return unusable(path, PatchActionFileError(error.what(), {.file = error.file(),
                                                              .place = error.place(),
                                                              .expected = error.expected(),
                                                              .found = error.found()}));
  } catch (const std::exception& error) {
    return unusable(path, PatchActionFileError(error.what()));
  }
}

}  // namespace

PatchActionJSONParser& PatchActionJSONParser::shared() {
  static PatchActionJSONParser parser(agentBaseFile(kFileUnderBase));
  return parser;
}

const PatchActionJSONParser::Outcome& PatchActionJSONParser::cachedPatchActionGroup() {
  std::call_once(read_, [this] { outcome_ = readFile(jsonPath_); });
  return *outcome_;  // NOLINT(bugprone-unchecked-optional-access): filled above, once
}

}  // namespace vexlo
