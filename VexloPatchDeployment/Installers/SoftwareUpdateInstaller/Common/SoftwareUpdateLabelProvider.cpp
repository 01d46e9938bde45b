#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"

#include <algorithm>
#include <cstddef>
#include <ranges>
#include <vector>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Common/TextSearch.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateLabelProviderTag{"label(for:)"};
constexpr std::string_view kLabelMark = "Label:";
constexpr std::string_view kLabelPrefix = "Label: ";

/// The non-empty lines of `output`.
std::vector<std::string_view> linesOf(std::string_view output) {
  std::vector<std::string_view> lines;
  for (const auto& line : std::views::split(output, '\n')) {
    if (!line.empty()) {
      lines.emplace_back(line.begin(), line.end());
    }
  }
  return lines;
}

/// The part from the first "Label:" to the end of the last occurrence of the build after it.
std::optional<std::string_view> labelledBuild(std::string_view line, std::string_view build) {
  const auto mark = TextSearch(kLabelMark, Letters::ignoringCase).first(line);
  if (!mark) {
    return std::nullopt;
  }
  const auto last =
      TextSearch(build, Letters::ignoringCase).last(line.substr(*mark + kLabelMark.size()));
  return last.transform([&](std::size_t offset) {
    return line.substr(*mark, kLabelMark.size() + offset + build.size());
  });
}

std::string withoutLabelPrefixes(std::string_view labelled) {
  std::string label;
  std::size_t prefix = 0;
  while ((prefix = labelled.find(kLabelPrefix)) != std::string_view::npos) {
    label += labelled.substr(0, prefix);
    labelled.remove_prefix(prefix + kLabelPrefix.size());
  }
  return label += labelled;
}

}  // namespace

std::optional<std::string> DefaultSoftwareUpdateLabel::label(std::string_view build) {
  const CommandResult list = softwareUpdateLister_.fetchSoftwareUpdates();
  if (list.exitCode != 0) {
    logError(kSoftwareUpdateLabelProviderTag, [&] {
      return text("Unable to get software update label exitCode: ", list.exitCode,
                  ", output: ", list.output, ".");
    });
    return std::nullopt;
  }
  const std::vector<std::string_view> lines = linesOf(list.output);
  logInfo(kSoftwareUpdateLabelProviderTag, [&] {
    return text("Software update list: ", listText(lines), ", count: ", lines.size(), ".");
  });
  const TextSearch buildSearch(build);
  const auto line = std::ranges::find_if(
      lines, [&](std::string_view candidate) { return buildSearch.first(candidate).has_value(); });
  if (line == lines.end()) {
    logInfo(kSoftwareUpdateLabelProviderTag, [&] {
      return text("Unable to get software update label from the given output for build version ",
                  build, ".");
    });
    return std::nullopt;
  }
  const std::optional<std::string_view> labelled = labelledBuild(*line, build);
  if (!labelled) {
    logError(kSoftwareUpdateLabelProviderTag,
             [] { return "No match found with given software update output."; });
    return std::nullopt;
  }
  std::string label = withoutLabelPrefixes(*labelled);
  logInfo(kSoftwareUpdateLabelProviderTag, [&] { return text("Label found - \"", label, "\"."); });
  return label;
}

}  // namespace vexlo
