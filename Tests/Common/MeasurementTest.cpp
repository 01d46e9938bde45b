#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/VexloPatchDeployment.h"

namespace vexlo {
namespace {

TEST(MeasurementTest, DescriptionSaysWhatDecided) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kGB = 1'000'000'000;
  for (const auto& [measurements, words] :
       std::vector<std::pair<std::vector<Measurement>, std::string>>{
           {{BatteryMeasurement{BatteryMeasurement::Source::mains, 0, 30}}, "on mains power"},
           // Truncated: 89.99 GB is less than 90 GB.
           {{DiskSpaceMeasurement{89'990'000'000, 90 * kGB}}, "89.9 GB free, 90 GB needed"},
           {{DiskSpaceMeasurement{50'900'000, kMost}}, "50 MB free, 9223372036.8 GB needed"},
           {{DiskSpaceMeasurement{kGB - 1, kGB}}, "999 MB free, 1 GB needed"},
           {{DiskSpaceMeasurement{-kGB, 1 - kGB}}, "-1 GB free, -999 MB needed"},
           {{DiskSpaceMeasurement{0, -2 * kGB}}, "0 GB free, -2 GB needed"},
           {{DiskSpaceMeasurement{}}, "free space unknown, counts as sufficient"},
           {{DeferralMeasurement{"14.5", false, std::nullopt}}, "macOS 14.5 not deferred"},
           {{DeferralMeasurement{"27.1", false, std::nullopt, false}},
            "mdmclient printed no list of updates, counts as not deferred"},
           {{RunningApplicationsMeasurement{{{"s", "Safari"}, {"m", "Mail"}}},
             PromptMeasurement{RunningAppPromptDecision::promptUser,
                               PromptMeasurement::Answer::notAsked, 2}},
            "Safari, Mail running; prompt due; 2 postponements left"},
           {{ToolRunMeasurement{ToolRunMeasurement::Step::download, "x", 1, "Failed"},
             UpdateNotListed{"14.5-23F79"}},
            "download ended with status 1, \"Failed\"; softwareupdate lists no 14.5-23F79"},
           {{UnusableArguments{"macOS version", std::nullopt}}, "no macOS version given"},
       }) {
    EXPECT_EQ(describe(measurements), words);
  }
}

/// Runs another action from its callback, then throws.
class ThrowingObserver final : public ActionObserver {
 public:
  void measured(const ActionID& action, const Measurement& /*measurement*/) override {
    actions.push_back(describe(action));
    const ActionID unobserved = KnownAction::userLoggedInCheck;
    const RunningAction other(unobserved, nullptr);
    vexlo::measured([]() -> Measurement { throw std::logic_error("nobody listens"); });
    throw std::runtime_error("dropped");
  }
  std::vector<std::string> actions;
};

TEST(MeasurementTest, GoesToTheInnermostActionsObserver) {
  const auto observer = std::make_shared<ThrowingObserver>();
  const auto measure = [] { measured([] { return RuleMeasurement{}; }); };
  measure();
  {
    const ActionID action = KnownAction::macOSDeferCheck;
    const RunningAction running(action, observer);
    measure();
    measure();
  }
  measure();
  EXPECT_THAT(observer->actions, ::testing::ElementsAre("macOSDeferCheck", "macOSDeferCheck"));
}

}  // namespace
}  // namespace vexlo
