#include "Platform/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <expected>
#include <filesystem>
#include <mutex>
#include <thread>
#include <tuple>
#include <utility>

#include "Platform/Descriptor.h"
#include "Platform/Polling.h"
#include "Platform/Posix/ChildOutput.h"
#include "Platform/Posix/ProcessSystem.h"
#include "Platform/RunningProcesses.h"
#include "Platform/SignalsHeld.h"
#include "Platform/Text.h"
#include "Platform/Users.h"

namespace platform {
namespace {

using std::chrono::milliseconds;
using Instant = std::chrono::steady_clock::time_point;

constexpr milliseconds kStatusPollInterval{10};
constexpr std::int32_t kCouldNotStart = 127;
constexpr std::int32_t kNotExecutable = 126;
constexpr std::int32_t kSignalBase = 128;

/// Returns false with errno set on failure.
bool makeNonBlocking(const Descriptor& descriptor) {
  const int flags = ::fcntl(descriptor.get(), F_GETFL);
  return flags >= 0 && ::fcntl(descriptor.get(), F_SETFL, flags | O_NONBLOCK) == 0;
}

constexpr const char* kShell = "/bin/sh";
/// Runs its arguments as a command and writes the shell's $? to descriptor 3. The shell ignores
/// SIGTERM at the deadline, which is meant for the command, and keeps its own messages out of the
/// output.
constexpr const char* kReportStatus =
    "trap : TERM\nexec 4>&2 2>/dev/null\n"
    "(exec \"$0\" \"$@\" 2>&4 3>&- 4>&-)\nprintf %s $? >&3";
constexpr int kStatusDescriptor = STDERR_FILENO + 1;

/// Set once a status was lost because other code in the process waits for every child.
std::atomic<bool> othersReap{false};

/// Whether waitid() would not report the status of this process's children.
bool statusesGetLost() {
  struct sigaction action{};
  ::sigaction(SIGCHLD, nullptr, &action);
  return othersReap.load() || action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0;
}

/// Accepts «LANG=en_US.UTF-8», «LC_TIME=de_CH», «LC_ALL=C», but no path or command.
bool setsLocale(std::string_view variable) {
  constexpr std::size_t kLongest = 64;
  constexpr std::string_view kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.@=";
  return variable.size() <= kLongest &&
         (variable.starts_with("LANG=") || variable.starts_with("LC_")) &&
         std::ranges::count(variable, '=') == 1 &&
         variable.find_first_not_of(kAllowed) == std::string_view::npos;
}

/// The child's complete environment, as «NAME=value». It is built from scratch, so that the agent's
/// environment can't choose which programs its tools find, load or interpret.
std::vector<std::string> childEnvironment() {
  std::vector<std::string> variables{"PATH=/usr/bin:/bin:/usr/sbin:/sbin",
                                     "TMPDIR=" + temporaryDirectory()};
  if (const std::optional<Account> account = accountOf(ownUserID())) {
    variables.push_back("HOME=" + account->home);
    variables.push_back("USER=" + account->name);
    variables.push_back("LOGNAME=" + account->name);
  }
  for (char** variable = environmentVariables(); variable != nullptr && *variable != nullptr;
       ++variable) {
    if (setsLocale(*variable)) {
      variables.emplace_back(*variable);
    }
  }
  return variables;
}

/// Null-terminated array of pointers to the strings.
std::vector<char*> pointersTo(const std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  pointers.reserve(strings.size() + 1);
  for (const std::string& string : strings) {
    pointers.push_back(const_cast<char*>(string.c_str()));
  }
  pointers.push_back(nullptr);
  return pointers;
}

/// What connects this process to a child. Without input, `input` is only /dev/null for reading.
struct Connections {
  Pipe input;
  Pipe output;
  Pipe status;  ///< Becomes the child's descriptor 3; empty if the system reports the status.
};

/// The child's start settings: descriptors, session, signals. The first failure is kept in `error`.
class SpawnSettings {
 public:
  SpawnSettings(const Connections& connections, const std::optional<std::string>& directory) {
    note(::posix_spawn_file_actions_init(&actions_));
    note(::posix_spawnattr_init(&attributes_));
    sigset_t signals;
    sigfillset(&signals);  // a macro on some systems
    note(::posix_spawnattr_setsigdefault(&attributes_, &signals));
    sigemptyset(&signals);
    note(::posix_spawnattr_setsigmask(&attributes_, &signals));
    note(::posix_spawnattr_setflags(
        &attributes_,
        static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | ownSessionFlags())));
    if (directory) {
      note(::posix_spawn_file_actions_addchdir_np(&actions_, directory->c_str()));
    }
    const int output = connections.output.writeEnd.get();
    const Descriptor& status = connections.status.writeEnd;
    note(::posix_spawn_file_actions_adddup2(&actions_, connections.input.readEnd.get(),
                                            STDIN_FILENO));
    note(::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO));
    note(::posix_spawn_file_actions_adddup2(&actions_, output, STDERR_FILENO));
    if (status) {
      note(::posix_spawn_file_actions_adddup2(&actions_, status.get(), kStatusDescriptor));
    }
    note(closeFrom(actions_, status ? kStatusDescriptor + 1 : kStatusDescriptor));
  }
  ~SpawnSettings() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  /// Returns 0 or the errno value of a failed start. With `throughShell`, a shell runs the program
  /// and writes its status to descriptor 3.
  [[nodiscard]] int spawn(const ProcessRequest& request, bool throughShell, pid_t& pid) const {
    if (error_ != 0) {
      return error_;
    }
    std::vector<char*> arguments = pointersTo(request.arguments);
    std::string program = request.executable;
    if (throughShell && !program.contains('/')) {
      program.insert(0, "./");  // the shell would look it up in PATH
    }
    arguments.insert(arguments.begin(), program.data());
    if (throughShell) {
      arguments.insert(arguments.begin(), {const_cast<char*>(kShell), const_cast<char*>("-c"),
                                           const_cast<char*>(kReportStatus)});
    }
    const std::vector<std::string> environment = childEnvironment();
    return ::posix_spawn(&pid, arguments.front(), &actions_, &attributes_, arguments.data(),
                         pointersTo(environment).data());
  }

