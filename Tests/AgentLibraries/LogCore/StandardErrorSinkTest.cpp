#include "AgentLibraries/LogCore/StandardErrorSink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

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
  EXPECT_THAT(directory.read("errors"), EndsWith(":1 before\n"));
  ::close(descriptor);
  write(sink, "closed");
  ASSERT_EQ(::open(settings.c_str(), O_WRONLY | O_CLOEXEC), descriptor);
  write(sink, "after");
  ::close(descriptor);
  // Once the file is closed everywhere, the next one gets its inode number, on many file systems.
  std::filesystem::remove(directory.file("errors"));
  ASSERT_EQ(::open(directory.write("data", "").c_str(), O_WRONLY | O_CLOEXEC), descriptor);
  write(sink, "with the same inode number");
  ::close(descriptor);
  EXPECT_EQ(directory.read("data"), "");
  EXPECT_EQ(directory.read("settings"), "");
}

/// A pipe, terminal or socket, whose file was made by another user if it can't be opened again.
struct Channel {
  const char* name;
  bool (*open)(std::array<int, 2>& ends);
  bool canBeOpenedAgain = true;
  bool isFast = true;
};

bool openPipe(std::array<int, 2>& ends) { return ::pipe(ends.data()) == 0; }
bool openSocket(std::array<int, 2>& ends) {
  return ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0;
}
bool openTerminal(std::array<int, 2>& ends) {
  ends[0] = ::posix_openpt(O_RDWR | O_NOCTTY);
  std::array<char, 64> name{};
  const bool isOpen = ::grantpt(ends[0]) == 0 && ::unlockpt(ends[0]) == 0 &&
                      ::ptsname_r(ends[0], name.data(), name.size()) == 0;
  ends[1] = isOpen ? ::open(name.data(), O_RDWR | O_NOCTTY) : -1;
  return ends[1] >= 0;
}

class SlowReaderTest : public ::testing::TestWithParam<Channel> {
 protected:
  SlowReaderTest() {
    std::array<int, 2> ends{-1, -1};
    EXPECT_TRUE(GetParam().open(ends));
    readEnd = platform::Descriptor(ends[0]);
    writeEnd = platform::Descriptor(ends[1]);
    const uid_t user = ::geteuid();
    EXPECT_EQ(::seteuid(GetParam().canBeOpenedAgain || user != 0 ? user : 65534), 0);
    sink.emplace(writeEnd.get());
    EXPECT_EQ(::seteuid(user), 0);
    ::fcntl(readEnd.get(), F_SETFL, O_NONBLOCK);
  }
  void writeLines(int count) {
    for (int line = 0; line < count; ++line) {
      write(*sink, std::string(1000, 'x'));
    }
  }
  /// What there is to read, up to `most` bytes.
  std::string read(std::size_t most) const {
    std::string text(most, '\0');
    text.resize(static_cast<std::size_t>(
        std::max<std::ptrdiff_t>(::read(readEnd.get(), text.data(), most), 0)));
    return text;
  }
  std::string readAll() const {
    std::string all;
    for (std::string piece = read(65536); !piece.empty(); piece = read(65536)) {
      all += piece;
    }
    std::erase(all, '\r');
    return all;
  }
  platform::Descriptor readEnd;
  platform::Descriptor writeEnd;
  std::optional<StandardErrorSink> sink;
};

TEST_P(SlowReaderTest, DelaysARunByLittleAndLearnsHowManyLinesAreMissing) {
  const auto start = std::chrono::steady_clock::now();
  const auto passed = [&] { return std::chrono::steady_clock::now() - start; };
  writeLines(500);
  EXPECT_LT(passed(), std::chrono::seconds(4)) << "nobody reads";
  std::atomic<bool> isDone = false;
  std::thread reader([&] {
    platform::Pipe never = *platform::makePipe();
    while (!isDone) {
      (void)read(2048);
      platform::Awaited awaited{.descriptor = never.readEnd.get()};
      platform::waitForAny({&awaited, 1}, std::chrono::milliseconds(20));
    }
  });
  writeLines(GetParam().isFast ? 1000 : 10);  // else the reader isn't slower than the sink
  isDone = true;
  reader.join();
  EXPECT_LT(passed(), std::chrono::seconds(6)) << "a slow reader";
  EXPECT_THAT(readAll(), testing::HasSubstr("xxx"));
  writeLines(500);  // more than fits
  (void)readAll();
  write(*sink, "again");
  EXPECT_THAT(readAll(), testing::ContainsRegex(
                             " ERROR LogCore/Logger write: [0-9]+ lines were dropped, nobody "
                             "read standard error.\n[^\n]*:1 again\n$"));
  EXPECT_EQ(::fcntl(writeEnd.get(), F_GETFL) & O_NONBLOCK, 0) << "others write to it, too";
  readEnd.reset();
  const auto former = std::signal(SIGPIPE, SIG_DFL);
  write(*sink, "to nobody");
  std::signal(SIGPIPE, former);
}

INSTANTIATE_TEST_SUITE_P(
    , SlowReaderTest,
    testing::Values(Channel{"Pipe", openPipe}, Channel{"PipeOfAnotherUser", openPipe, false},
                    Channel{"Terminal", openTerminal},
                    Channel{"TerminalOfAnotherUser", openTerminal, false, false},
                    Channel{"Socket", openSocket}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace LogCore
