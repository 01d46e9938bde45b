// The installers leave no password in the memory of their process.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"

namespace vexlo {
namespace {

/// How a password begins; the rest is printable ASCII. Computed byte by byte, so that the process
/// that is searched never stores two of them in a row itself.
std::string password(char beginning, std::size_t length) {
  std::string text;
  text.reserve(512);
  text += beginning;
  for (std::size_t place = 1; place < length; ++place) {
    text +=
        static_cast<char>('A' + (place * 37 + place / 26 + 11) % 26 + (place % 2 == 0 ? 32 : 0));
  }
  return text;
}

/// How many pieces of six bytes of the password are in the writable memory of the process; -1 if
/// that can't be read.
int piecesIn(pid_t process, std::string_view password) {
  constexpr std::size_t kSize = 6;
  std::unordered_set<std::string_view> pieces;
  std::array<bool, 256> begins{};
  for (; password.size() >= kSize; password.remove_prefix(1)) {
    pieces.insert(password.substr(0, kSize));
    begins.at(static_cast<unsigned char>(password.front())) = true;
  }
  const std::string folder = "/proc/" + std::to_string(process);
  std::ifstream maps(folder + "/maps");
  const platform::Descriptor memory(::open((folder + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
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
    std::string bytes(end - start, '\0');
    if (::pread(memory.get(), bytes.data(), bytes.size(), static_cast<off_t>(start)) !=
        std::ssize(bytes)) {
      return -1;
    }
    // Most memory is untouched.
    for (std::size_t at = 0; (at = bytes.find_first_not_of('\0', at)) != std::string::npos; ++at) {
      found += begins[static_cast<unsigned char>(bytes[at])] &&
               pieces.contains(std::string_view(bytes).substr(at, kSize));
    }
  }
  return found;
}

void download(const Credentials& credentials, std::int64_t macOSVersion) {
  DefaultSoftwareUpdateOutputAnalyser analyser;
  SystemUserSession session;
  DefaultMacOSDownloader downloader("label", SoftwareUpdateAuthContext::silicon(credentials),
                                    TerminalUtil::defaultInstance(), analyser, macOSVersion);
  (void)downloader.download(false, session);
}

/// Runs the installers with a password, as an agent does. Stops when the password is in memory,
/// when nothing holds it any more, and when the connection has ended, too. Returns whether they
/// worked.
bool runInstallers(const std::string& root, char beginning, std::size_t length) {
  const auto stop = [] { ::raise(SIGSTOP); };
  vxutils::gv_globvars.setDirectories({.base = root, .data = root, .logs = root});
  // Building messages would overwrite remains on the stack.
  LogCore::setLogSink(std::make_shared<LogCore::NullSink>());
  {
    const vxutils::AgentServiceServer service(
        root + "/run/agent-service.sock", [&](const std::string& key) {
          return std::optional(key == "PatchOSUpdatePassword" ? password(beginning, length)
                                                              : "alice");
        });
    const auto dependencies = DefaultUpgradeInstallerDependencies::silicon();
    if (dependencies == nullptr ||
        SiliconUpgradeInstaller(root + "/I.app", *dependencies).installMacOS() !=
            PatchActionResult::success()) {
      return false;
    }
    for (const std::int64_t version : {12, 14}) {
      const auto credentials = dependencies->userCredentials()->credentials();
      if (!credentials) {
        return false;
      }
      download(*credentials, version);
      if (version == 14) {
        stop();
      }
    }
    stop();  // the connection's thread is still there, and so is its stack
  }
  stop();
  return true;
}

/// Searches a child process that runs the installers. Exits with 0 if the password was there only
/// at the first stop. In a process of its own, so that the test's process never holds a password.
[[noreturn]] void searchInstallers(const std::string& root, char beginning, std::size_t length) {
  const pid_t agent = ::fork();
  if (agent == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::_exit(runInstallers(root, beginning, length) ? 0 : 1);
  }
  std::vector<int> found;
  int status = -1;
  while (::waitpid(agent, &status, WUNTRACED) == agent && WIFSTOPPED(status)) {
    found.push_back(piecesIn(agent, password(beginning, length)));
    ::kill(agent, SIGCONT);
  }
  const bool isAsExpected =
      status == 0 && found.size() == 3 && found.front() > 0 && std::ranges::count(found, 0) == 2;
  if (!isAsExpected) {
    std::cerr << "status " << status << ", pieces at each stop: " << testing::PrintToString(found)
              << '\n';
  }
  std::_Exit(isAsExpected ? 0 : 1);
}

TEST(PasswordInMemoryTest, InstallersLeaveNoPassword) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's shadow memory is too large to search";
#endif
  for (const char beginning : {'p', '"'}) {  // JSON has the second one as an escape sequence
    for (const std::size_t length : {9U, 13U, 16U, 40U, 100U, 300U}) {
      SCOPED_TRACE(length);
      const TemporaryDirectory root;
      std::filesystem::create_directory(root.file("run"));
      const std::string tool =
          root.write("I.app/Contents/Resources/startosinstall",
                     "#!/bin/sh\ncat | wc -c | tr -d ' ' > \"${0%/I.app*}/length\"\n");
      std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
      EXPECT_EXIT(searchInstallers(root.path(), beginning, length), testing::ExitedWithCode(0), "");
      EXPECT_EQ(root.read("length"), std::to_string(length) + "\n");
    }
  }
}

}  // namespace
}  // namespace vexlo
