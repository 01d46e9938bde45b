#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/SiliconUpgradeInstaller.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"

namespace vexlo {
namespace {

/// The password's byte at an index. Computed, so that the test itself never stores two of them in a
/// row.
char passwordByte(std::size_t place) { return static_cast<char>('!' + (place * 37 + 11) % 90); }

/// How many parts of the password, of six bytes or more, are in this process's writable memory.
int passwordsInMemory(std::size_t length) {
  std::array<std::size_t, 256> placeOf{};  // counted from 1; 0 for a byte that isn't part of it
  for (std::size_t place = 0; place < length; ++place) {
    placeOf.at(static_cast<unsigned char>(passwordByte(place))) = place + 1;
  }
  std::ifstream maps("/proc/self/maps");
  const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  int found = 0;
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t start = 0;
    std::uintptr_t end = 0;
    char writable = '-';
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %*c%c", &start, &end, &writable) !=
            3 ||
        writable != 'w') {
      continue;
    }
    std::array<unsigned char, 4096> page{};
    std::size_t last = 0;
    int run = 0;
    for (; start < end; ++start) {
      if (start % page.size() == 0 && ::pread(memory, page.data(), page.size(),
                                              static_cast<off_t>(start)) != std::ssize(page)) {
        page.fill(0);
      }
      const std::size_t place = placeOf.at(page.at(start % page.size()));
      run = place == 0 ? 0 : (place == last + 1 ? run + 1 : 1);
      last = place;
      found += run == 6 ? 1 : 0;
    }
    page.fill(0);  // so that its content isn't found in the next region
  }
  ::close(memory);
  return found;
}

std::string password(std::size_t length) {
  std::string text;
  text.reserve(64);
  for (std::size_t place = 0; place < length; ++place) {
    text += passwordByte(place);
  }
  return text;
}

TEST(PasswordInMemoryTest, InstallersLeaveNoPassword) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's shadow memory is too large to search";
#endif
  const TemporaryDirectory& root = testAgentDirectories();
  // Building messages would overwrite remains on the stack.
  LogCore::setLogSink(std::make_shared<LogCore::NullSink>());
  std::filesystem::create_directories(root.file("base/run"));
  const std::string tool = root.write("I.app/Contents/Resources/startosinstall",
                                      "#!/bin/sh\ncat | wc -c > \"${0%/I.app*}/length\"\n");
  std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
  for (const std::size_t length : {9U, 13U, 15U, 16U, 40U}) {
    {
      const vxutils::AgentServiceServer service(
          root.file("base/run/agent-service.sock"), [&](const std::string& key) {
            return std::optional(key == "PatchOSUpdatePassword" ? password(length) : "alice");
          });
      const auto dependencies = DefaultUpgradeInstallerDependencies::silicon();
      ASSERT_NE(dependencies, nullptr);
      EXPECT_EQ(SiliconUpgradeInstaller(root.file("I.app"), *dependencies).installMacOS(),
                PatchActionResult::success());
      for (const std::int64_t version : {12, 14}) {
        const std::optional<Credentials> credentials =
            dependencies->userCredentials()->credentials();
        ASSERT_TRUE(credentials);
        DefaultSoftwareUpdateOutputAnalyser analyser;
        SystemUserSession session;
        DefaultMacOSDownloader downloader("label", SoftwareUpdateAuthContext::silicon(*credentials),
                                          TerminalUtil::defaultInstance(), analyser, version);
        (void)downloader.download(false, session);
        if (length == 9) {
          EXPECT_GT(passwordsInMemory(length), 0) << "the search finds nothing at all";
        }
      }
      // Checked while the connection's thread is still running, since an ended thread's stack is
      // unmapped.
      EXPECT_EQ(passwordsInMemory(length), 0) << length << " bytes";
    }
    EXPECT_EQ(root.read("length"), std::to_string(length) + "\n");
    EXPECT_EQ(passwordsInMemory(length), 0) << length << " bytes";
  }
  LogCore::setLogSink(nullptr);
}

}  // namespace
}  // namespace vexlo
