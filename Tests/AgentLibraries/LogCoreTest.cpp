#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/LocalSocket.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace {

using LogCore::DescriptorSink;
using LogCore::logDebug;
using LogCore::logError;
using LogCore::logInfo;
using LogCore::LogLevel;
using LogCore::text;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

constexpr LogCore::LogTag kTag{"hasMinimumBattery(of:)"};

class DescriptorSinkTest : public ::testing::Test {
 protected:
  std::string written() { return directory.read("log"); }

  TemporaryDirectory directory;
  platform::Descriptor file{
      open(directory.file("log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)};
};

TEST_F(DescriptorSinkTest, WritesMomentLevelOriginAndMessageOnOneLine) {
  DescriptorSink sink(file.get());
  sink.write(LogLevel::info, kTag, 41, [] { return "first\nsecond\r\n"; });
  EXPECT_THAT(written(), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.]"
                                      "[0-9]{3}Z INFO  Tests/AgentLibraries/LogCoreTest "
                                      "hasMinimumBattery[(]of:[)]:41 "
                                      "first\\\\nsecond\\\\r\\\\n\n"));
}

TEST_F(DescriptorSinkTest, NeverBuildsALineBelowItsLevel) {
  DescriptorSink sink(file.get(), LogLevel::error);
  int built = 0;
  const auto build = [&] { return text("line ", ++built); };
  sink.write(LogLevel::debug, kTag, 1, build);
  sink.write(LogLevel::info, kTag, 1, build);
  sink.write(LogLevel::error, kTag, 1, build);
  EXPECT_EQ(built, 1);
  EXPECT_THAT(written(), MatchesRegex(".*Z ERROR .*:1 line 1\n"));
}

TEST(LoggingTest, ALineCarriesLevelTagAndTheLineOfItsCall) {
  LogCapture log;
  logDebug(kTag, [] { return "d"; });
  logInfo(kTag, [] { return text("i"); });
  logError(kTag, [] { return "e"; });
  const std::vector<LogRecord> records = log.records();
  ASSERT_THAT(records, ElementsAre(DebugLine("d"), InfoLine("i"), ErrorLine("e")));
  EXPECT_THAT(records.front(),
              LoggedBy("Tests/AgentLibraries/LogCoreTest", "hasMinimumBattery(of:)"));
  EXPECT_EQ(records[1].line, records[0].line + 1);
}

TEST(LoggingTest, TheInnermostCaptureRecordsAndThenGivesWay) {
  LogCapture outer;
  {
    LogCapture inner;
    logInfo(kTag, [] { return "inner"; });
    EXPECT_THAT(inner.records(), ElementsAre(InfoLine("inner")));
  }
  logInfo(kTag, [] { return "outer"; });
  EXPECT_THAT(outer.records(), ElementsAre(InfoLine("outer")));
}

TEST(LoggingTest, LinesOfSeveralThreadsAreAllTaken) {
  LogCapture log;
  {
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([] {
        for (int line = 0; line < 100; ++line) {
          logInfo(kTag, [] { return "line"; });
        }
      });
    }
  }
  EXPECT_THAT(log.records(), SizeIs(400));
}

TEST(TextTest, JoinsTextsNumbersCharactersAndBooleans) {
  const std::string string = "string";
  EXPECT_EQ(text(string, ' ', "literal", ' ', true, ' ', false), "string literal true false");
  EXPECT_EQ(text(std::numeric_limits<std::int64_t>::min(), ' ', std::uint8_t{7}, ' ',
                 std::numeric_limits<std::uint64_t>::max()),
            "-9223372036854775808 7 18446744073709551615");
}

}  // namespace
