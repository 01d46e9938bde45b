#include "AgentLibraries/vxutils/Notifications.h"

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"

namespace vxutils {
namespace {

constexpr std::size_t kMostWaiting = 64;

struct Notification {
  std::int32_t code;
  void* argument;
};

struct Center {
  std::mutex mutex;
  std::shared_ptr<const NotificationHandler> handler;  // null: notifications are queued
  std::uint64_t handlersSet = 0;
  std::deque<Notification> waiting;
};

Center& center() {
  // Never destroyed, since other threads may post until the process exits.
  static Center& instance = *new Center;
  return instance;
}

}  // namespace

void setNotificationHandler(NotificationHandler handler) {
  Center& shared = center();
  std::shared_ptr<const NotificationHandler> former;  // destroyed without the lock
  std::shared_ptr<const NotificationHandler> next;
  if (handler) {
    next = std::make_shared<const NotificationHandler>(std::move(handler));
  }
  std::unique_lock lock(shared.mutex);
  former = std::exchange(shared.handler, nullptr);  // later notifications are queued behind these
  const std::uint64_t number = ++shared.handlersSet;
  while (next && !shared.waiting.empty()) {
    const Notification oldest = shared.waiting.front();
    shared.waiting.pop_front();
    lock.unlock();
    (*next)(oldest.code, oldest.argument);
    lock.lock();
    if (shared.handlersSet != number) {
      return;  // a later call continues with the rest
    }
  }
  shared.handler = std::move(next);
}

void putNotification(std::int32_t code, void* argument) {
  Center& shared = center();
  std::shared_ptr<const NotificationHandler> handler;
  std::optional<Notification> dropped;
  {
    const std::scoped_lock lock(shared.mutex);
    handler = shared.handler;
    if (!handler) {
      shared.waiting.push_back({.code = code, .argument = argument});
      if (shared.waiting.size() > kMostWaiting) {
        dropped = shared.waiting.front();
        shared.waiting.pop_front();
      }
    }
  }
  if (handler) {
    (*handler)(code, argument);
  }
  if (dropped) {
    logError(LogCore::LogTag{"putNotification(_:_:)"}, [&] {
      return LogCore::text("Too many notifications wait for a handler, dropped the oldest, code ",
                           dropped->code, ".");
    });
  }
}

}  // namespace vxutils
