#include "AgentLibraries/vxutils/TrueParentTracking.h"

#include <mutex>
#include <set>

namespace vxutils {
namespace {

struct Registry {
  std::mutex mutex;
  std::set<std::string> programNames;
};

Registry& registry() {
  // Never destroyed, since other threads may register until the process exits.
  static Registry& registrations = *new Registry;
  return registrations;
}

}  // namespace

bool ProcessInformation::registerAsTrueParent(const std::string& programName) {
  if (programName.empty()) {
    return false;
  }
  Registry& registrations = registry();
  const std::scoped_lock lock(registrations.mutex);
  registrations.programNames.insert(programName);
  return true;
}

bool ProcessInformation::isTrueParent(const std::string& programName) {
  Registry& registrations = registry();
  const std::scoped_lock lock(registrations.mutex);
  return registrations.programNames.contains(programName);
}

}  // namespace vxutils
