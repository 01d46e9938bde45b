// Tests Platform/macOS with stand-ins for the system's functions. Each test also checks that all
// references were released.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/Calendar.h"
#include "Platform/Machine.h"
#include "Platform/Posix/SystemVersion.h"
#include "Platform/PowerSources.h"
#include "Platform/RunLoop.h"
#include "Platform/Users.h"
#include "Platform/Volume.h"
#include "Platform/macOS/Conversions.h"
#include "Tests/Platform/macOS/StandIns/System.h"

namespace platform {
namespace {

using namespace stand_in;              // NOLINT(google-build-using-namespace)
using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)
using namespace std::string_literals;  // NOLINT(google-build-using-namespace)

class MacOSTest : public ::testing::Test {
 protected:
  MacOSTest() {
    (void)CFRunLoopGetCurrent();  // lives as long as the thread
    before = objectsAlive();
  }
  ~MacOSTest() override {
    machine = {};
    EXPECT_EQ(objectsAlive(), before) << "a reference was lost or kept";
  }
  int before = 0;
};

TEST_F(MacOSTest, ConvertsObjectsToPropertyLists) {
  constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
  const std::vector<std::pair<CFTypeRef, PropertyList>> values{
      {made(u"caf\u00e9 \U0001F50B"s), "caf\u00e9 \U0001F50B"},
      {made(u"a\0b"s), std::string("a\0b", 3)},
      {made(std::u16string{u'a', char16_t{0xD83D}}), "a?"},
      {made(std::u16string{char16_t{0xDC00}, u'a', char16_t{0xD83D}, u'\u00e9'}), "?a?\u00e9"},
      {made(u""s), ""},
      {made(Number{kSmallest}), kSmallest},
      {made(Number{-1}), -1L},
      {made(Number{Integer{INT64_MAX} * 4}), "<described>"},
      {made(Number{.real = 45.0}), PropertyList::Value(45.0)},
      {made(true), true},
      {made(Date{-1.5}), PropertyList::Value(PropertyListDate{-1.5})},
      {made(Data{"x"}), PropertyList::Value(PropertyList::Data{std::byte{'x'}})},
      {made(Data{""}), PropertyList::Value(PropertyList::Data{})},
      {array({made(false), nullptr, made(Other{})}), PropertyList::Array{false, "", "<described>"}},
      {dictionary({{made(u"k"s), made(Other{.hasDescription = false})}}),
       PropertyList::Dictionary{{"k", ""}}},
      {dictionary({{made(Number{1}), made(u"x"s)}}), "<described>"},
      {dictionary({}), PropertyList::Dictionary{}},
      {nullptr, ""},
  };
  for (std::size_t index = 0; index < values.size(); ++index) {
    const Owned<CFTypeRef> value(values[index].first);
    EXPECT_EQ(propertyListOf(value.get()), values[index].second) << index;
  }
  EXPECT_FALSE(coreFoundationText("\xff"));
  EXPECT_FALSE(coreFoundationText("\xa9"));
}

TEST_F(MacOSTest, ListsPowerSourcesInTheSystemsOrder) {
  EXPECT_TRUE(powerSources().empty()) << "no information";
  machine.powerInformation.reset(made(Other{}));
  EXPECT_TRUE(powerSources().empty()) << "no list";
  machine.powerSources.reset(
      array({dictionary({{made(u"Current Capacity"s), made(Number{45})}}), made(u"odd"s)}));
  const std::vector<PropertyList> expected{PropertyList::Dictionary{{"Current Capacity", 45L}},
                                           "odd"};
  EXPECT_EQ(powerSources(), expected);
  machine.describesPowerSources = false;
  EXPECT_EQ(powerSources(), expected) << "the elements themselves";
}

TEST_F(MacOSTest, CapacityIsANumberAbsentOrTheSystemsError) {
  EXPECT_EQ(availableCapacity("/").value(), std::nullopt);
  EXPECT_EQ(machine.volume, "/");
  EXPECT_TRUE(machine.volumeIsDirectory);
  machine.capacity.reset(made(Number{20'000'000'000}));
  EXPECT_EQ(availableCapacity("/x").value(), 20'000'000'000);
  EXPECT_FALSE(machine.volumeIsDirectory);
  machine.capacity.reset(made(Number{.real = 20.0}));
  EXPECT_EQ(availableCapacity("/").value(), 20);
  for (const CFTypeRef odd :
       {made(u"20"s), made(Number{.real = 0.5}), made(Number{.real = 0x1p63})}) {
    machine.capacity.reset(odd);
    EXPECT_EQ(availableCapacity("/").value(), std::nullopt);
  }
  EXPECT_EQ(availableCapacity("").error(), "there is no volume at this path");
  machine.capacityError = u"It isn\u2019t there.";
  EXPECT_EQ(availableCapacity("/").error(), "It isn\u2019t there.");
  machine.capacityError = u"";
  EXPECT_EQ(availableCapacity("/").error(), "The system gives no reason");
}

TEST_F(MacOSTest, ConsoleUserIsAPerson) {
  EXPECT_EQ(consoleUserName(), std::nullopt);
  machine.consoleUser.reset(made(u"loginwindow"s));
  EXPECT_EQ(consoleUserName(), std::nullopt);
  machine.consoleUser.reset(made(u"ren\u00e9e"s));
  EXPECT_EQ(consoleUserName(), "ren\u00e9e");
}

TEST_F(MacOSTest, ReadsProcessorVersionAndLanguages) {
  constexpr auto number = [](int value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
  };
  EXPECT_FALSE(isAppleSilicon()) << "Intel hardware doesn't know the name";
  EXPECT_EQ(productVersionFromKernel(), std::nullopt);
  machine.kernel = {{"hw.optional.arm64", number(0)}, {"kern.osproductversion", ""}};
  EXPECT_FALSE(isAppleSilicon());
  EXPECT_EQ(productVersionFromKernel(), std::nullopt);
  machine.kernel = {{"hw.optional.arm64", number(1)},
                    {"kern.osproductversion", std::string("14.5\0", 5)}};
  EXPECT_TRUE(isAppleSilicon());
  EXPECT_EQ(productVersionFromKernel(), "14.5");
  EXPECT_TRUE(preferredLanguages().empty());
  machine.languages.reset(array({made(u"de-CH"s), made(true), made(u""s), made(u"en"s)}));
  EXPECT_EQ(preferredLanguages(), (std::vector<std::string>{"de-CH", "en"}));
}

TEST_F(MacOSTest, FormatsDatesInTheUsersLanguageAndCalendar) {
  machine.yearsAhead = 543;
  machine.hoursAhead = 14;
  EXPECT_EQ(yearMonthNameDay(2024y / 6 / 15), "2024-M6-15");
  EXPECT_EQ(dayMonthYear(2026y / 11 / 16), "16-11-2569");
  EXPECT_EQ(yearMonthNameDay(1600y / 2 / 29), "1600-M2-29");
  machine.formats = false;
  EXPECT_EQ(yearMonthNameDay(2024y / 6 / 15), "");
}

TEST_F(MacOSTest, ASourceMayRemoveItself) {
  std::string performed;
  std::thread([&] {
    std::shared_ptr<RunLoop::Source> source;
    source = RunLoop::current().addSource([&, text = std::string("done")] {
      source.reset();
      performed = text;
    });
    source->signal();
    EXPECT_TRUE(RunLoop::current().runDefaultMode(1h));
    EXPECT_FALSE(RunLoop::current().runDefaultMode(1h));
  }).join();
  EXPECT_EQ(performed, "done");
  EXPECT_TRUE(RunLoop::current().runDefaultMode(1ms)) << "the main thread's is never empty";
}

}  // namespace
}  // namespace platform
