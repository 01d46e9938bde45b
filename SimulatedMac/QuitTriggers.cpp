#include "SimulatedMac/QuitTriggers.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

namespace simulated_mac {
namespace {

constexpr int kPacketSize = 4096;  // the smallest pipe: one page

}  // namespace

QuitTriggers::QuitTriggers(std::vector<Quitter> quitters) : quitters_(std::move(quitters)) {
  // A pipe with room for one write, so the command can be at most one line ahead.
  if (pipe2(pipe_.data(), O_CLOEXEC | O_DIRECT) != 0 ||
      fcntl(pipe_[1], F_SETPIPE_SZ, kPacketSize) < 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
}

void QuitTriggers::redirectStandardError() const { dup2(pipe_[1], STDERR_FILENO); }

void QuitTriggers::forward(pid_t command) {
  close(pipe_[1]);
  const int end = static_cast<int>(syscall(SYS_pidfd_open, command, 0));
  std::array<pollfd, 2> events{pollfd{pipe_[0], POLLIN, 0}, pollfd{end, POLLIN, 0}};
  std::string packet(kPacketSize, '\0');
  while (true) {
    if (poll(events.data(), events.size(), -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      break;
    }
    const ssize_t size =
        (events[0].revents & POLLIN) != 0 ? read(pipe_[0], packet.data(), packet.size()) : 0;
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
  close(end);
}

}  // namespace simulated_mac
