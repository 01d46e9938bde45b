#include "VexloPatchDeployment/Validators/DeferCheck/DeferCheck.h"

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/ScopedEnvironment.h"

namespace vexlo {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

const MacOSUpdateDeferral kNotDeferred{.isDeferred = false, .date = std::nullopt};
MacOSUpdateDeferral deferredUntil(const char* date) { return {.isDeferred = true, .date = date}; }

AvailableOSUpdate update(std::optional<std::string> version, std::optional<std::string> until,
                         std::optional<std::string> productKey = "MSU_1") {
  return {.build = std::nullopt,
          .deferredUntil = std::move(until),
          .productKey = std::move(productKey),
          .version = std::move(version)};
}

/// The moment is 2024-06-15 12:30:00 in New York.
class DeferCheckTest : public ::testing::Test, public AvailableOSUpdatesResolver {
 protected:
  MacOSUpdateDeferral deferralAmong(std::vector<AvailableOSUpdate> known) {
    updates = std::move(known);
    return checker.isMacOSUpdateDeferred("14.5");
  }
  std::optional<AvailableOSUpdates> availableOSUpdates() override { return {{updates}}; }

  ScopedEnvironment zone{"TZ", "America/New_York"};
  ScopedEnvironment locale{"LC_ALL", "C"};
  LogCapture log;
  std::vector<AvailableOSUpdate> updates;
  platform::Moment now = std::chrono::sys_days(2024y / 6 / 15) + 16h + 30min;
  MacOSUpdateDeferralChecker checker{*this, [this] { return now; }};
};

TEST_F(DeferCheckTest, FirstMatchingUpdateDecides) {
  const std::string future = "2099-01-01 00:00:00 +0000";
  const std::vector<AvailableOSUpdate> notDeferring = {
      update("14.5", "2024-06-15 23:59:59 +0000"),  // today
      update("14.5.0", future),
      update(std::nullopt, future),
      update("14.5", future, std::nullopt),
      update("14.5", future, "M"),
      update("14.5", future, "更"),  // one character, three bytes
      update("14.5", std::nullopt),
      update("14.5", " 2099-01-01"),
      update("14.5", "2099-02-30 00:00:00 +0000")};
  for (const AvailableOSUpdate& passedOver : notDeferring) {
    SCOPED_TRACE(describe(passedOver));
    EXPECT_EQ(deferralAmong({passedOver}), kNotDeferred);
    EXPECT_EQ(deferralAmong({passedOver, update("14.5", future, "M1")}),
              deferredUntil("2099-Jan-01"));
  }
}

TEST_F(DeferCheckTest, DeferralEndsWhenItsDayBegins) {
  now = std::chrono::sys_days(2024y / 6 / 16) + 4h;
  EXPECT_EQ(deferralAmong({update("14.5", "2024-06-16")}), kNotDeferred);
  EXPECT_THAT(log.records(),
              testing::Contains(
                  InfoLine("deferredUntil 2024-06-16, deferredDate 2024-06-16 04:00:00 +0000, "
                           "currentDate 2024-06-16 04:00:00 +0000, isMacOSUpdateDeferred "
                           "false")));
}

}  // namespace
}  // namespace vexlo
