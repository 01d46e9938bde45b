#include "SimulatedMac/QuitTriggers.h"

#include <fcntl.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <string_view>
#include <utility>

#include "Platform/Linux/Pidfd.h"
#include "Platform/Polling.h"
#include "SimulatedMac/ProcessSteps.h"

namespace simulated_mac {
namespace {

constexpr int kPacketSize = 4096;  // the smallest pipe: one page

}  // namespace

QuitTriggers::QuitTriggers(std::vector<Quitter> quitters) : quitters_(std::move(quitters)) {
  // A pipe with room for one write, so the command can be at most one line ahead.
  failIf(pipe2(pipe_.data(), O_CLOEXEC | O_DIRECT) != 0 ||
             fcntl(pipe_[1], F_SETPIPE_SZ, kPacketSize) < 0,
         "pipe");
}

void QuitTriggers::redirectStandardError() const {
  if (!quitters_.empty()) {
    dup2(pipe_[1], STDERR_FILENO);
  }
}

void QuitTriggers::forward(pid_t command) {
  if (quitters_.empty()) {
    return;
  }
  close(pipe_[1]);
  const platform::Descriptor end = platform::openPidfd(command);
  std::array awaited{platform::Awaited{pipe_[0]}, platform::Awaited{end.get()}};
  std::string packet(kPacketSize, '\0');
  while (true) {
    platform::waitForAny(awaited);
    if (!awaited[0].ready && !awaited[1].ready) {
      continue;  // a signal
    }
    const ssize_t size = awaited[0].ready ? read(pipe_[0], packet.data(), packet.size()) : 0;
    if (size <= 0) {
      break;  // nothing left to read, and the command or the pipe has ended
    }
    const std::string_view text(packet.data(), static_cast<std::size_t>(size));
    std::cerr << text << std::flush;
    std::erase_if(quitters_, [&](const Quitter& quitter) {
      return text.contains(quitter.text) && kill(quitter.process, SIGKILL) == 0 &&
             waitpid(quitter.process, nullptr, 0) >= 0;
    });
  }
}

}  // namespace simulated_mac
