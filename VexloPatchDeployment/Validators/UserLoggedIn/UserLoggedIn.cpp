#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

#include <algorithm>
#include <cstdint>
#include <ranges>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/vxutils/SystemUtil.h"
#include "AgentLibraries/vxutils/SystemUtilsWrapper.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserMeasurements.h"

namespace vexlo {
namespace {

constexpr LogTag kConsoleUserTag{"isUserLoggedIn()"};
constexpr LogTag kSingleUserTag{"isSingleUserLoggedIn()"};

LoggedOnUsersMeasurement loggedOnUsersMeasurement(const std::optional<std::string>& users) {
  LoggedOnUsersMeasurement loggedOn;
  if (users) {
    for (const auto& user : std::views::split(*users, ',')) {
      loggedOn.users.emplace_back(user.begin(), user.end());
    }
  }
  return loggedOn;
}

}  // namespace

std::optional<std::uint32_t> UserSessionProvider::userID(const std::string& name) {
  return vxutils::SystemUtil::shared().uidForUserAccount(name);
}

std::string SystemUserSession::currentConsoleUserName() {
  return vxutils::SystemUtilsWrapper().currentConsoleUserWrapper();
}

std::optional<std::string> SystemUserSession::loggedOnUsers() {
  return vxutils::SystemUtilsWrapper().getLoggedOnUsers();
}

bool UserLoginStatusChecker::isUserLoggedIn() {
  const std::string name = userSessionProvider_.currentConsoleUserName();
  const bool isNobody = equalIgnoringCase(name, "NOUSERNAME");
  measured([&] { return ConsoleUserMeasurement{isNobody ? std::nullopt : std::optional(name)}; });
  if (isNobody) {
    logInfo(kConsoleUserTag, [] { return "No users logged in."; });
    return false;
  }
  const std::optional<std::uint32_t> userID = userSessionProvider_.userID(name);
  logInfo(kConsoleUserTag,
          [&] { return text("User: ", name, " logged in. UID: ", optionalText(userID), "."); });
  return true;
}

bool UserLoginStatusChecker::isSingleUserLoggedIn() {
  const std::optional<std::string> users = userSessionProvider_.loggedOnUsers();
  measured([&] { return loggedOnUsersMeasurement(users); });
  if (!users) {
    logInfo(kSingleUserTag, [] { return "No users logged in - isSingleUserLoggedIn."; });
    return false;
  }
  const bool single = std::ranges::count(*users, ',') == 0;  // empty names count as users, too
  logInfo(kSingleUserTag, [&] {
    return text(single ? "Only one user logged in - " : "More than one user logged in - ", *users,
                ".");
  });
  return single;
}

std::string ConsoleUserMeasurement::words() const {
  return user.value_or("nobody") + " at the console";
}

std::string ConsoleUserMeasurement::json() const {
  return FileCodec::JSONObject().addString("kind", kind).addString("user", user).done();
}

std::string LoggedOnUsersMeasurement::words() const {
  return (users.empty() ? "nobody" : platform::joined(users, ", ")) + " logged on";
}

std::string LoggedOnUsersMeasurement::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addJSON("users", FileCodec::jsonList(users))
      .done();
}

}  // namespace vexlo
