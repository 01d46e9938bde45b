// Sessions that a test makes up.
#pragma once
#include <optional>
#include <string>

#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// Answers with its public fields.
class FakeUserSessionProvider final : public UserSessionProvider {
 public:
  std::string consoleUser = "alice";
  std::optional<std::string> users = "alice";
  std::string currentConsoleUserName() override { return consoleUser; }
  std::optional<std::string> loggedOnUsers() override { return users; }
};

}  // namespace vexlo
