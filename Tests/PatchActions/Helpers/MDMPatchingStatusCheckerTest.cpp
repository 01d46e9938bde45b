#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "Tests/Fakes/FakePlistManager.h"
#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using platform::PropertyList;

TEST(MDMPatchingStatusCheckerTest, NeedsTheNumberOneAndNoOtherWordThanTrue) {
  const PropertyList one = std::int64_t{1};
  const std::string unknown =
      "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled";
  const std::string enabled = "MDM patching is enabled - ";
  struct Case {
    PropertyList status;
    PropertyList word;
    std::string line;
  };
  for (const auto& [status, word, line] :
       std::vector<Case>{{std::int64_t{0}, "true", unknown},
                         {true, "true", unknown},
                         {PropertyList::Value(1.0), "TRUE", enabled + "Optional(\"TRUE\")."},
                         {one, false, enabled + "nil."},
                         {one, "yes", "MDM patching is disabled - Optional(\"yes\")."},
                         {one, "", "MDM patching is disabled - Optional(\"\")."}}) {
    const auto plist = std::make_shared<FakePlistManager>();
    plist->values = {{"OSPatchingViaMDMStatus", status}, {"IsMDMPatchingEnabled", word}};
    const LogCapture log;
    EXPECT_EQ(MDMPatchingStatusChecker(plist).isEnabled(), line.starts_with(enabled));
    EXPECT_EQ(log.records().back().message, line);
  }
}

}  // namespace
}  // namespace vexlo
