#include <gmock/gmock.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "AgentLibraries/vxutils/EnrollmentStatus.h"
#include "AgentLibraries/vxutils/FileUtils.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentLibraries/vxutils/Notifications.h"
#include "AgentLibraries/vxutils/SessionNames.h"
#include "AgentLibraries/vxutils/SystemUtil.h"
#include "AgentLibraries/vxutils/TrueParentTracking.h"
#include "Platform/Machine.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vxutils {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

TEST(GlobalVarsTest, AnswersWhatTheAgentSetAndElseNothingOrTheMachine) {
  GlobalVars settings;
  EXPECT_EQ(settings.vxagentBasePath(), std::nullopt);
  EXPECT_EQ(settings.isAppleSiliconMachine(), platform::isAppleSilicon());
  settings.setDirectories({.base = "/b", .data = "/d", .logs = std::nullopt});
  EXPECT_EQ(settings.vxagentBasePath(), "/b");
  EXPECT_EQ(settings.vxagentDataDictPath(), "/d");
  EXPECT_EQ(settings.vxagentLogPath(), std::nullopt);
  for (const bool answer : {true, false}) {
    settings.setAppleSiliconMachine(answer);
    EXPECT_EQ(settings.isAppleSiliconMachine(), answer);
  }
}

TEST(FileUtilsTest, RemovesFilesAndLinksButNoDirectories) {
  const TemporaryDirectory directory;
  const FileUtils files;
  const std::string file = directory.write("file", "x");
  std::filesystem::create_symlink(file, directory.file("link"));
  EXPECT_TRUE(files.isFileExist(directory.file("link")));
  EXPECT_EQ(files.removeFile(directory.file("link")), 0);
  EXPECT_TRUE(files.isFileExist(file));
  EXPECT_EQ(files.removeFile(file), 0);
  EXPECT_FALSE(files.isFileExist(file));
  EXPECT_EQ(files.removeFile(file), ENOENT);
  EXPECT_NE(files.removeFile(directory.path()), 0);
  EXPECT_TRUE(files.isFileExist(directory.path()));
}

TEST(SystemUtilTest, KnowsLocalAccounts) {
  EXPECT_EQ(SystemUtil::shared().uidForUserAccount("root"), 0U);
  EXPECT_EQ(SystemUtil::shared().uidForUserAccount("no such account"), std::nullopt);
}

TEST(SessionNamesTest, NamesThatAreNobodysSessionAreNobody) {
  for (const char* name : {"", "root", "loginwindow", "_mbsetupuser"}) {
    EXPECT_EQ(consoleUserOrNobody(name), "NOUSERNAME") << name;
  }
  EXPECT_EQ(consoleUserOrNobody(std::nullopt), "NOUSERNAME");
  EXPECT_EQ(consoleUserOrNobody("Root"), "Root");
}

TEST(SessionNamesTest, JoinsNamesWithCommas) {
  EXPECT_EQ(joinedNames({}), std::nullopt);
  EXPECT_EQ(joinedNames({"alice"}), "alice");
  EXPECT_EQ(joinedNames({"alice", "bob"}), "alice,bob");
}

struct EnrollmentCase {
  const char* name;
  std::int32_t exitCode;
  const char* output;
  EnrollmentType expected;
};
class EnrollmentStatusTest : public ::testing::TestWithParam<EnrollmentCase> {};

