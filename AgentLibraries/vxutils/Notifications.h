// The agent's user notifications.
#pragma once
#include <cstdint>
#include <functional>

namespace vxutils {

/// Shows the notification with `code`; `argument` belongs to the code and may be null.
using NotificationHandler = std::function<void(std::int32_t code, void* argument)>;

/// The agent sets how notifications are shown; without a handler they wait (the last 64) and
/// are handed to the next handler at once, so that none is lost. Safe from any thread.
void setNotificationHandler(NotificationHandler handler);

/// Posts the notification with `code` (19: updates are in progress, with a null argument).
void putNotification(std::int32_t code, void* argument);

}  // namespace vxutils
