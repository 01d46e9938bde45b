#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <climits>
#include <fstream>
#include <optional>
#include <string>

#include "Platform/Users.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(UsersTest, ConsoleUserHasALocalSession) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("utmp");  // replaces the system's records
  ::utmpxname(path.c_str());
  const auto add = [&](const std::string& user, const std::string& line, const std::string& host,
                       pid_t process = ::getpid()) {
    utmpx entry{};
    entry.ut_type = USER_PROCESS;
    entry.ut_pid = process;
    user.copy(entry.ut_user, sizeof entry.ut_user);
    line.copy(entry.ut_line, sizeof entry.ut_line);
    host.copy(entry.ut_host, sizeof entry.ut_host);
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(&entry), sizeof entry);
  };
  const std::string longName(sizeof utmpx{}.ut_user, 'x');  // fills its field, without a NUL
  add("eve", "tty9", "far.example");
  add(longName, "pts/3", "");
  add("mallory", ":1", "", INT_MAX);  // no process has this id
  add("nobody's", ":2", "", 0);
  EXPECT_THAT(loggedOnUserNames(), ::testing::ElementsAre("eve", longName));
  struct stat console{};
  if (::stat("/dev/console", &console) != 0 || console.st_uid == 0) {  // no real console user
    EXPECT_EQ(consoleUserName(), std::nullopt);
    add("root", ":0", "");
    EXPECT_EQ(consoleUserName(), std::nullopt);
    add("alice", ":0", ":0");
    EXPECT_EQ(consoleUserName(), "alice");
  }
  ::utmpxname(_PATH_UTMP);
}

TEST(UsersTest, SystemAccountsAreNotPeople) {
  for (const char* name : {"", "root", "loginwindow", "_mbsetupuser"}) {
    EXPECT_TRUE(isSystemAccount(name)) << name;
  }
  EXPECT_FALSE(isSystemAccount("Root"));
}

}  // namespace
}  // namespace platform
