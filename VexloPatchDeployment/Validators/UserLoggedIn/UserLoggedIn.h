// Checks who is logged in, and how many users are.
#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace vexlo {

/// An evaluation of recorded facts replaces it.
class UserSessionProvider {
 public:
  virtual ~UserSessionProvider() = default;
  /// The short name of the console user, or "NOUSERNAME".
  [[nodiscard]] virtual std::string currentConsoleUserName() = 0;
  /// The names of the logged-on users, separated by ","; absent if there are none.
  [[nodiscard]] virtual std::optional<std::string> loggedOnUsers() = 0;
  /// The numeric id of a user's account; absent when there is no such account. Asks the agent's
  /// library unless it is overridden.
  [[nodiscard]] virtual std::optional<std::uint32_t> userID(const std::string& name);
};

/// Asks the agent library on every call.
class SystemUserSession final : public UserSessionProvider {
 public:
  [[nodiscard]] std::string currentConsoleUserName() override;
  [[nodiscard]] std::optional<std::string> loggedOnUsers() override;
};

/// Asks for the sessions on every call. The name "NOUSERNAME" in any letter case and an absent list
/// count as no user. Not thread-safe.
class UserLoginStatusChecker {
 public:
  /// `userSessionProvider` must outlive this object.
  explicit UserLoginStatusChecker(UserSessionProvider& userSessionProvider)
      : userSessionProvider_(userSessionProvider) {}

  /// Whether a user is logged in at the console.
  [[nodiscard]] bool isUserLoggedIn();
  /// Whether exactly one user is logged on.
  [[nodiscard]] bool isSingleUserLoggedIn();

 private:
  UserSessionProvider& userSessionProvider_;
};

}  // namespace vexlo
