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

using stand_in::machine;
using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

class MacOSTest : public ::testing::Test {
 protected:
  void SetUp() override {
    (void)CFRunLoopGetCurrent();  // lives as long as the thread
    machine = {};
    before_ = stand_in::objectsAlive();
  }
  void TearDown() override {
    kept_.clear();
    machine = {};
    EXPECT_EQ(stand_in::objectsAlive(), before_) << "a reference was lost or kept";
  }
  /// Keeps the object until the end of the test.
  CFTypeRef keep(CFTypeRef object) {
    kept_.emplace_back(object);
    return object;
  }

 private:
  int before_ = 0;
  std::vector<Owned<CFTypeRef>> kept_;
};

TEST_F(MacOSTest, ConvertsObjectsToPropertyLists) {
  constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
  const std::vector<std::pair<CFTypeRef, PropertyList>> values{
      {stand_in::text(u"caf\u00e9 \U0001F50B"), "caf\u00e9 \U0001F50B"},
      {stand_in::text(std::u16string(u"a\0b", 3)), std::string("a\0b", 3)},
      {stand_in::text(std::u16string{u'a', char16_t{0xD83D}}), "a?"},
      {stand_in::text(std::u16string{char16_t{0xDC00}, u'a', char16_t{0xD83D}, u'\u00e9'}),
       "?a?\u00e9"},
      {stand_in::text(u""), ""},
      {stand_in::integer(kSmallest), kSmallest},
      {stand_in::integer(-1), -1L},
      {stand_in::integer(stand_in::Integer{INT64_MAX} * 4), "<described>"},
      {stand_in::real(45.0), PropertyList::Value(45.0)},
      {stand_in::flag(true), true},
      {stand_in::date(-1.5), PropertyList::Value(PropertyListDate{-1.5})},
      {stand_in::data("x"), PropertyList::Value(PropertyList::Data{std::byte{'x'}})},
      {stand_in::data(""), PropertyList::Value(PropertyList::Data{})},
      {stand_in::array({stand_in::flag(false), nullptr, stand_in::other()}),
       PropertyList::Array{false, "", "<described>"}},
      {stand_in::dictionary({{stand_in::text(u"k"), stand_in::other(false)}}),
       PropertyList::Dictionary{{"k", ""}}},
      {stand_in::dictionary({{stand_in::integer(1), stand_in::text(u"x")}}), "<described>"},
      {stand_in::dictionary({}), PropertyList::Dictionary{}},
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
  machine.powerInformation = keep(stand_in::other());
  EXPECT_TRUE(powerSources().empty()) << "no list";
  machine.powerSources = keep(stand_in::array(
      {stand_in::dictionary({{stand_in::text(u"Current Capacity"), stand_in::integer(45)}}),
       stand_in::text(u"odd")}));
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
  machine.capacity = keep(stand_in::integer(20'000'000'000));
  EXPECT_EQ(availableCapacity("/x").value(), 20'000'000'000);
  EXPECT_FALSE(machine.volumeIsDirectory);
  machine.capacity = keep(stand_in::real(20.0));
  EXPECT_EQ(availableCapacity("/").value(), 20);
  for (const CFTypeRef odd : {stand_in::text(u"20"), stand_in::real(0.5), stand_in::real(0x1p63)}) {
    machine.capacity = keep(odd);
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
  machine.consoleUser = keep(stand_in::text(u"loginwindow"));
  EXPECT_EQ(consoleUserName(), std::nullopt);
  machine.consoleUser = keep(stand_in::text(u"ren\u00e9e"));
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
  machine.languages = keep(stand_in::array({stand_in::text(u"de-CH"), stand_in::flag(true),
                                            stand_in::text(u""), stand_in::text(u"en")}));
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
