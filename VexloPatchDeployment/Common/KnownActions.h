// The table of the actions that the library knows: the one place where an action's code and name
// stand.
#pragma once
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Common/ActionID.h"

namespace vexlo {

struct KnownActionRow {
  KnownAction action;
  std::string_view code;   ///< In the patch action file.
  std::int64_t sortOrder;  ///< The code as a number.
  std::string_view name;   ///< In log lines and in the serialized form.
};

/// In the enumeration's order.
inline constexpr std::array kKnownActions{
    KnownActionRow{KnownAction::siliconBatteryPercentageCheck, "2001", 2001,
                   "siliconBatteryPercentageCheck"},
    KnownActionRow{KnownAction::intelBatteryPercentageCheck, "2002", 2002,
                   "intelBatteryPercentageCheck"},
    KnownActionRow{KnownAction::userLoggedInCheck, "2003", 2003, "userLoggedInCheck"},
    KnownActionRow{KnownAction::multipleUserLoggedInCheck, "2004", 2004,
                   "multipleUserLoggedInCheck"},
    KnownActionRow{KnownAction::minimumDiskSpaceCheck, "2005", 2005, "minimumDiskSpaceCheck"},
    KnownActionRow{KnownAction::macOSDeferCheck, "2006", 2006, "macOSDeferCheck"},
    KnownActionRow{KnownAction::installMacOSUpdates, "2007", 2007, "installMacOSUpdates"},
    KnownActionRow{KnownAction::applicationRunningCheck, "2008", 2008, "applicationRunningCheck"},
    KnownActionRow{KnownAction::applicationRunningNotifier, "2009", 2009,
                   "applicationRunningNotifier"},
    KnownActionRow{KnownAction::installMacOSUpdatesUsingInstallAssistant, "2010", 2010,
                   "installMacOSUpdatesUsingInstallAssistant"},
};

/// The number of actions. The switch over all of them stops the build when one is new; the
/// assertions below then ask for its row.
[[nodiscard]] consteval std::size_t knownActionCount() {
  std::size_t count = 0;
  for (std::uint8_t value = 0;; ++value) {
    switch (static_cast<KnownAction>(value)) {
      case KnownAction::siliconBatteryPercentageCheck:
      case KnownAction::intelBatteryPercentageCheck:
      case KnownAction::userLoggedInCheck:
      case KnownAction::multipleUserLoggedInCheck:
      case KnownAction::minimumDiskSpaceCheck:
      case KnownAction::macOSDeferCheck:
      case KnownAction::installMacOSUpdates:
      case KnownAction::applicationRunningCheck:
      case KnownAction::applicationRunningNotifier:
      case KnownAction::installMacOSUpdatesUsingInstallAssistant:
        ++count;
        continue;
    }
    return count;
  }
}

/// Whether a table has one row for each action, in the enumeration's order. `action` names the
/// row's member.
template <typename Table, typename Action>
[[nodiscard]] consteval bool coversEveryAction(const Table& table, Action action) {
  for (std::size_t index = 0; index < table.size(); ++index) {
    if (std::to_underlying(table[index].*action) != index) {
      return false;
    }
  }
  return table.size() == knownActionCount();
}

static_assert(coversEveryAction(kKnownActions, &KnownActionRow::action));
// The running order is that of the codes.
static_assert(std::ranges::is_sorted(kKnownActions, {}, &KnownActionRow::sortOrder));

[[nodiscard]] constexpr const KnownActionRow& rowOf(KnownAction action) {
  return kKnownActions[std::to_underlying(action)];
}

}  // namespace vexlo
