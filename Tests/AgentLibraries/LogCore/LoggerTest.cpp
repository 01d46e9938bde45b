#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/StandardErrorSink.h"
#include "Platform/Polling.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace LogCore {
namespace {

using ::testing::EndsWith;

void writeTo(LogSink& sink, const std::string& message) {
  sink.write(LogLevel::info, LogTag{"test"}, 1, [&] { return message; });
}

TEST(LogSinkTest, OneThatThrowsLosesItsLineOnly) {
  struct ThrowingSink final : LogSink {
    void write(LogLevel, const LogTag&, std::uint32_t, const MessageBuilder&) override {
      throw std::runtime_error("no room");
    }
  };
  const auto former = setLogSink(std::make_shared<ThrowingSink>());
  EXPECT_NO_THROW(logError(LogTag{"test"}, [] { return "lost"; }));
  setLogSink(former);
}

TEST(DescriptorSinkTest, NoTextForgesALineOrSteersATerminal) {
  const TemporaryDirectory directory;
  const platform::Descriptor file(::open(directory.write("log", "").c_str(), O_WRONLY | O_CLOEXEC));
  DescriptorSink sink(file.get());
  writeTo(sink, "Sáfari\tx\n2026-11-24 ERROR\x1b[2J\u2028\u202e\xff\x7f");
  EXPECT_THAT(directory.read("log"),
              EndsWith(":1 Sáfari\tx\\n2026-11-24 ERROR\\u001b[2J\\u2028\\u202e\\xff\\u007f\n"));
}

TEST(StandardErrorSinkTest, WritesToNoFileThatHasTakenTheDescriptorsPlace) {
  const TemporaryDirectory directory;
  const std::string settings = directory.write("settings", "");
  const int descriptor = ::open(directory.write("errors", "").c_str(), O_WRONLY | O_CLOEXEC);
  StandardErrorSink sink(descriptor);
  writeTo(sink, "before");
  ::close(descriptor);
  writeTo(sink, "closed");
  ASSERT_EQ(::open(settings.c_str(), O_WRONLY | O_CLOEXEC), descriptor);
  writeTo(sink, "after");
  ::close(descriptor);
  EXPECT_THAT(directory.read("errors"), EndsWith(":1 before\n"));
  EXPECT_EQ(directory.read("settings"), "");
}

TEST(StandardErrorSinkTest, WaitsForNoReaderAndTellsWhatWasDropped) {
  platform::Pipe pipe = *platform::makePipe();
  StandardErrorSink sink(pipe.writeEnd.get());
  const auto start = std::chrono::steady_clock::now();
  for (int line = 0; line < 200; ++line) {
    writeTo(sink, std::string(1000, 'x'));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  std::string text(std::size_t{1} << 20, '\0');
  const auto readAll = [&] {
    return text.substr(0, ::read(pipe.readEnd.get(), text.data(), text.size()));
  };
  EXPECT_THAT(readAll(), EndsWith("xxx"));
  writeTo(sink, "again");
  EXPECT_THAT(readAll(),
              ::testing::ContainsRegex(
                  "^…\n[^\n]* ERROR LogCore/Logger write: 1[0-9][0-9] lines were dropped, "
                  "nobody read standard error.\n[^\n]*:1 again\n$"));
  pipe.readEnd.reset();
  const auto former = std::signal(SIGPIPE, SIG_DFL);
  writeTo(sink, "to nobody");
  std::signal(SIGPIPE, former);
}

}  // namespace
}  // namespace LogCore
