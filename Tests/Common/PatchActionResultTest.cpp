#include <gtest/gtest.h>

#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace vexlo {
namespace {

TEST(PatchActionResultTest, FormatsItsDescription) {
  using Result = PatchActionResult;
  EXPECT_EQ(describe(Result::failure(PlainReason::unDefined)), "failure(unDefined)");
  EXPECT_EQ(describe(Result::applyLater(MacOSUpdateIsDeferred{})),
            "applyLater(macOSUpdateIsDeferred(nil))");
  EXPECT_EQ(describe(Result::success(
                GotUserAcknowledgementForPatchingRunningApplications{{{"com.a", "A"}}})),
            "success(gotUserAcknowledgementForPatchingRunningApplications([\"com.a\": \"A\"]))");
}

}  // namespace
}  // namespace vexlo
