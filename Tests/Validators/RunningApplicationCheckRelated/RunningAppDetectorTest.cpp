#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VexloPatchDeployment/Common/RunningAction.h"

namespace vexlo {
namespace {

using testing::ElementsAre;

struct Safari final : RunningApplication {
  std::optional<std::string> localizedName() const override { return "Safari"; }
  std::int32_t processIdentifier() const override { return 7; }
  std::optional<std::string> executableURL() const override { return std::nullopt; }
  bool forceTerminate() override { return false; }
};

/// Only "safari" runs.
struct RecordingQuery final : RunningApplicationQuerying {
  std::vector<std::string> asked;
  std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) override {
    asked.push_back(bundleIdentifier);
    std::vector<std::unique_ptr<RunningApplication>> found;
    if (bundleIdentifier == "safari") {
      found.push_back(std::make_unique<Safari>());
    }
    return found;
  }
};

struct RecordingObserver final : ActionObserver {
  std::vector<Measurement> measurements;
  void measured(const ActionID& /*action*/, const Measurement& measurement) override {
    measurements.push_back(measurement);
  }
};

TEST(RunningAppDetectorTest, AsksNothingForTheObserver) {
  RecordingQuery query;
  const auto observer = std::make_shared<RecordingObserver>();
  const ActionID action(KnownAction::applicationRunningCheck);
  const RunningAction running(action, observer);
  EXPECT_TRUE(RunningAppDetector(query).isAnyAppRunning({"mail", "safari", "notes"}));
  EXPECT_THAT(query.asked, ElementsAre("mail", "safari"));
  ASSERT_EQ(observer->measurements.size(), 1U);
  EXPECT_EQ(observer->measurements.front().words(), "Safari running");
}

}  // namespace
}  // namespace vexlo
