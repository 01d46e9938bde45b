// Compares the parsers of tool output, for arbitrary text, with naive implementations.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Fuzz/FuzzedAgent.h"
#include "Platform/PropertyList.h"
#include "Platform/Unicode.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"
#include "VexloPatchDeployment/Validators/DeferCheck/DeferCheck.h"

namespace {

using namespace vexlo;

struct Lister final : SoftwareUpdateLister {
  CommandResult list;
  CommandResult fetchSoftwareUpdates() override { return list; }
};

struct MDMClient final : MDMClientCommandExecutor {
  CommandResult run;
  CommandResult fetchAvailableOSUpdatesRaw() override { return run; }
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

std::optional<PatchActionResult> expectedResult(const std::string& output) {
  using enum PlainReason;
  const auto network = PatchActionResult::applyLater(softwareUpdateUnreachable);
  const std::vector<std::pair<const char*, PatchActionResult>> known{
      {"Can’t connect to the Software Update server", network},
      {"Make sure you’re connected to the internet", network},
      {"Can’t connect to the Apple Software Update server", network},
      {"Server not reachable", network},
      {"kAMAuthInstallErrorServerNotReachable", network},
      {"Not Enough Free Disk Space",
       PatchActionResult::applyLater(inSufficientDiskSpaceForSoftwareUpdate)},
      {"Error downloading", PatchActionResult::applyLater(macOSSoftwareUpdateDownloadFailed)},
      {"Error installing updates",
       PatchActionResult::failure(macOSSoftwareUpdateInstallationFailed)},
      {"No such update", PatchActionResult::failure()},
  };
  const auto first = std::ranges::find_if(
      known, [&](const auto& error) { return lowered(output).contains(lowered(error.first)); });
  return first == known.end() ? std::nullopt : std::optional(first->second);
}

using Updates = std::vector<AvailableOSUpdate>;

std::optional<Updates> expectedUpdates(const std::string& output, std::int32_t exitCode) {
  if (exitCode != 0 || output.contains("Can’t connect to the Apple Software Update server")) {
    return std::nullopt;
  }
  const std::string header = "Available updates (install debug profile for more details): ";
  const std::size_t begin = output.find(header);
  std::string report = begin == std::string::npos ? "" : output.substr(begin + header.size());
  report.resize(std::min(report.find(header), report.size()));
  if (!report.starts_with("bplist") && platform::findInvalidUTF8(report) != std::string::npos) {
    return Updates();
  }
  const auto list = platform::parsePropertyList(report);
  const auto* const items = list ? list->as<platform::PropertyList::Array>() : nullptr;
  Updates updates(items == nullptr ? 0 : items->size());
  bool readable = true;
  for (std::size_t index = 0; index < updates.size(); ++index) {
    const auto* const item = (*items)[index].as<platform::PropertyList::Dictionary>();
    readable = readable && item != nullptr;
    const auto take = [&](const char* key, std::optional<std::string>& field) {
      if (readable && item->contains(key)) {
        const auto* const text = item->find(key)->second.as<std::string>();
        readable = text != nullptr;
        field = readable ? *text : "";
      }
    };
    take("Build", updates[index].build);
    take("DeferredUntil", updates[index].deferredUntil);
    take("ProductKey", updates[index].productKey);
    take("Version", updates[index].version);
  }
  return readable ? updates : Updates();
}

constexpr std::time_t kNow = 1718409600;  // 2024-06-15 00:00:00 UTC

MacOSUpdateDeferral expectedDeferral(const std::optional<Updates>& updates,
                                     const std::string& version) {
  if (!updates) {
    return {};
  }
  for (const AvailableOSUpdate& update : *updates) {
    const std::string until = update.deferredUntil.value_or("");
    const std::string day = until.substr(0, until.find(' '));
    std::string pattern = day;
    std::ranges::replace_if(pattern, [](char c) { return c >= '0' && c <= '9'; }, '0');
    const std::string key = update.productKey.value_or("");
    const bool isLong = std::ranges::count_if(key, [](char c) { return (c & 0xC0) != 0x80; }) > 1;
    if (update.version != version || !isLong || pattern != "0000-00-00") {
      continue;
    }
    std::tm date{};
    date.tm_year = std::stoi(day) - 1900;
    date.tm_mon = std::stoi(day.substr(5)) - 1;
    date.tm_mday = std::stoi(day.substr(8));
    std::tm normal = date;
    if (timegm(&normal) > kNow && normal.tm_mon == date.tm_mon && normal.tm_mday == date.tm_mday) {
      std::array<char, 32> text{};
      std::strftime(text.data(), text.size(), "%Y-%b-%d", &normal);
      return {.isDeferred = true, .date = text.data()};
    }
  }
  return {.isDeferred = false, .date = std::nullopt};
}

void readUpdates(const std::string& output, std::int32_t exitCode, const std::string& text) {
  MDMClient client;
  client.run = {.exitCode = exitCode, .output = output};
  SystemAvailableOSUpdates resolver(client);
  const std::optional<Updates> updates = expectedUpdates(output, exitCode);
  const auto available = resolver.availableOSUpdates();
  require((available ? std::optional(available->updates) : std::nullopt) == updates,
          "other updates than the report's");
  require(!available || available->isListed || available->updates.empty(),
          "updates that were not listed");
  MacOSUpdateDeferralChecker checker(
      resolver, [] { return std::chrono::sys_seconds(std::chrono::seconds(kNow)); },
      [](std::chrono::year_month_day day) { return std::chrono::sys_days(day); });
  std::set<std::string> versions{text};
  for (const AvailableOSUpdate& update : updates.value_or(Updates())) {
    versions.insert(update.version.value_or("14.5"));
  }
  for (const std::string& version : versions) {
    require(checker.isMacOSUpdateDeferred(version) == expectedDeferral(updates, version),
            "another deferral");
  }
}

}  // namespace

/// The input: an exit status, the length of a build, the build, the output.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  static const bool english = ::setenv("LC_ALL", "C", 1) == 0;  // the names of months
  require(english, "can't set the locale");
  if (size < 2) {
    return 0;
  }
  const std::int32_t exitCode = data[0] == 1 ? 1 : 0;
  const std::string_view text(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::size_t length = std::min<std::size_t>(data[1] % 16, text.size());
  const std::string build(text.substr(0, length));
  const std::string output(text.substr(length));
  std::vector<std::string> parts{output};  // and each of its lines
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    parts.push_back(line);
  }
  for (const std::string& part : parts) {
    require(DefaultSoftwareUpdateOutputAnalyser().validate(part) == expectedResult(part),
            "another result");
  }
  readUpdates(output, exitCode, build);
  Lister lister;
  lister.list = {.exitCode = exitCode, .output = output};
  const auto label = DefaultSoftwareUpdateLabel(lister).label(build);
  require(label == (exitCode == 0 ? expectedLabel(output, build) : std::nullopt),
          "another label than the list's");
  return 0;
}
