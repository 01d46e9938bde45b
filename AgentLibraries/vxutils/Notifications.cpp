#include "AgentLibraries/vxutils/Notifications.h"

#include <deque>
#include <memory>
#include <mutex>
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
  std::shared_ptr<const NotificationHandler> handler;  // null: notifications wait
  std::deque<Notification> waiting;
};

Center& center() {
  static Center instance;
  return instance;
}

}  // namespace

void setNotificationHandler(NotificationHandler handler) {
  Center& shared = center();
  std::shared_ptr<const NotificationHandler> next;
  std::deque<Notification> waited;
  if (handler) {
    next = std::make_shared<const NotificationHandler>(std::move(handler));
  }
  {
    const std::scoped_lock lock(shared.mutex);
    shared.handler = next;
    if (next) {
      waited.swap(shared.waiting);
    }
  }
  for (const Notification& notification : waited) {
    (*next)(notification.code, notification.argument);
  }
}

void putNotification(std::int32_t code, void* argument) {
  Center& shared = center();
  std::shared_ptr<const NotificationHandler> handler;
  std::deque<Notification> dropped;
  {
    const std::scoped_lock lock(shared.mutex);
    handler = shared.handler;
    if (!handler) {
      shared.waiting.push_back({.code = code, .argument = argument});
      if (shared.waiting.size() > kMostWaiting) {
        dropped.push_back(shared.waiting.front());
        shared.waiting.pop_front();
      }
    }
  }
  if (handler) {
    (*handler)(code, argument);
  }
  for (const Notification& notification : dropped) {
    logError(LogCore::LogTag{"putNotification(_:_:)"}, [&] {
      return LogCore::text("Too many notifications wait for a handler, dropped the oldest, code ",
                           notification.code, ".");
    });
  }
}

}  // namespace vxutils
