#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
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

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SessionNamesTest, NamesThatAreNobodysSessionAreNobody) {
  for (const char* name : {"", "root", "loginwindow", "_mbsetupuser"}) {
    EXPECT_EQ(consoleUserOrNobody(name), "NOUSERNAME") << name;
  }
  EXPECT_EQ(consoleUserOrNobody(std::nullopt), "NOUSERNAME");
  EXPECT_EQ(consoleUserOrNobody("Root"), "Root");
  EXPECT_EQ(joinedNames({}), std::nullopt);
  EXPECT_EQ(joinedNames({"alice", "bob"}), "alice,bob");
}

using enum EnrollmentType;

TEST(EnrollmentTest, FollowsTheReport) {
  const LogCapture log;
  const std::vector<std::pair<const char*, EnrollmentType>> rows{
      {"warning: MDM\nEnrolled via DEP: Yes\nMDM enrollment: Yes", dep},
      {"Enrolled via DEP: No\r\n  MDM enrollment:  Yes (User Approved)\r\n", user_approved},
      {"Enrolled via DEP: Yes\nMDM enrollment: No\nMDM server: https://mdm.example/Yes\n",
       not_enrolled},
      {"Enrolled via DEP: Yes\n", dep},  // of an old tool
      {"MDM enrollment: Yesterday\n", not_enrolled},
      {"", not_enrolled}};
  for (const auto& [report, expected] : rows) {
    for (const std::int32_t status : {0, platform::ProcessResult::kUnknownStatus + 0}) {
      EXPECT_EQ(enrollmentToldBy({.exitCode = status, .output = report}), expected) << report;
    }
  }
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(EnrollmentTest, WithoutAReportItIsNotEnrolledAndTheLogSaysWhy) {
  const LogCapture log;
  const auto notStarted = [](std::errc error) {
    return platform::ProcessResult{.exitCode = 127, .startError = std::make_error_code(error)};
  };
  constexpr const char* kReport = "MDM enrollment: Yes";
  for (const platform::ProcessResult& run :
       {notStarted(std::errc::no_such_file_or_directory), notStarted(std::errc::not_enough_memory),
        platform::ProcessResult{.exitCode = 127, .output = kReport},
        platform::ProcessResult{.exitCode = -1, .output = kReport, .timedOut = true}}) {
    EXPECT_EQ(enrollmentToldBy(run), not_enrolled);
  }
  const std::string tool = "/usr/bin/profiles";
  const std::string answer = ", considering it as not enrolled";
  const std::string failed = tool + " failed" + answer + ". Exit code: ";
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("No " + tool + " here" + answer + "."),
                        LoggedBy("vxutils/MDMEnrollmentUtil", "getEnrollmentType()")),
                  ErrorLine("Could not start " + tool + answer + ": Cannot allocate memory."),
                  ErrorLine(failed + "127, timed out: false, output: " + kReport),
                  ErrorLine(failed + "-1, timed out: true, output: " + kReport)));
}

class NotificationsTest : public ::testing::Test {
 protected:
  ~NotificationsTest() override { setNotificationHandler({}); }
  std::vector<std::int32_t> shown;
  const NotificationHandler recorder = [this](std::int32_t code, void*) { shown.push_back(code); };
};

TEST_F(NotificationsTest, WaitForAHandlerAndReachItInOrderAlsoWhenMoreArePostedMeanwhile) {
  putNotification(1, nullptr);
  putNotification(2, nullptr);
  setNotificationHandler([&](std::int32_t code, void*) {
    shown.push_back(code);
    if (code == 1) {
      putNotification(3, nullptr);
    }
  });
  putNotification(4, nullptr);
  setNotificationHandler(recorder);  // is shown none of them again
  EXPECT_THAT(shown, ElementsAre(1, 2, 3, 4));
}

TEST_F(NotificationsTest, AHandlerMayReplaceItself) {
  putNotification(0, nullptr);
  setNotificationHandler([&](std::int32_t, void*) { setNotificationHandler(recorder); });
  putNotification(1, nullptr);
  EXPECT_THAT(shown, ElementsAre(1));
}

}  // namespace
}  // namespace vxutils
