// Sockets, volume, sessions, languages and power supplies as this system tells of them.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Linux/PowerSupplies.h"
#include "Platform/LocalSocket.h"
#include "Platform/Users.h"
#include "Platform/Volume.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using ::testing::ElementsAre;

TEST(LocalSocketTest, ConnectsToItsOwnersSocketAndKnowsThePeer) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("service.sock");
  EXPECT_EQ(connectLocalSocket(path).error(), "No such file or directory");
  {
    EXPECT_TRUE(listenOnLocalSocket(path));
  }
  EXPECT_EQ(connectLocalSocket(path).error(), "Connection refused");  // its server is gone

  const auto listener = listenOnLocalSocket(path);  // takes the old one's place
  ASSERT_TRUE(listener) << listener.error();
  struct stat status{};
  ::stat(path.c_str(), &status);
  EXPECT_EQ(status.st_mode & ACCESSPERMS, 0600U);
  EXPECT_FALSE(acceptLocalSocket(*listener)) << "nobody has come yet";
  const auto client = connectLocalSocket(path);
  ASSERT_TRUE(client) << client.error();
  EXPECT_EQ(peerUserID(*client), ::geteuid());
  EXPECT_EQ(peerUserID(*acceptLocalSocket(*listener)), ::geteuid());
  EXPECT_EQ(peerUserID(Descriptor()), std::nullopt);
  EXPECT_EQ(sendWithoutWaiting(*client, "x"), -1) << "the peer has gone, and no signal was raised";

  EXPECT_EQ(listenOnLocalSocket(folder.write("file", "kept")).error(), "Address already in use");
  EXPECT_EQ(folder.read("file"), "kept");
  EXPECT_EQ(listenOnLocalSocket(folder.file(std::string(200, 'x'))).error(), "File name too long");
}

TEST(VolumeTest, TellsTheFreeBytesOrWhyNot) {
  const TemporaryDirectory folder;
  const auto capacity = availableCapacity(folder.path());
  ASSERT_TRUE(capacity) << capacity.error();
  const auto expected = static_cast<double>(std::filesystem::space(folder.path()).available);
  EXPECT_NEAR(static_cast<double>(capacity->value_or(-1)), expected, 1e9);
  EXPECT_EQ(availableCapacity("/proc"), std::nullopt);
  EXPECT_EQ(availableCapacity(folder.file("missing")).error(), "No such file or directory");
}

TEST(AccountTest, OnlyAnExistingNameHasAnId) {
  EXPECT_EQ(userID("root"), 0U);
  EXPECT_EQ(userID("nobody-of-that-name"), std::nullopt);
  EXPECT_EQ(userID(""), std::nullopt);
}

TEST(SessionsTest, EveryUserIsLoggedOnOnceAndOneAtTheConsole) {
  const TemporaryDirectory folder;
  const std::string path = folder.file("utmp");  // takes the place of the system's records
  ::utmpxname(path.c_str());
  const auto add = [&](const std::string& user, const std::string& line,
                       const std::string& host = "", short type = USER_PROCESS) {
    utmpx entry{};
    entry.ut_type = type;
    user.copy(entry.ut_user, sizeof entry.ut_user);
    line.copy(entry.ut_line, sizeof entry.ut_line);
    host.copy(entry.ut_host, sizeof entry.ut_host);
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(&entry), sizeof entry);
  };
  const std::string longName(sizeof utmpx{}.ut_user, 'x');  // fills its field, without a NUL
  add("reboot", "~", "", BOOT_TIME);
  add("bob", "pts/0", "far.example");
  add("eve", "tty9", "far.example");
  add("carol", "pts/2", "", DEAD_PROCESS);
  add("bob", "pts/1");
  add(longName, "pts/3");
  EXPECT_THAT(loggedOnUserNames(), ElementsAre("bob", "eve", longName));
  struct stat console{};
  if (::stat("/dev/console", &console) != 0 || console.st_uid == 0) {  // nobody is at the real one
    EXPECT_EQ(consoleUserName(), std::nullopt);
    add("alice", ":0", ":0");
    for (const char* nobody : {"root", "loginwindow", "_mbsetupuser"}) {
      add(nobody, "console");
    }
    EXPECT_EQ(consoleUserName(), "alice");
    add("carol", "console");
    EXPECT_EQ(consoleUserName(), "carol");
  }
  ::utmpxname(_PATH_UTMP);
}

using Attributes = std::map<std::string, std::string>;  // values by the names of the files

struct PowerCase {
  Attributes battery;
  const char* mains;    ///< Whether the adapter is online; empty when there is none.
  const char* summary;  ///< Of the one source; empty when there is none.
};

/// Such as "Battery Power 45/100"; without numbers when the capacities are not known.
std::string summaryOf(const std::vector<PropertyList>& sources) {
  std::string summary;
  for (const PropertyList& source : sources) {
    summary += *source.find("Power Source State")->as<std::string>();
    const PropertyList* const current = source.find("Current Capacity");
    const PropertyList* const maximum = source.find("Max Capacity");
    if (current != nullptr && maximum != nullptr) {
      summary += ' ' + describe(*current) + '/' + describe(*maximum);
    }
  }
  return summary;
}

TEST(PowerSuppliesTest, BatteriesAreDescribedByStateAndCapacity) {
  const std::vector<PowerCase> rows{
      {{}, "1", ""},
      {{{"status", "Discharging"},
        {"energy_now", "30"},
        {"energy_full", "40"},
        {"charge_now", "1"}},
       "",
       "Battery Power 30/40"},
      {{{"status", "Discharging"}, {"capacity", "45"}}, "1", "Battery Power 45/100"},
      {{{"status", "Charging"}, {"charge_now", "5"}, {"charge_full", "9"}}, "", "AC Power 5/9"},
      {{{"status", "Full"}, {"energy_now", "0"}, {"energy_full", "0"}, {"capacity", "99"}},
       "",
       "AC Power 99/100"},
      {{{"status", "Full"}}, "0", "Battery Power"},
      {{{"status", "Unknown"}}, "1", "AC Power"},
      {{{"status", "Not charging"}}, "", "AC Power"},
      {{{"status", "Unknown"}, {"present", "0"}}, "", ""},
      {{{"status", "Discharging"}, {"scope", "Device"}}, "", ""}};  // a mouse
  for (const PowerCase& row : rows) {
    const TemporaryDirectory root;
    for (const auto& [file, value] : row.battery) {
      root.write("BAT0/type", "Battery\n");
      root.write("BAT0/" + file, value + "\n");
    }
    if (*row.mains != '\0') {
      root.write("AC/type", "Mains\n");
      root.write("AC/online", row.mains);
    }
    EXPECT_EQ(summaryOf(readPowerSupplies(root.path())), row.summary)
        << ::testing::PrintToString(row.battery);
  }
}

}  // namespace
}  // namespace platform
