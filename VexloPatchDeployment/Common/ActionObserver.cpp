#include "VexloPatchDeployment/Common/ActionObserver.h"

#include <utility>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {

ActionObserver::~ActionObserver() = default;
void ActionObserver::measured(const ActionID& /*action*/, const Measurement& /*measurement*/) {}
void ActionObserver::progressed(const ActionID& /*action*/, const ActionProgress& /*progress*/) {}

std::string_view name(ActionProgress::Phase phase) {
  switch (phase) {
    case ActionProgress::Phase::starting:
      return "starting";
    case ActionProgress::Phase::searching:
      return "searching";
    case ActionProgress::Phase::downloading:
      return "downloading";
    case ActionProgress::Phase::preparing:
      return "preparing";
    case ActionProgress::Phase::installing:
      return "installing";
    case ActionProgress::Phase::waiting:
      return "waiting";
  }
  std::unreachable();
}

std::string describe(const ActionProgress& progress) {
  return progress.percent
             ? text(name(progress.phase), ' ', static_cast<std::int64_t>(*progress.percent), " %")
             : std::string(name(progress.phase));
}

}  // namespace vexlo
