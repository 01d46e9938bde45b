#include "AgentLibraries/LogCore/Logger.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "AgentLibraries/LogCore/StandardErrorSink.h"
#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace LogCore {
namespace {

using ::testing::EndsWith;

TEST(LoggerTest, ThrowingSinkLosesOnlyThatLine) {
  struct ThrowingSink final : LogSink {
    void write(LogLevel, const LogTag&, std::uint32_t, const MessageBuilder&) override {
      throw std::runtime_error("no room");
    }
  };
  const ScopedLogSink sink(std::make_shared<ThrowingSink>());
  EXPECT_NO_THROW(logError(LogTag{"test"}, [] { return "lost"; }));
}

TEST(LoggerTest, MessagesCannotForgeLinesOrControlTheTerminal) {
  const TemporaryDirectory directory;
  const platform::Descriptor file(::open(directory.write("log", "").c_str(), O_WRONLY | O_CLOEXEC));
  DescriptorSink sink(file.get());
  sink.write(LogLevel::info, LogTag{"test"}, 1,
             [] { return "Sáfari\tx\n2026-11-24 ERROR\x1b[2J\u2028\u202e\xff\x7f"; });
  EXPECT_THAT(directory.read("log"),
              EndsWith(":1 Sáfari\tx\\n2026-11-24 ERROR\\u001b[2J\\u2028\\u202e\\xff\\u007f\n"));
}

TEST(LoggerTest, TimesHaveMillisecondsOfTheirOwnSecond) {
  using std::chrono::milliseconds;
  using Time = std::chrono::sys_time<milliseconds>;
  EXPECT_EQ(timestamp(Time(milliseconds(1))), "1970-01-01T00:00:00.001Z");
  EXPECT_EQ(timestamp(Time(milliseconds(-1))), "1969-12-31T23:59:59.999Z");
}

TEST(LoggerTest, LeavesOutTheEndOfAHugeMessage) {
  const std::string message(3'000'000, '\n');
  const std::string line =
      logLine(LogLevel::info, LogTag{"test"}, 1, [&] { return std::string_view(message); });
  EXPECT_LT(line.size(), 2'100'000U);
  EXPECT_THAT(line, EndsWith("\\n\\n… [1951424 more bytes]\n"));
}

}  // namespace
}  // namespace LogCore
