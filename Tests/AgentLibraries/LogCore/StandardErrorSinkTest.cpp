#include "AgentLibraries/LogCore/StandardErrorSink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>

#include "Platform/Polling.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace LogCore {
namespace {

using ::testing::EndsWith;

void write(StandardErrorSink& sink, const std::string& message) {
  sink.write(LogLevel::info, LogTag{"test"}, 1, [&] { return message; });
}

TEST(StandardErrorSinkTest, DoesNotWriteToAReusedDescriptor) {
  const TemporaryDirectory directory;
  const std::string settings = directory.write("settings", "");
  const int descriptor = ::open(directory.write("errors", "").c_str(), O_WRONLY | O_CLOEXEC);
  StandardErrorSink sink(descriptor);
  write(sink, "before");
  ::close(descriptor);
  write(sink, "closed");
  ASSERT_EQ(::open(settings.c_str(), O_WRONLY | O_CLOEXEC), descriptor);
  write(sink, "after");
  ::close(descriptor);
  EXPECT_THAT(directory.read("errors"), EndsWith(":1 before\n"));
  EXPECT_EQ(directory.read("settings"), "");
}

TEST(StandardErrorSinkTest, DropsLinesForASlowReaderAndReportsThem) {
  platform::Pipe pipe = *platform::makePipe();
  StandardErrorSink sink(pipe.writeEnd.get());
  const auto start = std::chrono::steady_clock::now();
  for (int line = 0; line < 200; ++line) {
    write(sink, std::string(1000, 'x'));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  std::string text(std::size_t{1} << 20, '\0');
  const auto readAll = [&] {
    return text.substr(0, ::read(pipe.readEnd.get(), text.data(), text.size()));
  };
  EXPECT_THAT(readAll(), EndsWith("xxx"));
  write(sink, "again");
  EXPECT_THAT(readAll(),
              ::testing::ContainsRegex(
                  "^…\n[^\n]* ERROR LogCore/Logger write: 1[0-9][0-9] lines were dropped, "
                  "nobody read standard error.\n[^\n]*:1 again\n$"));
  pipe.readEnd.reset();
  const auto former = std::signal(SIGPIPE, SIG_DFL);
  write(sink, "to nobody");
  std::signal(SIGPIPE, former);
}

}  // namespace
}  // namespace LogCore
