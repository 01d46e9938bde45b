#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {
namespace {

/// A processor for a decoded file, on the machine that runs the test.
class Processor final : public ProcessPatchActions {
 public:
  explicit Processor(const std::string& actions)
      : ProcessPatchActions({"7", "p", "s"},
                            std::make_shared<const PatchActionGroup>(PatchActionGroup::decode(
                                R"({"PatchActions":{"7":)" + actions + "}}", "actions.json"))) {}
  PatchActionResult executeAll() { return execute(); }
};

TEST(ProcessPatchActionsTest, ExecuteStopsAtTheFirstUnsuccessfulAction) {
  const LogCapture log;
  const auto tooLittle =
      PatchActionResult::applyLater(PlainReason::inSufficientDiskSpaceForSoftwareUpdate);
  const std::string tooMuch = R"("2005":["9223372036854775807"])";
  EXPECT_EQ(Processor(R"({"-1":[],"2005":["-9223372036854775808"],"3001":[]})").executeAll(),
            PatchActionResult::success());
  EXPECT_TRUE(log.mentions("undefined(\"3001\")"));
  log.clear();
  EXPECT_EQ(Processor("{" + tooMuch + R"(,"-1":[],"3001":[]})").executeAll(), tooLittle);
  EXPECT_TRUE(log.mentions("undefined(\"-1\"):[] not defined"));
  EXPECT_FALSE(log.mentions("undefined(\"3001\"):[] not defined"));
}

TEST(ProcessPatchActionsTest, AnObserverMayRemoveItself) {
  struct Observer final : ActionObserver {
    std::function<void()> onMeasurement;
    void measured(const ActionID& /*action*/, const Measurement& /*measurement*/) override {
      onMeasurement();
    }
  };
  const LogCapture log;
  int measurements = 0;
  Processor processor(R"({"2005":["0"]})");
  auto observer = std::make_shared<Observer>();
  const std::weak_ptr<Observer> left = observer;
  observer->onMeasurement = [&] {
    ++measurements;
    processor.setObserver(nullptr);
    EXPECT_FALSE(left.expired());
  };
  processor.setObserver(std::move(observer));
  (void)processor.execute(KnownAction::minimumDiskSpaceCheck);
  (void)processor.execute(KnownAction::minimumDiskSpaceCheck);
  EXPECT_EQ(measurements, 1);
  EXPECT_TRUE(left.expired());
}

}  // namespace
}  // namespace vexlo
