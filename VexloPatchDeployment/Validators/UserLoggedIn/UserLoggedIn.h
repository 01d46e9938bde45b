// Answers who is logged in: at the console, and how many.
#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace vexlo {

class UserSessionProvider {
 public:
  virtual ~UserSessionProvider() = default;
  /// The short name of the user logged in at the console, or "NOUSERNAME".
  [[nodiscard]] virtual std::string currentConsoleUserName() = 0;
  /// The names of the users logged on, separated by ","; absent when nobody is.
  [[nodiscard]] virtual std::optional<std::string> loggedOnUsers() = 0;
  /// The numeric id of a user's account; absent when there is no such account. Asks the agent's
  /// library unless it is overridden.
  [[nodiscard]] virtual std::optional<std::uint32_t> userID(const std::string& name);
};

/// Asks the agent library anew on every call.
class SystemUserSession final : public UserSessionProvider {
 public:
  [[nodiscard]] std::string currentConsoleUserName() override;
  [[nodiscard]] std::optional<std::string> loggedOnUsers() override;
};

/// Decides from the sessions of the moment. The name "NOUSERNAME" in any letter case and an
/// absent list count as nobody. Stateless; used from one thread at a time.
class UserLoginStatusChecker {
 public:
  /// `userSessionProvider` must outlive this object.
  explicit UserLoginStatusChecker(UserSessionProvider& userSessionProvider);

  /// Whether someone is logged in at the console.
  [[nodiscard]] bool isUserLoggedIn();
  /// Whether exactly one user is logged on.
  [[nodiscard]] bool isSingleUserLoggedIn();

 private:
  UserSessionProvider& userSessionProvider_;
};

}  // namespace vexlo
