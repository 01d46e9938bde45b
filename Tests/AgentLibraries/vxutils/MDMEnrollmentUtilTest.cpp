#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"

#include <gmock/gmock.h>

#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Platform/Process.h"
#include "Tests/Fakes/LogCapture.h"

namespace vxutils {
namespace {

using enum EnrollmentType;

TEST(MDMEnrollmentUtilTest, ParsesTheReport) {
  for (const auto& [report, expected] : std::vector<std::pair<const char*, EnrollmentType>>{
           {"warning: MDM\nEnrolled via DEP: Yes\nMDM enrollment: Yes", dep},
           {"Enrolled via DEP: No\r\n  MDM enrollment:  Yes (User Approved)\r\n", user_approved},
           {"Enrolled via DEP: Yes\nMDM enrollment: No\nMDM server: https://mdm.example/Yes\n",
            not_enrolled},
           {"Enrolled via DEP: Yes\n", dep},  // of an old tool
           {"MDM enrollment: Yesterday\n", not_enrolled}}) {
    EXPECT_EQ(enrollmentFrom({.output = report}), expected) << report;
  }
}

TEST(MDMEnrollmentUtilTest, IsNotEnrolledIfTheToolFailsAndLogsWhy) {
  const LogCapture log;
  const std::error_code noTool = std::make_error_code(std::errc::no_such_file_or_directory);
  const std::string report = "MDM enrollment: Yes";
  EXPECT_EQ(enrollmentFrom({.exitCode = 127, .startError = noTool}), not_enrolled);
  EXPECT_EQ(enrollmentFrom({.output = report, .timedOut = true}), not_enrolled);
  EXPECT_THAT(
      log.records(),
      ::testing::ElementsAre(InfoLine("No /usr/bin/profiles here, considering it as not enrolled."),
                             ErrorLine("/usr/bin/profiles failed, considering it as not enrolled. "
                                       "Exit code: 0, timed out: true, output: " +
                                       report)));
}

}  // namespace
}  // namespace vxutils
