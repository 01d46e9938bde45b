#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/AgentServiceValueFetcher.h"

#include <atomic>
#include <new>
#include <semaphore>
#include <string_view>
#include <utility>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kAgentServiceValueFetcherTag{"value(for:)"};

/// Shared by the waiting caller and the service's callbacks.
struct Cell {
  std::optional<std::string> value;
  std::string_view failure;  ///< A constant; empty if there is an answer.
  std::atomic_flag isAnswered;
  std::counting_semaphore<> answered{0};  // orders the writes above before the reads

  /// Keeps only the first outcome, since the caller may already be reading it.
  template <typename Keep>
  void settle(const Keep& keep) {
    if (!isAnswered.test_and_set()) {
      keep();
      answered.release();
    }
  }
  ~Cell() {
    if (value) {
      platform::wipe(*value);
    }
  }
};

}  // namespace

std::optional<std::string> DefaultAgentServiceValueFetcher::value(const std::string& key) {
  const platform::NoCoreFile noCoreFile;
  const auto deadline = std::chrono::steady_clock::now() + timeout_;  // includes a reconnect
  const auto cell = std::make_shared<Cell>();
  service_->fetchStatusMessageForKey(
      key,
      [cell, key](const std::optional<std::string>& received) {
        logInfo(kAgentServiceValueFetcherTag,
                [&] { return text("Received value for ", key, " form AgentService."); });
        cell->settle([&] {
          try {
            cell->value = received;
          } catch (const std::bad_alloc&) {
            cell->failure = "there was no memory for the value";
          }
        });
      },
      [cell](std::string_view reason) { cell->settle([&] { cell->failure = reason; }); });
  if (!cell->answered.try_acquire_until(deadline)) {
    logError(kAgentServiceValueFetcherTag,
             [&] { return text("Unable to get value for ", key, " form AgentService, Timeout."); });
    return std::nullopt;
  }
  if (!cell->failure.empty()) {
    logError(kAgentServiceValueFetcherTag, [&] {
      return text("Unable to get value for ", key, " form AgentService, ", cell->failure, ".");
    });
    return std::nullopt;
  }
  return std::move(cell->value);
}

}  // namespace vexlo
