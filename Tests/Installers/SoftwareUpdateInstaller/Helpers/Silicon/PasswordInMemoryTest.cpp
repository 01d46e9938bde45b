#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <utility>

#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "Tests/Installers/SoftwareUpdateInstaller/Helpers/Silicon/Password.h"

namespace vexlo {
namespace {

struct PasswordCase {
  std::string name;
  std::string beginning;
  std::string sentAs;  ///< What this process's service sends for it; empty if the holder serves.
};

/// The pieces of six bytes of a password.
class Pieces {
 public:
  explicit Pieces(const std::string& password) {
    for (std::size_t at = 0; at + kSize <= password.size(); ++at) {
      pieces_.insert(pieceAt(password.data() + at));
      begins_.at(static_cast<unsigned char>(password[at])) = true;
    }
  }

  /// How many are in the writable memory of the process.
  [[nodiscard]] int countIn(pid_t process) const {
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream maps(folder + "/maps");
    const platform::Descriptor memory(::open((folder + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(memory);
    int found = 0;
    for (std::string line; std::getline(maps, line);) {
      std::uintptr_t start = 0;
      std::uintptr_t end = 0;
      char writable = '-';
      if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %*c%c", &start, &end, &writable) ==
              3 &&
          writable == 'w') {
        found += countInRegion(memory, start, end);
      }
    }
    return found;
  }

 private:
  static constexpr std::size_t kSize = 6;
  static constexpr std::size_t kPage = 4096;

  static std::uint64_t pieceAt(const char* bytes) {
    std::uint64_t piece = 0;
    std::memcpy(&piece, bytes, kSize);
    return piece;
  }

  [[nodiscard]] int countInRegion(const platform::Descriptor& memory, std::uintptr_t start,
                                  std::uintptr_t end) const {
    constexpr std::array<char, kPage> kUntouched{};
    std::array<char, kPage + kSize> bytes{};  // begins with the end of the previous page
    int found = 0;
    for (; start < end; start += kPage) {
      char* const page = bytes.data() + kSize;
      std::copy_n(bytes.data() + kPage, kSize, bytes.data());
      if (::pread(memory.get(), page, kPage, static_cast<off_t>(start)) != std::ssize(kUntouched)) {
        std::fill_n(page, kPage, '\0');
      }
      if (std::memcmp(page, kUntouched.data(), kPage) == 0) {
        continue;
      }
      for (std::size_t at = 1; at <= kPage; ++at) {
        const char* const piece = bytes.data() + at;
        found += begins_[static_cast<unsigned char>(*piece)] && pieces_.contains(pieceAt(piece));
      }
    }
    return found;
  }

  std::unordered_set<std::uint64_t> pieces_;
  std::array<bool, 256> begins_{};
};

/// Answers the requests of one client with strings that are JSON already.
class RawService {
 public:
  RawService(const std::string& path, std::string passwordAsJSON)
      : listener_(platform::listenOnLocalSocket(path).value()),
        password_(std::move(passwordAsJSON)),
        thread_([this] { serve(); }) {}
  ~RawService() {
    stop_.writeEnd.reset();
    thread_.join();
  }
  RawService(const RawService&) = delete;
  RawService& operator=(const RawService&) = delete;

 private:
  void serve() {
    std::array<platform::Awaited, 2> awaited{
        {{.descriptor = listener_.get()}, {.descriptor = stop_.readEnd.get()}}};
    platform::Descriptor client;
    std::string received;
    for (platform::waitForAny(awaited); !awaited[1].ready; platform::waitForAny(awaited)) {
      if (!client) {
        client = platform::acceptLocalSocket(listener_).value();
        awaited[0].descriptor = client.get();
        continue;
      }
      std::array<char, 256> bytes{};
      const std::ptrdiff_t count = platform::receive(client, bytes, false);
      if (count < 0) {
        return;
      }
      received.append(bytes.data(), static_cast<std::size_t>(count));
      for (std::size_t end = received.find('\n'); end != std::string::npos;
           end = received.find('\n')) {
        const std::string_view request = std::string_view(received).substr(0, end);
        const std::string id(request.substr(0, request.find(',')));
        const std::string& value = request.contains("Password") ? password_ : std::string("alice");
        (void)platform::sendWithoutWaiting(client, id + ",\"value\":\"" + value + "\"}\n");
        received.erase(0, end + 1);
      }
    }
  }

  platform::Descriptor listener_;
  platform::Pipe stop_ = platform::makePipe().value();
  std::string password_;
  std::thread thread_;
};

/// The program, which stops where it is to be searched.
class Holder {
 public:
  explicit Holder(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VEXLO_PASSWORD_HOLDER);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
      pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, toHolder_.readEnd.get(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, fromHolder_.writeEnd.get(), STDOUT_FILENO);
    EXPECT_EQ(::posix_spawn(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    fromHolder_.writeEnd.reset();
  }
  ~Holder() {
    toHolder_.writeEnd.reset();
    int status = 0;
    ::waitpid(pid_, &status, 0);
    EXPECT_EQ(status, 0);
  }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  /// Whether it has reached the next stop.
  [[nodiscard]] bool stops() const {
    char byte = 0;
    return ::read(fromHolder_.readEnd.get(), &byte, 1) == 1;
  }
  void goOn() const { EXPECT_EQ(::write(toHolder_.writeEnd.get(), "", 1), 1); }

 private:
  platform::Pipe toHolder_ = platform::makePipe().value();
  platform::Pipe fromHolder_ = platform::makePipe().value();
  pid_t pid_ = -1;
};

class PasswordInMemoryTest : public ::testing::TestWithParam<PasswordCase> {};

TEST_P(PasswordInMemoryTest, InstallersLeaveNoPassword) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's shadow memory is too large to search";
#endif
  for (const std::size_t length : {9U, 13U, 16U, 40U, 100U}) {
    const TemporaryDirectory root;
    std::filesystem::create_directory(root.file("run"));
    const std::string tool = root.write("I.app/Contents/Resources/startosinstall",
                                        "#!/bin/sh\ncat | wc -c > \"${0%/I.app*}/length\"\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    const std::string secret = password(GetParam().beginning, length);
    std::vector<std::string> arguments{root.path(), std::to_string(length), GetParam().beginning};
    std::optional<RawService> service;
    if (GetParam().sentAs.empty()) {
      arguments.emplace_back("serve");
    } else {
      service.emplace(root.file("run/agent-service.sock"),
                      GetParam().sentAs + secret.substr(GetParam().beginning.size()));
    }
    const Pieces pieces(secret);
    const Holder holder(arguments);
    ASSERT_TRUE(holder.stops());
    EXPECT_GT(pieces.countIn(holder.pid()), 0) << "the search finds nothing at all";
    for (const char* const state : {"connected", "no longer connected"}) {
      holder.goOn();
      ASSERT_TRUE(holder.stops());
      EXPECT_EQ(pieces.countIn(holder.pid()), 0) << length << " bytes, " << state;
    }
    holder.goOn();
    EXPECT_EQ(root.read("length"), std::to_string(length) + "\n");
  }
}

INSTANTIATE_TEST_SUITE_P(, PasswordInMemoryTest,
                         ::testing::Values(PasswordCase{"Plain", "p", ""},
                                           PasswordCase{"QuotationMark", "\"", ""},
                                           PasswordCase{"Backslash", "\\", ""},
                                           PasswordCase{"EscapedLetter", "\u00e9", "\\u00e9"},
                                           PasswordCase{"EscapedSlash", "/", "\\/"}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace vexlo
