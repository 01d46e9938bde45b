#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Tests/Fakes/FakeUserSessionProvider.h"
#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

TEST(UserLoggedInTest, EveryNameButOneIsAUserAndEveryCommaAnother) {
  const auto session = std::make_shared<FakeUserSessionProvider>();
  const LogCapture log;
  UserLoginStatusChecker checker(session);
  for (const char* name : {"NoUserName", "root", "no such account", ""}) {
    session->consoleUser = name;
    EXPECT_EQ(checker.isUserLoggedIn(), name != std::string("NoUserName"));
  }
  for (const char* users : {"alice", "", "alice,bob", "alice,", ","}) {
    session->users = users;
    EXPECT_EQ(checker.isSingleUserLoggedIn(), !std::string(users).contains(','));
  }
  session->users = std::nullopt;
  EXPECT_FALSE(checker.isSingleUserLoggedIn());
}

}  // namespace
}  // namespace vexlo
