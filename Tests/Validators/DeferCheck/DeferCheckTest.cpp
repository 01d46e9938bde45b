#include "VexloPatchDeployment/Validators/DeferCheck/DeferCheck.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/FakeSoftwareUpdateLister.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/ScopedEnvironment.h"

namespace vexlo {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using ::testing::AllOf;
using ::testing::ElementsAre;

const MacOSUpdateDeferral kNotDeferred{.isDeferred = false, .date = std::nullopt};
MacOSUpdateDeferral deferredUntil(const char* date) { return {.isDeferred = true, .date = date}; }

class FakeAvailableOSUpdates final : public AvailableOSUpdatesResolver {
 public:
  std::optional<std::vector<AvailableOSUpdate>> updates;
  std::optional<std::vector<AvailableOSUpdate>> availableOSUpdates() override { return updates; }
};

AvailableOSUpdate update(std::optional<std::string> version, std::optional<std::string> until,
                         std::optional<std::string> productKey = "MSU_1") {
  return {.build = std::nullopt,
          .deferredUntil = std::move(until),
          .productKey = std::move(productKey),
          .version = std::move(version)};
}

/// The moment is 2024-06-15 12:30:00 in New York.
class MacOSUpdateDeferralCheckerTest : public ::testing::Test {
 protected:
  MacOSUpdateDeferral deferralAmong(std::optional<std::vector<AvailableOSUpdate>> updates) {
    resolver->updates = std::move(updates);
    return checker.isMacOSUpdateDeferred("14.5");
  }

  ScopedEnvironment zone{"TZ", "America/New_York"};
  ScopedEnvironment locale{"LC_ALL", "C"};
  LogCapture log;
  std::shared_ptr<FakeAvailableOSUpdates> resolver = std::make_shared<FakeAvailableOSUpdates>();
  platform::Moment now = std::chrono::sys_days(2024y / 6 / 15) + 16h + 30min;
  MacOSUpdateDeferralChecker checker{resolver, [this] { return now; }};
};

TEST_F(MacOSUpdateDeferralCheckerTest, TellsTheDayOfADeferralThatRuns) {
  EXPECT_EQ(deferralAmong({{update("14.5", "2024-06-16 00:00:00 +0000")}}),
            deferredUntil("2024-Jun-16"));
  const std::string file = "Validators/DeferCheck/DeferCheck";
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("deferredUntil 2024-06-16, deferredDate 2024-06-16 04:00:00 "
                                 "+0000, currentDate 2024-06-15 16:30:00 +0000, "
                                 "isMacOSUpdateDeferred true"),
                        LoggedBy(file, "validate(_:)")),
                  AllOf(InfoLine("macOS 14.5 is deferred untill 2024-06-16:"
                                 "Optional(\"2024-Jun-16\") - MSU_1."),
                        LoggedBy(file, "isMacOSUpdateDeferred(for:)"))));
}

TEST_F(MacOSUpdateDeferralCheckerTest, TheFirstUpdateThatHoldsAllConditionsDecides) {
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
    EXPECT_EQ(deferralAmong({{passedOver}}), kNotDeferred) << passedOver;
    EXPECT_EQ(deferralAmong({{passedOver, update("14.5", future, "M1")}}),
              deferredUntil("2099-Jan-01"));
  }
}

TEST_F(MacOSUpdateDeferralCheckerTest, ADeferralEndsWithTheFirstMomentOfItsDay) {
  now = std::chrono::sys_days(2024y / 6 / 16) + 4h;
  EXPECT_EQ(deferralAmong({{update("14.5", "2024-06-16")}}), kNotDeferred);
}

TEST_F(MacOSUpdateDeferralCheckerTest, NoListIsUnknownAndAnEmptyOneIsNotDeferred) {
  EXPECT_EQ(deferralAmong(std::nullopt).isDeferred, std::nullopt);
  EXPECT_EQ(deferralAmong({{}}), kNotDeferred);
}

TEST(SoftwareUpdateListerTest, StatusAndTheVeryWordsTellWhetherTheServerIsReachable) {
  for (const auto& [list, reachable] : std::vector<std::pair<SoftwareUpdateList, bool>>{
           {{1, "No new software available.\n"}, false},
           {{0, "x\nCan’t connect to the Apple Software Update server.\n"}, false},
           {{0, "Can't connect to the Apple Software Update server."}, true},
           {{0, "can’t connect to the apple software update server."}, true}}) {
    const LogCapture log;
    const auto lister = std::make_shared<FakeSoftwareUpdateLister>();
    lister->list = list;
    EXPECT_EQ(AppleSoftwareUpdateConnectivityChecker(lister).isAppleSoftwareUpdateReachable(),
              reachable);
  }
}

}  // namespace
}  // namespace vexlo
