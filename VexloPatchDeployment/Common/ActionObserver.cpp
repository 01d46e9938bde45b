#include "VexloPatchDeployment/Common/ActionObserver.h"

#include <array>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {

ActionObserver::~ActionObserver() = default;
void ActionObserver::measured(const ActionID& /*action*/, const Measurement& /*measurement*/) {}
void ActionObserver::progressed(const ActionID& /*action*/, const ActionProgress& /*progress*/) {}

std::string_view name(ActionProgress::Phase phase) {
  constexpr std::array<std::string_view, 6> kNames{
      // in the enumeration's order
      "starting", "searching", "downloading", "preparing", "installing", "waiting"};
  return kNames.at(std::to_underlying(phase));
}

std::string describe(const ActionProgress& progress) {
  return progress.percent
             ? text(name(progress.phase), ' ', static_cast<std::int64_t>(*progress.percent), " %")
             : std::string(name(progress.phase));
}

}  // namespace vexlo