 private:
  void note(int error) {
    if (error_ == 0) {
      error_ = error;
    }
  }

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  int error_ = 0;
};

/// Children that survived SIGKILL because they hang in the kernel; a later run reaps them.
class Leftovers {
 public:
  static Leftovers& shared() {
    // Never destroyed, since other threads may run children until the process exits.
    static Leftovers& leftovers = *new Leftovers;
    return leftovers;
  }
  void add(ChildEnd child) {
    const std::scoped_lock lock(mutex_);
    children_.push_back(std::move(child));
  }
  void reapEnded() {
    const std::scoped_lock lock(mutex_);
    std::erase_if(children_, [](ChildEnd& child) {
      siginfo_t information{};
      return child.wait(information, WNOHANG) != 0 || information.si_pid != 0;
    });
  }

 private:
  std::mutex mutex_;
  std::vector<ChildEnd> children_;
};

/// A started child. The destructor kills its group and reaps it, unless it was already reaped.
class Child {
 public:
  /// `output` is the read end of its pipe.
  Child(pid_t pid, const Descriptor& output)
      : pid_(pid), end_(pid), running_(pid, output.get()), ended_(end_.wasGone()) {}
  ~Child() {
    if (!reaped_) {
      signalAll(SIGKILL);
      (void)reap();
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Becomes readable when the child exits; empty if the child must be polled.
  [[nodiscard]] const Descriptor& endDescriptor() const { return end_.descriptor(); }
  [[nodiscard]] bool ended() const { return ended_; }
  /// To be called before its output is closed.
  void forgetOutput() { running_.forgetOutput(); }
  /// For a descriptor that other code has closed. From now on the child is polled.
  void abandonEndDescriptor() { end_.abandonDescriptor(); }
  /// Asks the system whether the child has exited.
  void updateEnded() {
    if (!ended_) {
      siginfo_t information{};
      ended_ = end_.wait(information, WNOHANG | WNOWAIT) != 0 || information.si_pid != 0;
    }
  }

  /// Signals the child's group, and the child itself in case it has left the group.
  void signalAll(int signal) const {
    ::kill(-pid_, signal);
    if (!ended_) {
      ::kill(pid_, signal);
    }
  }

  /// Waits for the child to exit and reaps it.
  [[nodiscard]] std::int32_t reap() {
    reaped_ = true;
    wasEnded_ = running_.forget();  // as long as the id is its own
    siginfo_t information{};
    if (end_.wait(information, 0) != 0) {
      return ProcessResult::kUnknownStatus;
    }
    return information.si_code == CLD_EXITED ? information.si_status
                                             : kSignalBase + information.si_status;
  }

  /// Whether the reaped child was running when `endRunningProcesses` signalled it.
  [[nodiscard]] bool wasEnded() const { return wasEnded_; }

  /// Gives up on a child that can't be killed.
  [[nodiscard]] std::int32_t abandon() {
    reaped_ = true;
    Leftovers::shared().add(std::move(end_));
    return kSignalBase + SIGKILL;
  }

 private:
  pid_t pid_;
  ChildEnd end_;
  RunningProcess running_;
  bool ended_;
  bool reaped_ = false;
  bool wasEnded_ = false;
};

/// Milliseconds for poll(), rounded up so that it does not wake before the deadline.
int pollTimeout(Instant deadline, bool hasDescriptor) {
  const milliseconds longest = hasDescriptor ? milliseconds(INT_MAX) : kStatusPollInterval;
  const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp(left, milliseconds::zero(), longest).count());
}

/// The time `timeout` from now, or the last one that the clock can represent.
Instant deadlineAfter(milliseconds timeout) {
  const Instant now = std::chrono::steady_clock::now();
  const auto longest = std::chrono::floor<milliseconds>(Instant::max() - now);
  return now + std::clamp(timeout, milliseconds::zero(), longest);
}

/// Feeds the child, reads its output and waits until it exits or is killed at the deadline.
class Supervision {
 public:
  /// The child's status is read from `status`; empty if the system reports it.
  Supervision(const ProcessRequest& request, pid_t pid, Descriptor input, Descriptor output,
              Descriptor status)
      : child_(pid, output),
        inputPipe_(std::move(input)),
        outputPipe_(std::move(output)),
        statusPipe_(std::move(status)),
        input_(request.input.value_or(std::string_view{})),
        output_(request.maximumOutputBytes, request.onLine, request.onOutput),
        deadline_(deadlineAfter(request.timeout.value_or(milliseconds::max()))),
        grace_(request.grace) {}

