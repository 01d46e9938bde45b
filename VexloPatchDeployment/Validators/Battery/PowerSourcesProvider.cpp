#include "VexloPatchDeployment/Validators/Battery/PowerSourcesProvider.h"

#include "Platform/PowerSources.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kPowerSourcesProviderTag{"powerSourcesInfo()"};

}  // namespace

std::vector<platform::PropertyList> SystemPowerSources::powerSourcesInfo() {
  std::vector<platform::PropertyList> sources = platform::powerSources();
  for (const platform::PropertyList& source : sources) {
    logInfo(kPowerSourcesProviderTag,
            [&] { return text("Power source infos: ", describe(source), "."); });
  }
  return sources;
}

}  // namespace vexlo
