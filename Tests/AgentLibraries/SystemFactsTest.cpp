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
#include "Platform/Process.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vxutils {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
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
  platform::ProcessResult run;
  EnrollmentType expected;
};
class EnrollmentTest : public ::testing::TestWithParam<EnrollmentCase> {};

TEST_P(EnrollmentTest, FollowsTheReport) {
  const LogCapture log;
  EXPECT_EQ(enrollmentToldBy(GetParam().run), GetParam().expected);
  EXPECT_THAT(log.records(), IsEmpty());
}

using enum EnrollmentType;
INSTANTIATE_TEST_SUITE_P(
    Reports, EnrollmentTest,
    ::testing::Values(
        EnrollmentCase{
            "DEP", {.output = "warning: MDM\nEnrolled via DEP: Yes\nMDM enrollment: Yes"}, dep},
        EnrollmentCase{"UserApproved",
                       {.output = "Enrolled via DEP: No\r\n  MDM enrollment:  Yes (User Approved)"
                                  "\r\nMDM server: https://mdm.example/Yes\n"},
                       user_approved},
        EnrollmentCase{"OnlyForeseen",
                       {.output = "Enrolled via DEP: Yes\nMDM enrollment: No\n"},
                       not_enrolled},
        EnrollmentCase{"OldToolWithDEP", {.output = "Enrolled via DEP: Yes\n"}, dep},
        EnrollmentCase{"OtherWord", {.output = "MDM enrollment: Yesterday\n"}, not_enrolled},
        EnrollmentCase{"Empty", {}, not_enrolled},
        EnrollmentCase{"StatusNotKnown",
                       {.exitCode = platform::ProcessResult::kUnknownStatus,
                        .output = "MDM enrollment: Yes\n"},
                       user_approved}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(EnrollmentTest, WithoutAReportItIsNotEnrolledAndTheLogSaysWhy) {
  const LogCapture log;
  const auto notStarted = [](std::errc error, std::int32_t status) {
    return platform::ProcessResult{.exitCode = status, .startError = std::make_error_code(error)};
  };
  constexpr const char* kReport = "MDM enrollment: Yes";
  for (const platform::ProcessResult& run :
       {notStarted(std::errc::no_such_file_or_directory, 127),
        notStarted(std::errc::permission_denied, 126),
        notStarted(std::errc::not_enough_memory, 127),
        platform::ProcessResult{.exitCode = 127, .output = kReport},
        platform::ProcessResult{.exitCode = platform::ProcessResult::kUnknownStatus,
                                .output = kReport,
                                .timedOut = true}}) {
    EXPECT_EQ(enrollmentToldBy(run), not_enrolled);
  }
  const std::string couldNotStart =
      "Could not start /usr/bin/profiles, considering it as not enrolled: ";
  const std::string failed =
      "/usr/bin/profiles failed, considering it as not enrolled. Exit code: ";
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("No /usr/bin/profiles here, considering it as not "
                                         "enrolled."),
                                LoggedBy("vxutils/MDMEnrollmentUtil", "getEnrollmentType()")),
                          ErrorLine(couldNotStart + "Permission denied."),
                          ErrorLine(couldNotStart + "Cannot allocate memory."),
                          ErrorLine(failed + "127, timed out: false, output: " + kReport),
                          ErrorLine(failed + "-1, timed out: true, output: " + kReport)));
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

TEST_F(NotificationsTest, WhatIsPostedDuringTheHandOverOvertakesNothing) {
  std::int32_t posted = 3;
  putNotification(1, nullptr);
  putNotification(2, nullptr);
  setNotificationHandler([&](std::int32_t code, void* argument) {
    shown.emplace_back(code, argument);
    if (posted < 5) {
      putNotification(posted++, nullptr);
    }
  });
  EXPECT_THAT(shown,
              ElementsAre(Pair(1, nullptr), Pair(2, nullptr), Pair(3, nullptr), Pair(4, nullptr)));
}

TEST_F(NotificationsTest, AHandlerMayReplaceItself) {
  putNotification(0, nullptr);
  setNotificationHandler([this](std::int32_t, void*) { setNotificationHandler(recorder()); });
  putNotification(1, nullptr);
  EXPECT_THAT(shown, ElementsAre(Pair(1, nullptr)));
}

}  // namespace
}  // namespace vxutils