  [[nodiscard]] ProcessResult run() {
    feed();
    while (!isFinished()) {
      waitForEvent();
      if (!isFinished() && std::chrono::steady_clock::now() >= deadline_) {
        escalate();
      }
    }
    drain();
    ProcessResult result{.timedOut = stage_ != Stage::running};
    if (result.timedOut) {
      child_.signalAll(SIGKILL);  // group members that outlived the leader
    }
    result.exitCode = child_.ended() ? child_.reap() : child_.abandon();
    if (statusPipe_) {
      result.exitCode = reportedStatus().value_or(
          result.timedOut ? kSignalBase + (stage_ == Stage::terminated ? SIGTERM : SIGKILL)
                          : result.exitCode);
    } else if (result.exitCode == ProcessResult::kUnknownStatus) {
      othersReap = true;
    }
    if (child_.wasEnded() && result.exitCode <= 0) {
      result.exitCode = kSignalBase + SIGTERM;  // unknown, or success although its work isn't done
    }
    result.output = output_.finish();
    return result;
  }

 private:
  enum class Stage : std::uint8_t { running, terminated, killed, givenUp };

  /// After SIGTERM, group members that keep the pipe open get the grace period as well.
  [[nodiscard]] bool isFinished() const {
    return stage_ == Stage::givenUp ||
           (child_.ended() && (stage_ != Stage::terminated || !outputPipe_));
  }

