// Sockets, sessions and power supplies as this system tells of them.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Linux/PowerSupplies.h"
#include "Platform/LocalSocket.h"
#include "Platform/Users.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

TEST(LocalSocketTest, ConnectsToItsOwnersSocketAndKnowsThePeer) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("service.sock");
  EXPECT_TRUE(listenOnLocalSocket(path));  // and is gone again
  EXPECT_EQ(connectLocalSocket(path).error(), "Connection refused");
  const auto listener = listenOnLocalSocket(path);  // takes the old one's place
  ASSERT_TRUE(listener) << listener.error();
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(path).permissions(), perms::owner_read | perms::owner_write);
  EXPECT_FALSE(acceptLocalSocket(*listener)) << "nobody has come yet";
  const auto client = connectLocalSocket(path);
  ASSERT_TRUE(client);
  EXPECT_EQ(peerUserID(*client), ::geteuid());
  EXPECT_EQ(peerUserID(*acceptLocalSocket(*listener)), ::geteuid());
  EXPECT_EQ(peerUserID(Descriptor()), std::nullopt);
  EXPECT_EQ(sendWithoutWaiting(*client, "x"), -1) << "the peer has gone, and no signal was raised";

  EXPECT_EQ(listenOnLocalSocket(folder.write("file", "kept")).error(), "Address already in use");
  EXPECT_EQ(folder.read("file"), "kept");
}

TEST(SessionsTest, AConsolesUserIsTheOneOfALocalSession) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("utmp");  // takes the place of the system's records
  ::utmpxname(path.c_str());
  const auto add = [&](const std::string& user, const std::string& line, const std::string& host) {
    utmpx entry{};
    entry.ut_type = USER_PROCESS;
    user.copy(entry.ut_user, sizeof entry.ut_user);
    line.copy(entry.ut_line, sizeof entry.ut_line);
    host.copy(entry.ut_host, sizeof entry.ut_host);
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(&entry), sizeof entry);
  };
  const std::string longName(sizeof utmpx{}.ut_user, 'x');  // fills its field, without a NUL
  add("eve", "tty9", "far.example");
  add(longName, "pts/3", "");
  EXPECT_THAT(loggedOnUserNames(), ::testing::ElementsAre("eve", longName));
  struct stat console{};
  if (::stat("/dev/console", &console) != 0 || console.st_uid == 0) {  // nobody is at the real one
    EXPECT_EQ(consoleUserName(), std::nullopt);
    add("alice", ":0", ":0");
    EXPECT_EQ(consoleUserName(), "alice");
  }
  ::utmpxname(_PATH_UTMP);
}

TEST(PowerSuppliesTest, BatteriesAreDescribedByStateAndCapacity) {
  const TemporaryDirectory root;
  const std::vector<std::pair<std::string, std::string>> attributes{
      {"A/status", "Discharging"},     {"A/energy_now", "30"},
      {"A/energy_full", "40"},         {"A/capacity", "1"},
      {"B/status", "Not charging"},    {"B/capacity", "45"},
      {"Mouse/status", "Discharging"}, {"Mouse/scope", "Device"}};
  for (const auto& [name, value] : attributes) {
    root.write(name, value + "\n");
    root.write(name.substr(0, name.find('/')) + "/type", "Battery\n");
  }
  std::string summary;
  for (const PropertyList& source : readPowerSupplies(root.path())) {
    summary += *source.find("Power Source State")->as<std::string>() + ' ' +
               describe(*source.find("Current Capacity")) + '/' +
               describe(*source.find("Max Capacity")) + '\n';
  }
  EXPECT_EQ(summary, "Battery Power 30/40\nAC Power 45/100\n");
}

}  // namespace
}  // namespace platform
