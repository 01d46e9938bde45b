#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

#include <gmock/gmock.h>

#include <memory>

#include "Tests/Fakes/FakeUserSessionProvider.h"
#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;

constexpr auto kFile = "Validators/UserLoggedIn/UserLoggedIn";

class UserLoginStatusCheckerTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeUserSessionProvider> session = std::make_shared<FakeUserSessionProvider>();
  LogCapture log;
  UserLoginStatusChecker checker{session};
};

TEST_F(UserLoginStatusCheckerTest, AnyConsoleUserButNousernameIsLoggedIn) {
  session->consoleUser = "NoUserName";
  EXPECT_FALSE(checker.isUserLoggedIn());
  session->consoleUser = "root";
  EXPECT_TRUE(checker.isUserLoggedIn());
  session->consoleUser = "no such account";
  EXPECT_TRUE(checker.isUserLoggedIn());
  session->consoleUser = "";
  EXPECT_TRUE(checker.isUserLoggedIn());
  EXPECT_THAT(log.records(), ElementsAre(AllOf(InfoLine("No users logged in."),
                                               LoggedBy(kFile, "isUserLoggedIn()")),
                                         InfoLine("User: root logged in. UID: Optional(0)."),
                                         InfoLine("User: no such account logged in. UID: nil."),
                                         InfoLine("User:  logged in. UID: nil.")));
}

TEST_F(UserLoginStatusCheckerTest, ASingleUserIsAListWithoutComma) {
  for (const char* several : {"alice,bob", "alice,alice", "alice,", ","}) {
    session->users = several;
    EXPECT_FALSE(checker.isSingleUserLoggedIn()) << several;
  }
  log.clear();
  session->users = "alice";
  EXPECT_TRUE(checker.isSingleUserLoggedIn());
  session->users = "";
  EXPECT_TRUE(checker.isSingleUserLoggedIn());
  session->users = "alice,bob";
  EXPECT_FALSE(checker.isSingleUserLoggedIn());
  session->users = std::nullopt;
  EXPECT_FALSE(checker.isSingleUserLoggedIn());
  EXPECT_THAT(log.records(), ElementsAre(AllOf(InfoLine("Only one user logged in - alice."),
                                               LoggedBy(kFile, "isSingleUserLoggedIn()")),
                                         InfoLine("Only one user logged in - ."),
                                         InfoLine("More than one user logged in - alice,bob."),
                                         InfoLine("No users logged in - isSingleUserLoggedIn.")));
}

}  // namespace
}  // namespace vexlo