  void waitForEvent() {
    enum : std::uint8_t { kEnd, kOutput, kInput, kCount };
    std::array<pollfd, kCount> events{};
    events[kEnd] = {
        .fd = child_.ended() ? -1 : child_.endDescriptor().get(), .events = POLLIN, .revents = 0};
    events[kOutput] = {.fd = outputPipe_.get(), .events = POLLIN, .revents = 0};
    events[kInput] = {.fd = inputPipe_.get(), .events = POLLOUT, .revents = 0};
    const bool hasEndDescriptor = static_cast<bool>(child_.endDescriptor());
    const bool waited =
        ::poll(events.data(), events.size(), pollTimeout(deadline_, hasEndDescriptor)) >= 0;
    if (!waited) {  // interrupted or out of memory: check everything
      std::this_thread::sleep_for(kStatusPollInterval);
    }
    if (waited) {
      releaseClosed(events[kEnd], events[kOutput], events[kInput]);
    }
    if (!waited || events[kInput].revents != 0) {
      feed();
    }
    if (outputPipe_ && (!waited || events[kOutput].revents != 0)) {
      std::size_t most = ChildOutput::kReadBytes;
      readOnce(most);
    }
    if (!waited || !hasEndDescriptor || events[kEnd].revents != 0) {
      child_.updateEnded();
    }
  }

  /// Gives up descriptors that other code in this process has closed. They aren't closed again, as
  /// the next files that it opens get their numbers.
  void releaseClosed(const pollfd& end, const pollfd& output, const pollfd& input) {
    if ((end.revents & POLLNVAL) != 0) {
      child_.abandonEndDescriptor();
    }
    if ((output.revents & POLLNVAL) != 0) {
      child_.forgetOutput();
      (void)outputPipe_.release();
    }
    if ((input.revents & POLLNVAL) != 0) {
      (void)inputPipe_.release();
    }
  }

  void feed() {
    if (!inputPipe_) {
      return;
    }
    while (!input_.empty()) {
      const ssize_t written = writeWithoutSignal(inputPipe_.get(), input_);
      if (written < 0 && errno == EINTR) {
        continue;
      }
      if (written < 0 && errno == EAGAIN) {
        return;
      }
      if (written < 0) {  // the child may close its input at any time
        break;
      }
      input_.remove_prefix(static_cast<std::size_t>(written));
    }
    inputPipe_.reset();
  }

  bool readOnce(std::size_t& most) {
    const ChildOutput::Reading reading = output_.readFrom(outputPipe_, most);
    if (reading == ChildOutput::Reading::ended) {
      child_.forgetOutput();
      outputPipe_.reset();
    }
    return reading == ChildOutput::Reading::some;
  }

  /// Reads what is in the pipe now. Doesn't wait for a grandchild that continues to write.
  void drain() {
    int held = 0;
    if (!outputPipe_ || ::ioctl(outputPipe_.get(), FIONREAD, &held) != 0) {
      return;
    }
    for (auto most = static_cast<std::size_t>(std::max(held, 0)); most > 0 && readOnce(most);) {
    }
  }

  /// The status that the shell around the program has written; absent if the shell was killed
  /// first.
  [[nodiscard]] std::optional<std::int32_t> reportedStatus() const {
    std::array<char, 8> digits{};
    const ssize_t count = ::read(statusPipe_.get(), digits.data(), digits.size());
    return wholeNumber<std::int32_t>(
        {digits.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))});
  }

  void escalate() {
    switch (stage_) {
      case Stage::running:
        stage_ = Stage::terminated;
        child_.signalAll(SIGTERM);
        child_.signalAll(SIGCONT);  // a stopped process couldn't handle it
        break;
      case Stage::terminated:
        stage_ = Stage::killed;
        child_.signalAll(SIGKILL);
        break;
      case Stage::killed:
      case Stage::givenUp:
        stage_ = Stage::givenUp;
        break;
    }
    deadline_ = deadlineAfter(grace_);
  }

  Child child_;
  Descriptor inputPipe_;
  Descriptor outputPipe_;
  Descriptor statusPipe_;
  std::string_view input_;  // input still to be written
  ChildOutput output_;
  Instant deadline_;
  milliseconds grace_;
  Stage stage_ = Stage::running;
};

