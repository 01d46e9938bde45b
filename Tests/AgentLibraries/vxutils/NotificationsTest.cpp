#include <gmock/gmock.h>

#include <cstdint>
#include <vector>

#include "AgentLibraries/vxutils/Notifications.h"

namespace vxutils {
namespace {

TEST(NotificationsTest, AreQueuedAndDeliveredInOrderToReentrantHandlers) {
  std::vector<std::int32_t> shown;
  putNotification(1, nullptr);
  putNotification(2, nullptr);
  setNotificationHandler([&](std::int32_t code, void*) {
    shown.push_back(code);
    if (code == 1) {
      putNotification(3, nullptr);
    } else if (code == 2) {
      setNotificationHandler([&](std::int32_t later, void*) { shown.push_back(later); });
    }
  });
  putNotification(4, nullptr);
  setNotificationHandler({});
  EXPECT_THAT(shown, ::testing::ElementsAre(1, 2, 3, 4));
}

}  // namespace
}  // namespace vxutils
