// The agent's user notifications.
#pragma once
#include <cstdint>
#include <functional>

namespace vxutils {

/// Shows the notification with `code`; `argument` belongs to the code and may be null. Called with
/// no lock held on the posting thread, or for one that waited on the thread that sets the handler;
/// must not throw.
using NotificationHandler = std::function<void(std::int32_t code, void* argument)>;

/// The agent sets how notifications are shown; an empty handler takes the present one away.
/// Without a handler they wait, and are handed to the next one at once, in order and before any
/// that is posted meanwhile, so that none is lost; only of more than 64 the oldest go, with an
/// error line. Safe from any thread.
void setNotificationHandler(NotificationHandler handler);

/// Posts the notification with `code` (19: updates are in progress, with a null argument). What
/// `argument` points at must live until it was handed to a handler, which may be much later.
void putNotification(std::int32_t code, void* argument);

}  // namespace vxutils
