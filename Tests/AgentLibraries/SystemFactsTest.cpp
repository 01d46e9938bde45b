#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/EnrollmentStatus.h"
#include "AgentLibraries/vxutils/Notifications.h"
#include "AgentLibraries/vxutils/SessionNames.h"
#include "Platform/Process.h"
#include "Tests/Fakes/LogCapture.h"

namespace vxutils {
namespace {

using ::testing::ElementsAre;
using enum EnrollmentType;

TEST(SessionNamesTest, NamesThatAreNobodysSessionAreNobody) {
  for (const char* name : {"", "root", "loginwindow", "_mbsetupuser"}) {
    EXPECT_EQ(consoleUserOrNobody(name), "NOUSERNAME") << name;
  }
  EXPECT_EQ(consoleUserOrNobody("Root"), "Root");
}

TEST(EnrollmentTest, FollowsTheReport) {
  for (const auto& [report, expected] : std::vector<std::pair<const char*, EnrollmentType>>{
           {"warning: MDM\nEnrolled via DEP: Yes\nMDM enrollment: Yes", dep},
           {"Enrolled via DEP: No\r\n  MDM enrollment:  Yes (User Approved)\r\n", user_approved},
           {"Enrolled via DEP: Yes\nMDM enrollment: No\nMDM server: https://mdm.example/Yes\n",
            not_enrolled},
           {"Enrolled via DEP: Yes\n", dep},  // of an old tool
           {"MDM enrollment: Yesterday\n", not_enrolled}}) {
    EXPECT_EQ(enrollmentToldBy({.output = report}), expected) << report;
  }
}

TEST(EnrollmentTest, WithoutAReportItIsNotEnrolledAndTheLogSaysWhy) {
  const LogCapture log;
  const std::error_code noTool = std::make_error_code(std::errc::no_such_file_or_directory);
  const std::string report = "MDM enrollment: Yes";
  EXPECT_EQ(enrollmentToldBy({.exitCode = 127, .startError = noTool}), not_enrolled);
  EXPECT_EQ(enrollmentToldBy({.output = report, .timedOut = true}), not_enrolled);
  EXPECT_THAT(log.records(),
              ElementsAre(InfoLine("No /usr/bin/profiles here, considering it as not enrolled."),
                          ErrorLine("/usr/bin/profiles failed, considering it as not enrolled. "
                                    "Exit code: 0, timed out: true, output: " +
                                    report)));
}

TEST(NotificationsTest, WaitForAHandlerAndReachItInOrderAlsoWhenItPostsOrReplacesItself) {
  std::vector<std::int32_t> shown;
  putNotification(1, nullptr);
  putNotification(2, nullptr);
  setNotificationHandler([&](std::int32_t code, void*) {
    shown.push_back(code);
    if (code == 1) {
      putNotification(3, nullptr);
    } else if (code == 2) {
      setNotificationHandler([&](std::int32_t later, void*) { shown.push_back(later); });
    }
  });
  putNotification(4, nullptr);
  setNotificationHandler({});
  EXPECT_THAT(shown, ElementsAre(1, 2, 3, 4));
}

}  // namespace
}  // namespace vxutils