constexpr const char* kNoInput = "/dev/null";

ProcessResult notStarted(int error, const ProcessRequest& request) {
  const bool directoryFailed = request.directory && ::access(request.directory->c_str(), X_OK) != 0;
  const bool exists = error == EACCES || error == EPERM || error == ENOEXEC || error == ETXTBSY ||
                      error == E2BIG || isBadExecutable(error);
  return {.exitCode = exists && !directoryFailed ? kNotExecutable : kCouldNotStart,
          .startError = std::error_code(error, std::generic_category()),
          .unusablePath = directoryFailed ? *request.directory : request.executable};
}

/// Checks for a reason why the program can't start, since a shell would only report a status. 0 if
/// there is none.
int reasonNotToStart(const ProcessRequest& request) {
  const std::filesystem::path program =
      std::filesystem::path(request.directory.value_or("")) / request.executable;
  if (::access(program.c_str(), X_OK) != 0) {
    return errno;
  }
  std::error_code ignored;
  return std::filesystem::is_directory(program, ignored) ? EACCES : 0;
}

/// A string with a NUL byte would be truncated.
bool canBePassed(const ProcessRequest& request) {
  const auto whole = [](const std::string& text) { return !text.contains('\0'); };
  return whole(request.executable) && std::ranges::all_of(request.arguments, whole) &&
         (!request.directory || whole(*request.directory));
}

/// With this process's ends non-blocking; the child's ends are separate open files.
std::expected<Connections, ProcessResult> makeConnections(const ProcessRequest& request,
                                                          bool throughShell) {
  Connections made;
  for (const auto& [pipe, wanted, ownEnd] :
       {std::tuple(&made.output, true, &Pipe::readEnd),
        {&made.input, request.input.has_value(), &Pipe::writeEnd},
        {&made.status, throughShell, &Pipe::readEnd}}) {
    if (!wanted) {
      continue;
    }
    auto opened = makePipe();
    if (!opened) {
      return std::unexpected(notStarted(opened.error().value(), request));
    }
    *pipe = *std::move(opened);
    if (!makeNonBlocking(pipe->*ownEnd)) {
      return std::unexpected(notStarted(errno, request));
    }
  }
  if (!request.input) {
    made.input.readEnd = aboveStandard(::open(kNoInput, O_RDONLY | O_CLOEXEC));
    if (!made.input.readEnd) {
      return std::unexpected(
          ProcessResult{.exitCode = kCouldNotStart,
                        .startError = std::error_code(errno, std::generic_category()),
                        .unusablePath = kNoInput});
    }
  }
  return made;
}

}  // namespace

ProcessResult runProcess(const ProcessRequest& request) {
  Leftovers::shared().reapEnded();
  if (!canBePassed(request)) {
    return notStarted(EINVAL, request);
  }
  const bool throughShell = statusesGetLost();
  if (const int reason = throughShell ? reasonNotToStart(request) : 0; reason != 0) {
    return notStarted(reason, request);
  }
  auto connections = makeConnections(request, throughShell);
  if (!connections) {
    return std::move(connections).error();
  }
  const SpawnSettings settings(*connections, request.directory);
  auto& [input, output, status] = *connections;
  std::optional<Supervision> supervision;
  {
    const SignalsHeld
        held;  // so that a signal handler that kills the children doesn't miss this one
    pid_t pid = 0;
    if (const int error = settings.spawn(request, throughShell, pid); error != 0) {
      return notStarted(error, request);
    }
    output.writeEnd.reset();
    supervision.emplace(request, pid, std::move(input.writeEnd), std::move(output.readEnd),
                        std::move(status.readEnd));
  }
  input.readEnd.reset();  // the child's ends
  status.writeEnd.reset();
  return supervision->run();
}

}  // namespace platform
