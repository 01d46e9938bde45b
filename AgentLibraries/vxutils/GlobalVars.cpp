#include "AgentLibraries/vxutils/GlobalVars.h"

#include <utility>

#include "Platform/Machine.h"

namespace vxutils {

namespace {

/// Never destroyed, since other threads may read the settings until the process exits.
union Immortal {
  constexpr Immortal() : settings() {}
  ~Immortal() {}  // NOLINT(modernize-use-equals-default): that would be deleted
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;
  GlobalVars settings;
};
constinit Immortal theOne;

}  // namespace

constinit GlobalVars& gv_globvars = theOne.settings;

void GlobalVars::setDirectories(AgentDirectories directories) {
  const std::scoped_lock lock(mutex_);
  directories_ = std::move(directories);
}

void GlobalVars::setAppleSiliconMachine(std::optional<bool> answer) {
  const std::scoped_lock lock(mutex_);
  isAppleSilicon_ = answer;
}

std::optional<std::string> GlobalVars::vxagentBasePath() const {
  const std::scoped_lock lock(mutex_);
  return directories_.base;
}

std::optional<std::string> GlobalVars::vxagentDataDictPath() const {
  const std::scoped_lock lock(mutex_);
  return directories_.data;
}

std::optional<std::string> GlobalVars::vxagentLogPath() const {
  const std::scoped_lock lock(mutex_);
  return directories_.logs;
}

bool GlobalVars::isAppleSiliconMachine() const {
  const std::scoped_lock lock(mutex_);
  return isAppleSilicon_ ? *isAppleSilicon_ : platform::isAppleSilicon();
}

}  // namespace vxutils
