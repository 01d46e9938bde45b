// Compares the parsers of tool output, for arbitrary text, with naive implementations.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Fuzz/FuzzedAgent.h"
#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

namespace {

using namespace vexlo;

struct Lister final : SoftwareUpdateLister {
  SoftwareUpdateList list;
  SoftwareUpdateList fetchSoftwareUpdates() override { return list; }
};

struct MDMClient final : MDMClientCommandExecutor {
  MDMClientOutput run;
  MDMClientOutput fetchAvailableOSUpdatesRaw() override { return run; }
};

std::string lowered(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
  });
  return out;
}

std::optional<std::string> expectedLabel(const std::string& output, const std::string& build) {
  for (std::size_t start = 0; start < output.size();) {
    const std::size_t end = std::min(output.find('\n', start), output.size());
    const std::string line = output.substr(start, end - start);
    start = end + 1;
    if (line.empty() || !line.contains(build)) {
      continue;
    }
    const std::size_t mark = lowered(line).find("label:");
    const std::size_t last = lowered(line).rfind(lowered(build));
    if (mark == std::string::npos || last < mark + 6) {
      return std::nullopt;
    }
    std::string label = line.substr(mark, last + build.size() - mark);
    for (std::size_t at = 0; (at = label.find("Label: ", at)) != std::string::npos;) {
      label.erase(at, 7);
    }
    return label;
  }
  return std::nullopt;
}

void analyse(const std::string& output) {
  constexpr std::array kTexts{
      "Can’t connect to the Software Update server",
      "Make sure you’re connected to the internet",
      "Can’t connect to the Apple Software Update server",
      "Server not reachable",
      "kAMAuthInstallErrorServerNotReachable",
      "Not Enough Free Disk Space",
      "Error downloading",
      "Error installing updates",
      "No such update",
  };
  const auto result = DefaultSoftwareUpdateOutputAnalyser().validate(output);
  const auto* const first = std::ranges::find_if(
      kTexts, [&](const char* known) { return lowered(output).contains(lowered(known)); });
  require(result.has_value() == (first != kTexts.end()), "an error text seen or not");
  require(!result || (result->outcome == PatchActionResult::Outcome::failure) ==
                         (first - kTexts.begin() >= 7),
          "another error text than the first");
}

void readUpdates(const std::string& output, std::int32_t exitCode) {
  MDMClient client;
  client.run = {.exitCode = exitCode, .output = output};
  const auto updates = SystemAvailableOSUpdates(client).availableOSUpdates();
  require(
      updates.has_value() ==
          (exitCode == 0 && !output.contains("Can’t connect to the Apple Software Update server")),
      "updates absent or not");
  const std::string header = "Available updates (install debug profile for more details): ";
  const std::size_t begin = output.find(header);
  if (!updates || updates->empty()) {
    return;
  }
  require(begin != std::string::npos, "updates without a header");
  const std::string rest = output.substr(begin + header.size());
  const auto report = platform::parsePropertyList(rest.substr(0, rest.find(header)));
  const auto* const items = report ? report->as<platform::PropertyList::Array>() : nullptr;
  require(items != nullptr && items->size() == updates->size(), "not the updates of the report");
  for (std::size_t i = 0; i < items->size(); ++i) {
    const auto matches = [&](const char* key, const std::optional<std::string>& text) {
      const platform::PropertyList* const value = (*items)[i].find(key);
      return value == nullptr ? !text : text && *value == platform::PropertyList(*text);
    };
    const AvailableOSUpdate& update = (*updates)[i];
    require(matches("Build", update.build) && matches("DeferredUntil", update.deferredUntil) &&
                matches("ProductKey", update.productKey) && matches("Version", update.version),
            "another update than the report's");
  }
}

}  // namespace

/// The input: an exit status, the length of a build, the build, the output.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  if (size < 2) {
    return 0;
  }
  const std::int32_t exitCode = data[0] == 1 ? 1 : 0;
  const std::string_view text(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::size_t length = std::min<std::size_t>(data[1] % 16, text.size());
  const std::string build(text.substr(0, length));
  const std::string output(text.substr(length));
  analyse(output);
  readUpdates(output, exitCode);
  Lister lister;
  lister.list = {.exitCode = exitCode, .output = output};
  const auto label = DefaultSoftwareUpdateLabel(lister).label(build);
  require(label == (exitCode == 0 ? expectedLabel(output, build) : std::nullopt),
          "another label than the list's");
  return 0;
}
