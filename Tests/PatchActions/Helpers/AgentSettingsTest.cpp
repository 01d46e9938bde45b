#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"

namespace vexlo {
namespace {

TEST(AgentSettingsTest, OnlyTheExactTypeAndValueEnables) {
  const TemporaryDirectory directory;
  const LogCapture log;
  PlistFile plist(directory.file("vxpatch_data.plist"));
  MDMPatchingStatusChecker patching(plist);
  MacOSUpdateDeferralEligibilityChecker deferral(plist);
  struct Row {
    std::string value;
    bool patchesByMDM = false;
    bool deferralIsDisabled = false;
  };
  for (const Row& row :
       {Row{"<integer>1</integer>", true, false}, Row{"<real>1</real>", true, false},
        Row{"<real>1.5</real>"}, Row{"<integer>0</integer>"}, Row{"<true/>", false, true},
        Row{"<false/>"}, Row{"<string>1</string>"}, Row{"<string>true</string>"},
        Row{"<array><true/></array>"}}) {
    SCOPED_TRACE(row.value);
    directory.write("vxpatch_data.plist", "<plist><dict><key>OSPatchingViaMDMStatus</key>" +
                                              row.value +
                                              "<key>DisableMacOSUpdateDeferralCheck</key>" +
                                              row.value + "</dict></plist>");
    EXPECT_EQ(patching.isEnabled(), row.patchesByMDM);
    EXPECT_EQ(deferral.isDisabled(), row.deferralIsDisabled);
  }
}

}  // namespace
}  // namespace vexlo
