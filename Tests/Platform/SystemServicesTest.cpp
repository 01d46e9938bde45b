// Sockets, volume, sessions, languages and power supplies as this system tells of them.
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Platform/Linux/PowerSupplies.h"
#include "Platform/LocalSocket.h"
#include "Platform/Machine.h"
#include "Platform/Users.h"
#include "Platform/Volume.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pointee;

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
  const auto client = connectLocalSocket(path);
  ASSERT_TRUE(client) << client.error();
  EXPECT_EQ(peerUserID(*client), ::geteuid());
  const Descriptor server(::accept(listener->get(), nullptr, nullptr));
  EXPECT_EQ(peerUserID(server), ::geteuid());
  EXPECT_EQ(peerUserID(Descriptor()), std::nullopt);
}

TEST(LocalSocketTest, APathThatCanHoldNoSocketIsAnError) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("file", "kept");
  EXPECT_EQ(listenOnLocalSocket(file).error(), "Address already in use");
  EXPECT_EQ(folder.read("file"), "kept");
  EXPECT_EQ(listenOnLocalSocket(folder.file(std::string(200, 'x'))).error(), "File name too long");
  EXPECT_EQ(connectLocalSocket("").error(), "Invalid argument");
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

/// Puts a file of session records in the place of the system's.
class SessionsTest : public ::testing::Test {
 protected:
  ~SessionsTest() override { ::utmpxname(_PATH_UTMP); }

  void add(const std::string& user, const std::string& line, const std::string& host = "",
           short type = USER_PROCESS) {
    utmpx entry{};
    entry.ut_type = type;
    user.copy(entry.ut_user, sizeof entry.ut_user);
    line.copy(entry.ut_line, sizeof entry.ut_line);
    host.copy(entry.ut_host, sizeof entry.ut_host);
    std::ofstream(path_, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(&entry), sizeof entry);
    ::utmpxname(path_.c_str());
  }

 private:
  TemporaryDirectory folder_;
  std::string path_ = folder_.file("utmp");
};

TEST_F(SessionsTest, EveryUserCountsOnceInTheOrderOfTheRecords) {
  const std::string longName(sizeof utmpx{}.ut_user, 'x');  // fills its field, without a NUL
  add("reboot", "~", "", BOOT_TIME);
  add("bob", "pts/0", "far.example");
  add("alice", "tty1");
  add("carol", "pts/2", "", DEAD_PROCESS);
  add("bob", "pts/1");
  add(longName, "pts/3");
  EXPECT_THAT(loggedOnUserNames(), ElementsAre("bob", "alice", longName));
}

TEST_F(SessionsTest, TheConsoleIsTheLineOfThatNameElseALocalTerminal) {
  struct stat console{};
  if (::stat("/dev/console", &console) == 0 && console.st_uid != 0) {
    GTEST_SKIP() << "somebody is at the console of this machine";
  }
  add("bob", "pts/0", "far.example");
  add("eve", "tty9", "far.example");
  EXPECT_EQ(consoleUserName(), std::nullopt);
  add("alice", ":0", ":0");
  EXPECT_EQ(consoleUserName(), "alice");
  for (const char* nobody : {"root", "loginwindow", "_mbsetupuser"}) {
    add(nobody, "console");
  }
  EXPECT_EQ(consoleUserName(), "alice");
  add("carol", "console");
  EXPECT_EQ(consoleUserName(), "carol");
}

struct LanguagesCase {
  const char* name;
  const char* language;
  const char* all;
  const char* messages;
  const char* lang;
  std::vector<std::string> expected;
};

class LanguagesTest : public ::testing::TestWithParam<LanguagesCase> {
 protected:
  LanguagesTest() {
    for (const char* variable : kVariables) {
      const char* value = std::getenv(variable);
      former_.emplace_back(variable,
                           value == nullptr ? std::nullopt : std::optional(std::string(value)));
    }
  }
  ~LanguagesTest() override {
    for (const auto& [variable, value] : former_) {
      set(variable, value ? value->c_str() : nullptr);
    }
  }
  static void set(const char* variable, const char* value) {
    value == nullptr ? ::unsetenv(variable) : ::setenv(variable, value, 1);
  }
  static constexpr std::array kVariables = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> former_;
};

