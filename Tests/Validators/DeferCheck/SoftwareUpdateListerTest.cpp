#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "Tests/Fakes/FakeSoftwareUpdateLister.h"
#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;

struct ReachabilityCase {
  const char* name;
  SoftwareUpdateList list;
  bool reachable;
};

class AppleSoftwareUpdateConnectivityCheckerTest
    : public ::testing::TestWithParam<ReachabilityCase> {};

TEST_P(AppleSoftwareUpdateConnectivityCheckerTest, TakesTheListingAndItsVeryWordsAsTheAnswer) {
  const LogCapture log;
  const auto lister = std::make_shared<FakeSoftwareUpdateLister>();
  const auto& [name, list, reachable] = GetParam();
  lister->list = list;

  EXPECT_EQ(AppleSoftwareUpdateConnectivityChecker(lister).isAppleSoftwareUpdateReachable(),
            reachable);

  const auto origin =
      LoggedBy("Validators/DeferCheck/SoftwareUpdateLister", "isAppleSoftwareUpdateReachable()");
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(origin, InfoLine("Software update output: " + list.output +
                                 ", exit code: " + std::to_string(list.exitCode) + ".")),
          AllOf(origin, reachable ? InfoLine("Apple software update is reachable.")
                                  : ErrorLine("Unable to obtain software update information."))));
}

INSTANTIATE_TEST_SUITE_P(
    Listings, AppleSoftwareUpdateConnectivityCheckerTest,
    ::testing::Values(
        ReachabilityCase{"NoUpdates", {0, "No new software available.\n"}, true},
        ReachabilityCase{"Failed", {1, "No new software available.\n"}, false},
        ReachabilityCase{"EndedBySignal", {143, ""}, false},
        ReachabilityCase{
            "Complains", {0, "x\nCan’t connect to the Apple Software Update server.\n"}, false},
        ReachabilityCase{
            "AsciiApostrophe", {0, "Can't connect to the Apple Software Update server."}, true},
        ReachabilityCase{
            "OtherCase", {0, "can’t connect to the apple software update server."}, true}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace vexlo
