// The process that PasswordInMemoryTest searches: an agent that runs the installers with a
// password. PasswordHolder DIRECTORY LENGTH BEGINNING [serve]. Prints a byte and waits for one when
// the password is in memory, when nothing holds it any more, and when the connection has ended,
// too.
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Tests/Installers/SoftwareUpdateInstaller/Helpers/Silicon/Password.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/SiliconUpgradeInstaller.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"

namespace {

void letTheTestSearch() {
  char byte = '.';
  if (::write(STDOUT_FILENO, &byte, 1) != 1 || ::read(STDIN_FILENO, &byte, 1) != 1) {
    std::exit(1);
  }
}

void download(const vexlo::Credentials& credentials, std::int64_t macOSVersion) {
  vexlo::DefaultSoftwareUpdateOutputAnalyser analyser;
  vexlo::SystemUserSession session;
  vexlo::DefaultMacOSDownloader downloader(
      "label", vexlo::SoftwareUpdateAuthContext::silicon(credentials),
      vexlo::TerminalUtil::defaultInstance(), analyser, macOSVersion);
  (void)downloader.download(false, session);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string directory = arguments[1];
  const std::size_t length = std::stoul(arguments[2]);
  const std::string beginning = arguments[3];
  vxutils::gv_globvars.setDirectories({.base = directory, .data = directory, .logs = directory});
  // Building messages would overwrite remains on the stack.
  LogCore::setLogSink(std::make_shared<LogCore::NullSink>());
  {
    std::optional<vxutils::AgentServiceServer> service;
    if (count > 4) {
      service.emplace(directory + "/run/agent-service.sock", [&](const std::string& key) {
        return std::optional(key == "PatchOSUpdatePassword" ? vexlo::password(beginning, length)
                                                            : "alice");
      });
    }
    const auto dependencies = vexlo::DefaultUpgradeInstallerDependencies::silicon();
    const bool upgraded =
        dependencies != nullptr &&
        vexlo::SiliconUpgradeInstaller(directory + "/I.app", *dependencies).installMacOS() ==
            vexlo::PatchActionResult::success();
    if (!upgraded) {
      return 1;
    }
    for (const std::int64_t version : {12, 14}) {
      const auto credentials = dependencies->userCredentials()->credentials();
      if (!credentials) {
        return 1;
      }
      download(*credentials, version);
      if (version == 14) {
        letTheTestSearch();
      }
    }
    letTheTestSearch();  // the connection's thread is still there, and so is its stack
  }
  letTheTestSearch();
  return 0;
}
