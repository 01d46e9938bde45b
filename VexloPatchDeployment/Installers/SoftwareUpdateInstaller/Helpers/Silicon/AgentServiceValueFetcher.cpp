#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/AgentServiceValueFetcher.h"

#include <atomic>
#include <semaphore>
#include <utility>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kTag{"value(for:)"};

/// What the waiting caller and the service's answer share; lives as long as either needs it.
struct Cell {
  std::optional<std::string> value;
  std::atomic_flag isAnswered;
  std::counting_semaphore<> answered{0};  // orders the write of `value` before its reading

  /// Keeps the first answer only: the caller may already be reading it. Wipes `received`.
  void answer(std::optional<std::string>& received) {
    if (!isAnswered.test_and_set()) {
      value = received;
      answered.release();
    }
    if (received) {
      platform::wipe(*received);
    }
  }
  ~Cell() {
    if (value) {
      platform::wipe(*value);
    }
  }
};

}  // namespace

DefaultAgentServiceValueFetcher::DefaultAgentServiceValueFetcher(
    std::shared_ptr<vxutils::AgentServiceProtocol> service, std::chrono::milliseconds timeout)
    : service_(std::move(service)), timeout_(timeout) {}

std::optional<std::string> DefaultAgentServiceValueFetcher::value(const std::string& key) {
  const auto cell = std::make_shared<Cell>();
  service_->fetchStatusMessageForKey(key, [cell, key](std::optional<std::string> received) {
    logInfo(kTag, [&] { return text("Received value for ", key, " form AgentService."); });
    cell->answer(received);
  });
  if (!cell->answered.try_acquire_for(timeout_)) {
    logError(kTag,
             [&] { return text("Unable to get value for ", key, " form AgentService, Timeout."); });
    return std::nullopt;
  }
  return std::move(cell->value);
}

}  // namespace vexlo
