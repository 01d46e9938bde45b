#include <fcntl.h>
#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "AgentLibraries/LogCore/Logger.h"
#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace LogCore {
namespace {

constexpr LogTag kTag{"hasMinimumBattery(of:)"};

TEST(DescriptorSinkTest, WritesLinesOfItsLevelWithMomentAndOrigin) {
  const TemporaryDirectory directory;
  const platform::Descriptor file(
      open(directory.file("log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  DescriptorSink sink(file.get(), LogLevel::info);
  sink.write(LogLevel::debug, kTag, 1, [] {
    ADD_FAILURE() << "a line below the level was built";
    return "";
  });
  sink.write(LogLevel::info, kTag, 41, [] { return "first\nsecond\r\n"; });
  EXPECT_THAT(
      directory.read("log"),
      ::testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[.]"
                              "[0-9]{3}Z INFO  Tests/AgentLibraries/LogCoreTest "
                              "hasMinimumBattery[(]of:[)]:41 first\\\\nsecond\\\\r\\\\n\n"));
}

TEST(LogSinkTest, OneThatThrowsLosesItsLineOnly) {
  struct ThrowingSink final : LogSink {
    void write(LogLevel, const LogTag&, std::uint32_t, const MessageBuilder&) override {
      throw std::runtime_error("no room");
    }
  };
  const auto former = setLogSink(std::make_shared<ThrowingSink>());
  EXPECT_NO_THROW(logError(kTag, [] { return "lost"; }));
  setLogSink(former);
}

}  // namespace
}  // namespace LogCore