TEST_P(LanguagesTest, AreTagsWithTheBestFirst) {
  set("LANGUAGE", GetParam().language);
  set("LC_ALL", GetParam().all);
  set("LC_MESSAGES", GetParam().messages);
  set("LANG", GetParam().lang);
  EXPECT_EQ(preferredLanguages(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Environments, LanguagesTest,
    ::testing::Values(LanguagesCase{"None", nullptr, nullptr, nullptr, nullptr, {}},
                      LanguagesCase{
                          "List", "de:de_AT::fr", nullptr, "fr", "sv_SE", {"de", "de-AT", "fr"}},
                      LanguagesCase{"Lang", "", "", nullptr, "en_US.UTF-8@euro", {"en-US"}},
                      LanguagesCase{"AllBeforeLang", nullptr, "pt_BR", "it", "en_US", {"pt-BR"}},
                      LanguagesCase{"NoLanguage", nullptr, nullptr, "C.UTF-8", "en_US", {}}),
    [](const auto& row) { return std::string(row.param.name); });

using Attributes = std::vector<std::pair<std::string, std::string>>;
constexpr std::int64_t kNone = -1;

struct PowerCase {
  const char* name;
  Attributes files;
  const char* state;  ///< Of the one source; empty when there is none.
  std::int64_t current = kNone;
  std::int64_t maximum = kNone;
};

class PowerSuppliesTest : public ::testing::TestWithParam<PowerCase> {};

TEST_P(PowerSuppliesTest, BatteriesAreDescribedByStateAndCapacity) {
  const TemporaryDirectory root;
  for (const auto& [file, value] : GetParam().files) {
    root.write(file, value + "\n");
  }
  const std::vector<PropertyList> sources = readPowerSupplies(root.path());
  if (std::string_view(GetParam().state).empty()) {
    EXPECT_THAT(sources, IsEmpty());
    return;
  }
  ASSERT_EQ(sources.size(), 1U);
  const auto number = [&](const char* key) {
    const PropertyList* value = sources[0].find(key);
    const std::int64_t* integer = value == nullptr ? nullptr : value->as<std::int64_t>();
    return integer == nullptr ? kNone : *integer;
  };
  EXPECT_THAT(sources[0].find("Power Source State"), Pointee(PropertyList(GetParam().state)));
  EXPECT_EQ(number("Current Capacity"), GetParam().current);
  EXPECT_EQ(number("Max Capacity"), GetParam().maximum);
}

Attributes with(Attributes some, const Attributes& more) {
  some.insert(some.end(), more.begin(), more.end());
  return some;
}
Attributes battery(const std::string& status, const Attributes& more = {}) {
  return with({{"BAT0/type", "Battery"}, {"BAT0/status", status}}, more);
}
const Attributes kMainsOn = {{"AC/type", "Mains"}, {"AC/online", "1"}};
const Attributes kMainsOff = {{"AC/type", "Mains"}, {"AC/online", "0"}};
const Attributes kChargeAndEnergy = {{"BAT0/charge_now", "1"},
                                     {"BAT0/charge_full", "2"},
                                     {"BAT0/energy_now", "30000000"},
                                     {"BAT0/energy_full", "40000000"}};

INSTANTIATE_TEST_SUITE_P(
    Folders, PowerSuppliesTest,
    ::testing::Values(
        PowerCase{"Nothing", {}, ""}, PowerCase{"MainsAlone", kMainsOn, ""},
        PowerCase{"DischargingWithEnergy", battery("Discharging", kChargeAndEnergy),
                  "Battery Power", 30000000, 40000000},
        PowerCase{"DischargingOnAWeakAdapter",
                  with(battery("Discharging", {{"BAT0/capacity", "45"}}), kMainsOn),
                  "Battery Power", 45, 100},
        PowerCase{"Charge",
                  battery("Charging", {{"BAT0/charge_now", "5"}, {"BAT0/charge_full", "9"}}),
                  "AC Power", 5, 9},
        PowerCase{
            "ZeroFullFallsBack",
            battery("Full",
                    {{"BAT0/energy_now", "0"}, {"BAT0/energy_full", "0"}, {"BAT0/capacity", "99"}}),
            "AC Power", 99, 100},
        PowerCase{"FullButUnplugged", with(battery("Full"), kMainsOff), "Battery Power"},
        PowerCase{"UnknownOnMains", with(battery("Unknown"), kMainsOn), "AC Power"},
        PowerCase{"UnknownAlone", battery("Unknown"), "Battery Power"},
        PowerCase{"HeldBelowFull", battery("Not charging"), "AC Power"},
        PowerCase{"NoNumber", battery("Charging", {{"BAT0/capacity", "many"}}), "AC Power"},
        PowerCase{"EmptyBay", battery("Unknown", {{"BAT0/present", "0"}}), ""},
        PowerCase{"Mouse", battery("Discharging", {{"BAT0/scope", "Device"}}), ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PowerSourcesTest, ComeInTheOrderOfTheirNamesWithTheirKinds) {
  const TemporaryDirectory root;
  root.write("ups1/type", "UPS\n");
  root.write("BAT1/type", "Battery\n");
  root.write("BAT0/type", "Battery\n");
  std::vector<PropertyList> names;
  for (const PropertyList& source : readPowerSupplies(root.path())) {
    for (const char* key : {"Name", "Type"}) {
      const PropertyList* value = source.find(key);
      names.push_back(value == nullptr ? PropertyList("missing") : *value);
    }
  }
  EXPECT_THAT(names,
              ElementsAre("BAT0", "InternalBattery", "BAT1", "InternalBattery", "ups1", "UPS"));
  EXPECT_THAT(readPowerSupplies(root.file("missing")), IsEmpty());
}

}  // namespace
}  // namespace platform
