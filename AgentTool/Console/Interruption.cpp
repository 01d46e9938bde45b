#include "AgentTool/Console/Interruption.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <string_view>

#include "AgentLibraries/vxutils/RunningCommands.h"

namespace agent_tool {
namespace {

constexpr std::array kEndingSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr std::chrono::milliseconds kGrace{2000};

// Read by the signal handler; set before it is installed.
pthread_t mainThread;
int terminalOfActivity = -1;
std::atomic<int> timesInterrupted{0};
static_assert(std::atomic<int>::is_always_lock_free);

/// Non-blocking, so that a stalled reader doesn't keep the tool alive.
void writeFromHandler(int descriptor, std::string_view text) {
  pollfd event{.fd = descriptor, .events = POLLOUT, .revents = 0};
  if (::poll(&event, 1, 0) != 1) {
    return;
  }
  [[maybe_unused]] const ssize_t count = ::write(descriptor, text.data(), text.size());
}

/// Runs on the main thread, which stops the work there. Uses only async-signal-safe functions.
void endByInterruption(int signal) {
  if (::pthread_equal(::pthread_self(), mainThread) == 0) {
    ::pthread_kill(mainThread, signal);
    return;
  }
  const bool isFirst = timesInterrupted.fetch_add(1) == 0;
  if (isFirst && terminalOfActivity >= 0) {
    writeFromHandler(terminalOfActivity, "\r\x1b[K");
  }
  if (vxutils::endRunningCommands(isFirst ? kGrace : std::chrono::milliseconds::zero())) {
    writeFromHandler(STDERR_FILENO, "vexlo-patch: interrupted; the running program was stopped\n");
  }
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

void handleTerminationSignals(int terminal) {
  mainThread = ::pthread_self();
  terminalOfActivity = terminal;
  struct sigaction action{};
  action.sa_handler = endByInterruption;
  action.sa_flags = SA_NODEFER | SA_RESTART;
  sigemptyset(&action.sa_mask);  // a macro on macOS
  for (const int signal : kEndingSignals) {
    struct sigaction former{};
    ::sigaction(signal, nullptr, &former);
    if (former.sa_handler != SIG_IGN) {
      ::sigaction(signal, &action, nullptr);
    }
  }
  ::signal(SIGPIPE, SIG_IGN);
}

bool isInterrupted() noexcept { return timesInterrupted.load() > 0; }

}  // namespace agent_tool
