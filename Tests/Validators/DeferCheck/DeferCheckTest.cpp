#include "VexloPatchDeployment/Validators/DeferCheck/DeferCheck.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/ScopedEnvironment.h"

namespace vexlo {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using ::testing::AllOf;
using ::testing::ElementsAre;

const MacOSUpdateDeferral kUnknown{.isDeferred = std::nullopt, .date = std::nullopt};
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
  MacOSUpdateDeferralChecker checker{
      resolver, [] { return std::chrono::sys_days(2024y / 6 / 15) + 16h + 30min; }};
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
  struct Case {
    const char* what;
    std::vector<AvailableOSUpdate> updates;
    MacOSUpdateDeferral answer;
  };
  const std::string future = "2099-01-01 00:00:00 +0000";
  const std::vector<Case> cases = {
      {"far future", {update("14.5", future)}, deferredUntil("2099-Jan-01")},
      {"beyond what nanoseconds hold",
       {update("14.5", "9999-12-31")},
       deferredUntil("9999-Dec-31")},
      {"today", {update("14.5", "2024-06-15 23:59:59 +0000")}, kNotDeferred},
      {"yesterday", {update("14.5", "2024-06-14 00:00:00 +0000")}, kNotDeferred},
      {"second",
       {update("14.5", "2024-06-14"), update("14.5", future)},
       deferredUntil("2099-Jan-01")},
      {"first of two",
       {update("14.5", "2024-07-01"), update("14.5", future)},
       deferredUntil("2024-Jul-01")},
      {"longer version", {update("14.5.0", future), update("14", future)}, kNotDeferred},
      {"no version", {update(std::nullopt, future)}, kNotDeferred},
      {"no product key", {update("14.5", future, std::nullopt)}, kNotDeferred},
      {"short product key", {update("14.5", future, "M")}, kNotDeferred},
      {"one character of three bytes", {update("14.5", future, "更")}, kNotDeferred},
      {"product key of two", {update("14.5", future, "M1")}, deferredUntil("2099-Jan-01")},
      {"no date", {update("14.5", std::nullopt)}, kNotDeferred},
      {"blank first", {update("14.5", " 2099-01-01")}, kNotDeferred},
      {"time only", {update("14.5", "2099-01-01T00:00:00")}, kNotDeferred},
      {"no such day", {update("14.5", "2099-02-30 00:00:00 +0000")}, kNotDeferred},
  };
  for (const auto& [what, updates, answer] : cases) {
    EXPECT_EQ(deferralAmong(updates), answer) << what;
  }
}

TEST_F(MacOSUpdateDeferralCheckerTest, AnUnreadableDateIsPassedOverWithAnErrorLine) {
  EXPECT_EQ(deferralAmong({{update("14.5", "2024/06/15")}}), kNotDeferred);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Unable to obtain defer date from given data, returning as "
                                    "update not deferred, but deferredUntil :2024/06/15"),
                          InfoLine("macOS 14.5 is not deferred.")));
}

TEST_F(MacOSUpdateDeferralCheckerTest, ADayWithoutMidnightIsComparedByItsFirstMoment) {
  const ScopedEnvironment lebanon("TZ", "Asia/Beirut");  // 2024-03-31 begins at 01:00, UTC+3
  const auto now = [](std::chrono::seconds before) {
    return [before] { return std::chrono::sys_days(2024y / 3 / 30) + 22h - before; };
  };
  resolver->updates = {{update("14.5", "2024-03-31")}};
  EXPECT_EQ(MacOSUpdateDeferralChecker(resolver, now(1s)).isMacOSUpdateDeferred("14.5"),
            deferredUntil("2024-Mar-31"));
  EXPECT_EQ(MacOSUpdateDeferralChecker(resolver, now(0s)).isMacOSUpdateDeferred("14.5"),
            kNotDeferred);
}

TEST_F(MacOSUpdateDeferralCheckerTest, NoListIsUnknownAndAnEmptyOneIsNotDeferred) {
  EXPECT_EQ(deferralAmong(std::nullopt), kUnknown);
  EXPECT_EQ(deferralAmong({{}}), kNotDeferred);
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          ErrorLine("Unable to get AvailableOSUpdate - Network error. Need to check later."),
          ErrorLine("Unable to get AvailableOSUpdate. Considering it as not deferred.")));
}

}  // namespace
}  // namespace vexlo