TEST_P(EnrollmentStatusTest, FollowsTheReport) {
  EXPECT_EQ(parseEnrollmentStatus(GetParam().exitCode, GetParam().output), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Reports, EnrollmentStatusTest,
    ::testing::Values(
        EnrollmentCase{"DEP", 0, "Enrolled via DEP: Yes\nMDM enrollment: Yes (User Approved)\n",
                       EnrollmentType::dep},
        EnrollmentCase{"UserApproved", 0,
                       "Enrolled via DEP: No\nMDM enrollment: Yes (User Approved)\n"
                       "MDM server: https://mdm.example/Yes\n",
                       EnrollmentType::user_approved},
        EnrollmentCase{"NotApproved", 0, "Enrolled via DEP: No\r\n  MDM enrollment:  Yes\r\n",
                       EnrollmentType::user_approved},
        EnrollmentCase{"NoiseBefore", 0, "warning: MDM\nEnrolled via DEP: Yes\nMDM enrollment: Yes",
                       EnrollmentType::dep},
        EnrollmentCase{"None", 0, "Enrolled via DEP: No\nMDM enrollment: No\n",
                       EnrollmentType::not_enrolled},
        EnrollmentCase{"OnlyForeseen", 0, "Enrolled via DEP: Yes\nMDM enrollment: No\n",
                       EnrollmentType::not_enrolled},
        EnrollmentCase{"OldToolWithDEP", 0, "Enrolled via DEP: Yes\n", EnrollmentType::dep},
        EnrollmentCase{"OldToolWithout", 0, "Enrolled via DEP: No\n", EnrollmentType::not_enrolled},
        EnrollmentCase{"OtherWord", 0, "MDM enrollment: Yesterday\n", EnrollmentType::not_enrolled},
        EnrollmentCase{"Empty", 0, "", EnrollmentType::not_enrolled},
        EnrollmentCase{"FailedTool", 1, "MDM enrollment: Yes\n", EnrollmentType::not_enrolled}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(MDMEnrollmentUtilTest, AMachineWithoutTheToolIsNotEnrolledAndTheLogSaysSo) {
  if (std::filesystem::exists("/usr/bin/profiles")) {
    GTEST_SKIP() << "this machine has the tool";
  }
  LogCapture log;
  EXPECT_EQ(MDMEnrollmentUtil::shared().getEnrollmentType(), EnrollmentType::not_enrolled);
  EXPECT_THAT(log.records(),
              ElementsAre(::testing::AllOf(
                  InfoLine("No /usr/bin/profiles here, considering it as not enrolled."),
                  LoggedBy("vxutils/MDMEnrollmentUtil", "getEnrollmentType()"))));
}

TEST(ProcessInformationTest, RegistrationsAreSharedAndEmptyNamesRefused) {
  ProcessInformation first;
  EXPECT_FALSE(ProcessInformation::isTrueParent("Notifier"));
  EXPECT_TRUE(first.registerAsTrueParent("Notifier"));
  EXPECT_TRUE(ProcessInformation().registerAsTrueParent("Notifier"));
  EXPECT_TRUE(ProcessInformation::isTrueParent("Notifier"));
  EXPECT_FALSE(first.registerAsTrueParent(""));
  EXPECT_FALSE(ProcessInformation::isTrueParent(""));
}

class NotificationsTest : public ::testing::Test {
 protected:
  ~NotificationsTest() override { setNotificationHandler({}); }
  NotificationHandler recorder() {
    return [this](std::int32_t code, void* argument) { shown.emplace_back(code, argument); };
  }
  std::vector<std::pair<std::int32_t, void*>> shown;
  LogCapture log;
};

TEST_F(NotificationsTest, WaitForAHandlerAndReachItInOrder) {
  int argument = 0;
  putNotification(19, nullptr);
  putNotification(7, &argument);
  setNotificationHandler(recorder());
  putNotification(20, nullptr);
  EXPECT_THAT(shown, ElementsAre(Pair(19, nullptr), Pair(7, &argument), Pair(20, nullptr)));
  setNotificationHandler(recorder());
  EXPECT_EQ(shown.size(), 3U) << "shown twice";
}

TEST_F(NotificationsTest, OfTooManyTheOldestGoesAndTheLogSaysSo) {
  for (std::int32_t code = 1; code <= 65; ++code) {
    putNotification(code, nullptr);
  }
  setNotificationHandler(recorder());
  ASSERT_EQ(shown.size(), 64U);
  EXPECT_EQ(shown.front().first, 2);
  EXPECT_EQ(shown.back().first, 65);
  EXPECT_THAT(log.records(), ElementsAre(ErrorLine("Too many notifications wait for a handler, "
                                                   "dropped the oldest, code 1.")));
}

TEST_F(NotificationsTest, AHandlerMayReplaceItself) {
  setNotificationHandler([this](std::int32_t, void*) { setNotificationHandler(recorder()); });
  putNotification(1, nullptr);
  putNotification(2, nullptr);
  EXPECT_THAT(shown, ElementsAre(Pair(2, nullptr)));
}

}  // namespace
}  // namespace vxutils
