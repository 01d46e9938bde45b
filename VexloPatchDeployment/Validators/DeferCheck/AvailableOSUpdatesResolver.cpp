#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

#include <array>
#include <cstddef>
#include <expected>
#include <string_view>
#include <utility>

#include "AgentLibraries/vxutils/TerminalUtil.h"
#include "Platform/PropertyList.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"

namespace vexlo {
namespace {

constexpr LogTag kAvailableOSUpdatesTag{"availableOSUpdates()"};
constexpr LogTag kParseTag{"parse(_:)"};
constexpr std::string_view kHeader = "Available updates (install debug profile for more details): ";

struct Field {
  std::string_view key;
  std::optional<std::string> AvailableOSUpdate::* member;
};
constexpr std::array kFields{
    Field{"Build", &AvailableOSUpdate::build},
    Field{"DeferredUntil", &AvailableOSUpdate::deferredUntil},
    Field{"ProductKey", &AvailableOSUpdate::productKey},
    Field{"Version", &AvailableOSUpdate::version},
};

using Updates = std::vector<AvailableOSUpdate>;

/// The report between the first header and the second one or the end; absent without a header.
std::optional<std::string_view> reportIn(std::string_view output) {
  const std::size_t header = output.find(kHeader);
  if (header == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view rest = output.substr(header + kHeader.size());
  return rest.substr(0, rest.find(kHeader));
}

/// Whether the report is UTF-8 or a binary property list.
bool isReadable(std::string_view report) {
  return report.starts_with("bplist") ||
         platform::findInvalidUTF8(report) == std::string_view::npos;
}

/// The error says which item is wrong, counting from one.
std::expected<Updates, std::string> decode(std::string_view report) {
  const auto list = platform::parsePropertyList(report);
  if (!list) {
    return std::unexpected(list.error().message);
  }
  const auto* const items = list->as<platform::PropertyList::Array>();
  if (items == nullptr) {
    return std::unexpected("expected an array of updates");
  }
  Updates updates;
  updates.reserve(items->size());
  for (const platform::PropertyList& item : *items) {
    const std::size_t number = updates.size() + 1;
    if (item.as<platform::PropertyList::Dictionary>() == nullptr) {
      return std::unexpected(text("item ", number, ": expected a dictionary"));
    }
    AvailableOSUpdate& update = updates.emplace_back();
    for (const Field& field : kFields) {
      const platform::PropertyList* const value = item.find(field.key);
      if (value == nullptr) {
        continue;
      }
      const auto* const valueText = value->as<std::string>();
      if (valueText == nullptr) {
        return std::unexpected(
            text("item ", number, ": expected a string under \"", field.key, '"'));
      }
      update.*field.member = *valueText;
    }
  }
  return updates;
}

AvailableOSUpdates parse(std::string_view output) {
  const std::optional<std::string_view> report = reportIn(output);
  if (!report || !isReadable(*report)) {
    logError(kParseTag, [] { return "No available updates found or data conversion failed."; });
    return {.isListed = false};
  }
  std::expected<Updates, std::string> updates = decode(*report);
  if (!updates) {
    logError(kParseTag, [&] { return text("Deserialization error: ", updates.error(), "."); });
    return {.isListed = false};
  }
  logInfo(kParseTag, [&] {
    const auto shown = [](const AvailableOSUpdate& update) { return describe(update); };
    return text("Parsed available OS Updates: [", platform::joined(*updates, ", ", shown), "].");
  });
  return {.updates = *std::move(updates)};
}

}  // namespace

CommandResult SystemMDMClient::fetchAvailableOSUpdatesRaw() {
  return vxutils::TerminalUtil::defaultInstance().executeTaskForString("/usr/libexec/mdmclient",
                                                                       {"AvailableOSUpdates"});
}

std::string describe(const AvailableOSUpdate& update) {
  return text("AvailableOSUpdate(build: ", optionalText(update.build),
              ", deferredUntil: ", optionalText(update.deferredUntil),
              ", productKey: ", optionalText(update.productKey),
              ", version: ", optionalText(update.version), ")");
}

std::optional<AvailableOSUpdates> SystemAvailableOSUpdates::availableOSUpdates() {
  const CommandResult run = mdmClientCommandExecutor_.fetchAvailableOSUpdatesRaw();
  logInfo(kAvailableOSUpdatesTag, [&] {
    return text("Available OS Updates raw data : ", run.output, ", exitCode: ", run.exitCode, ".");
  });
  if (run.exitCode != 0 || run.output.contains(kCantConnectToSoftwareUpdate)) {
    logError(kAvailableOSUpdatesTag, [] {
      return "AvailableOSUpdates command failed or unable to connect to the Apple Software Update "
             "server. Returning nil.";
    });
    return std::nullopt;
  }
  return parse(run.output);
}

}  // namespace vexlo
