// The agent's user notifications.
#pragma once
#include <cstdint>
#include <functional>

#include "Platform/Export.h"

namespace vxutils {

/// Shows the notification with `code`; `argument` depends on the code and may be null. Called
/// without a lock held, on the posting thread or, for queued notifications, on the thread that sets
/// the handler. Must not throw.
using NotificationHandler = std::function<void(std::int32_t code, void* argument)>;

/// Sets the handler that shows notifications; an empty one removes it. Without a handler,
/// notifications are queued, and the next handler gets them immediately, in order, before later
/// ones. Beyond 64 the oldest are dropped with an error line. Thread-safe.
VEXLO_EXPORT void setNotificationHandler(NotificationHandler handler);

/// Posts the notification with `code` (19: updates are in progress, with a null argument).
/// `argument` must stay valid until a handler was called, which may be much later.
VEXLO_EXPORT void putNotification(std::int32_t code, void* argument);

}  // namespace vxutils
