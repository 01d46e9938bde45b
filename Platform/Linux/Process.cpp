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
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "Platform/Descriptor.h"
#include "Platform/Linux/Pidfd.h"
#include "Platform/Polling.h"
#include "Platform/RunningProcesses.h"
#include "Platform/SignalsHeld.h"

namespace platform {
namespace {

using Moment = std::chrono::steady_clock::time_point;

constexpr std::size_t kReadBytes = std::size_t{64} * 1024;     // what a pipe holds
constexpr std::size_t kNoteBytes = 64;                         // on what was dropped
constexpr std::size_t kLongestPiece = std::size_t{64} * 1024;  // of a line
constexpr std::chrono::milliseconds kWaitWithoutPidfd{10};
constexpr std::int32_t kCouldNotStart = 127;
constexpr std::int32_t kNotExecutable = 126;
constexpr std::int32_t kSignalBase = 128;

void dontBlock(const Descriptor& descriptor) {
  if (!descriptor) {
    return;
  }
  ::fcntl(descriptor.get(), F_SETFL, ::fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
}

/// write() without the SIGPIPE of a reader that has gone: the signal goes to the writing thread,
/// so it is blocked in this thread alone and taken back before the mask is restored.
ssize_t writeWithoutSignal(int descriptor, std::string_view bytes) {
  sigset_t pipeSignal;
  sigset_t former;
  sigset_t pending;
  ::sigemptyset(&pipeSignal);
  ::sigaddset(&pipeSignal, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &former);
  ::sigpending(&pending);
  const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
  const int error = errno;
  if (written < 0 && error == EPIPE && ::sigismember(&pending, SIGPIPE) == 0) {
    constexpr timespec kNoWait{};
    while (::sigtimedwait(&pipeSignal, nullptr, &kNoWait) < 0 && errno == EINTR) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
  errno = error;
  return written;
}

/// The child's output: kept up to the limit, its lines handed on as views into the place where
/// they were read.
class Output {
 public:
  Output(std::size_t limit, const std::function<void(std::string_view)>& onLine)
      : limit_(limit), onLine_(onLine) {}

  enum class Reading : std::uint8_t { some, nothingYet, ended };

  /// One read of at most `most` bytes, which `read` is told of.
  Reading readFrom(const Descriptor& pipe, std::size_t& most) {
    return kept_.size() < limit_ ? readKept(pipe, most) : readDropped(pipe, most);
  }

  /// Hands on an unfinished last line and gives the output away.
  [[nodiscard]] std::string finish() {
    const std::string_view buffer = dropping_ ? std::string_view(scratch_->data(), filled_) : kept_;
    if (onLine_ && lineStart_ < buffer.size()) {
      onLine_(buffer.substr(lineStart_));
    }
    if (dropped_ > 0) {
      kept_ += "\n[" + std::to_string(dropped_) + " more bytes of output were dropped]\n";
    }
    return std::move(kept_);
  }

 private:
  using Scratch = std::array<char, kLongestPiece + kReadBytes>;

  Reading readKept(const Descriptor& pipe, std::size_t& most) {
    const std::size_t before = kept_.size();
    const std::size_t room = std::min({kReadBytes, most, limit_ - before});
    if (kept_.capacity() - before < room) {  // doubled, with room for the note from the start
      kept_.reserve(std::min(std::max(kept_.capacity() * 2, before + room), limit_) + kNoteBytes);
    }
    ssize_t count = 0;
    int error = 0;
    kept_.resize_and_overwrite(before + room, [&](char* data, std::size_t) {
      count = ::read(pipe.get(), data + before, room);
      error = errno;
      return before + static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    });
    if (count > 0) {
      most -= static_cast<std::size_t>(count);
      handOnLines(kept_);
    }
    return answer(count, error);
  }

  Reading readDropped(const Descriptor& pipe, std::size_t& most) {
    if (!dropping_) {
      startDropping();
    }
    const ssize_t count =
        ::read(pipe.get(), scratch_->data() + filled_, std::min(kReadBytes, most));
    const int error = errno;
    if (count > 0) {
      most -= static_cast<std::size_t>(count);
      dropped_ += static_cast<std::uint64_t>(count);
      if (onLine_) {
        filled_ += static_cast<std::size_t>(count);
        handOnLines({scratch_->data(), filled_});
        filled_ -= lineStart_;
        std::memmove(scratch_->data(), scratch_->data() + lineStart_, filled_);
        lineStart_ = 0;
        searched_ = filled_;
      }
    }
    return answer(count, error);
  }

  /// From now on only the line in hand is in memory; it begins with what was kept of it.
  void startDropping() {
    dropping_ = true;
    scratch_ = std::make_unique_for_overwrite<Scratch>();
    if (onLine_) {
      filled_ = kept_.copy(scratch_->data(), std::string::npos, lineStart_);
    }
    lineStart_ = 0;
    searched_ = filled_;
  }

  /// Hands on the lines of `buffer` that begin at `lineStart_`; up to `searched_` there is none.
  void handOnLines(std::string_view buffer) {
    if (!onLine_) {
      return;
    }
    for (;;) {
      const void* found = std::memchr(buffer.data() + searched_, '\n', buffer.size() - searched_);
      const std::size_t end =
          found == nullptr
              ? buffer.size()
              : static_cast<std::size_t>(static_cast<const char*>(found) - buffer.data());
      for (; end - lineStart_ > kLongestPiece; lineStart_ += kLongestPiece) {
        onLine_(buffer.substr(lineStart_, kLongestPiece));
      }
      if (found == nullptr) {
        searched_ = end;
        return;
      }
      onLine_(buffer.substr(lineStart_, end - lineStart_));
      lineStart_ = searched_ = end + 1;
    }
  }

  static Reading answer(ssize_t count, int error) {
    if (count > 0) {
      return Reading::some;
    }
    return count < 0 && (error == EAGAIN || error == EINTR) ? Reading::nothingYet : Reading::ended;
  }

  std::size_t limit_;
  const std::function<void(std::string_view)>& onLine_;
  std::string kept_;
  std::unique_ptr<Scratch> scratch_;  // only once the limit is reached
  bool dropping_ = false;
  std::size_t filled_ = 0;     // of scratch_
  std::size_t lineStart_ = 0;  // in the buffer that is read into
  std::size_t searched_ = 0;
  std::uint64_t dropped_ = 0;
};

/// How the child starts: descriptors, group, signals. An operation that fails is kept in `error`.
class SpawnSettings {
 public:
  SpawnSettings() {
    note(::posix_spawn_file_actions_init(&actions_));
    note(::posix_spawnattr_init(&attributes_));
    sigset_t signals;
    ::sigfillset(&signals);
    note(::posix_spawnattr_setsigdefault(&attributes_, &signals));
    ::sigemptyset(&signals);
    note(::posix_spawnattr_setsigmask(&attributes_, &signals));
    note(::posix_spawnattr_setpgroup(&attributes_, 0));
    note(::posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
  }
  ~SpawnSettings() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  void connect(const std::optional<Pipe>& input, const Pipe& output) {
    note(input ? ::posix_spawn_file_actions_adddup2(&actions_, input->readEnd.get(), STDIN_FILENO)
               : ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY,
                                                    0));
    note(::posix_spawn_file_actions_adddup2(&actions_, output.writeEnd.get(), STDOUT_FILENO));
    note(::posix_spawn_file_actions_adddup2(&actions_, output.writeEnd.get(), STDERR_FILENO));
    note(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
  }
  void startIn(const std::string& directory) {
    note(::posix_spawn_file_actions_addchdir_np(&actions_, directory.c_str()));
  }

  /// 0, or the error that kept the program from being started.
  [[nodiscard]] int spawn(const ProcessRequest& request, pid_t& pid) const {
    if (error_ != 0) {
      return error_;
    }
    std::vector<char*> arguments;
    arguments.reserve(request.arguments.size() + 2);
    arguments.push_back(const_cast<char*>(request.executable.c_str()));
    for (const std::string& argument : request.arguments) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return ::posix_spawn(&pid, request.executable.c_str(), &actions_, &attributes_,
                         arguments.data(), environ);
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

/// Children that outlived SIGKILL (they hang in the kernel): reaped by a later run.
class Leftovers {
 public:
  static Leftovers& shared() {
    // Never destroyed: other threads may run children until the very end of the process.
    static Leftovers& leftovers = *new Leftovers;
    return leftovers;
  }
  void add(Descriptor child) {
    const std::scoped_lock lock(mutex_);
    children_.push_back(std::move(child));
  }
  void reapEnded() {
    const std::scoped_lock lock(mutex_);
    std::erase_if(children_, [](const Descriptor& child) {
      siginfo_t information{};
      return ::waitid(P_PIDFD, static_cast<id_t>(child.get()), &information, WEXITED | WNOHANG) !=
                 0 ||
             information.si_pid != 0;
    });
  }

 private:
  std::mutex mutex_;
  std::vector<Descriptor> children_;
};

/// A started child. Unless it was reaped, its group is killed and it is reaped on destruction.
class Child {
 public:
  explicit Child(pid_t pid) : pid_(pid), running_(pid) {
    Descriptor opened = openPidfd(pid);
    const int error = errno;
    // The child is reaped already when the process ignores SIGCHLD.
    ended_ = !opened && error == ESRCH;
    pidfd_ = std::move(opened);
  }
  ~Child() {
    if (!reaped_) {
      signalGroup(SIGKILL);
      (void)reap();
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  [[nodiscard]] const Descriptor& pidfd() const { return pidfd_; }
  [[nodiscard]] bool ended() const { return ended_; }
  /// Learns whether the child has ended, which `pidfdReady` tells where there is a pidfd.
  void look(bool pidfdReady) {
    if (pidfd_) {
      ended_ = ended_ || pidfdReady;
    } else if (!ended_) {
      siginfo_t information{};
      ended_ = wait(information, WNOHANG | WNOWAIT) != 0 || information.si_pid != 0;
    }
  }

  /// Signals every process of the child's group, or the child when it has left the group.
  void signalGroup(int signal) const {
    if (::kill(-pid_, signal) != 0 && !ended_) {
      ::kill(pid_, signal);
    }
  }

  /// Waits for the child's end and takes its status.
  [[nodiscard]] std::int32_t reap() {
    reaped_ = true;
    running_.forget();
    siginfo_t information{};
    if (wait(information, 0) != 0) {
      return ProcessResult::kUnknownStatus;
    }
    return information.si_code == CLD_EXITED ? information.si_status
                                             : kSignalBase + information.si_status;
  }

  /// Gives up on a child that can't be killed.
  [[nodiscard]] std::int32_t abandon() {
    reaped_ = true;
    if (pidfd_) {
      Leftovers::shared().add(std::move(pidfd_));
    }
    return kSignalBase + SIGKILL;
  }

 private:
  int wait(siginfo_t& information, int options) const {
    int answer = 0;
    do {
      answer = pidfd_ ? ::waitid(P_PIDFD, static_cast<id_t>(pidfd_.get()), &information,
                                 WEXITED | options)
                      : ::waitid(P_PID, static_cast<id_t>(pid_), &information, WEXITED | options);
    } while (answer != 0 && errno == EINTR);
    return answer;
  }

  pid_t pid_;
  Descriptor pidfd_;
  RunningProcess running_;
  bool ended_ = false;
  bool reaped_ = false;
};

/// Milliseconds for poll(), rounded up so that it does not wake before the deadline.
int pollTimeout(const std::optional<Moment>& deadline, bool hasPidfd) {
  using std::chrono::milliseconds;
  milliseconds wait = hasPidfd ? milliseconds::max() : kWaitWithoutPidfd;
  if (deadline) {
    const auto left = std::chrono::ceil<milliseconds>(*deadline - std::chrono::steady_clock::now());
    wait = std::min(wait, std::max(left, milliseconds::zero()));
  }
  if (wait == milliseconds::max()) {
    return -1;
  }
  return static_cast<int>(std::min<milliseconds::rep>(wait.count(), INT_MAX));
}

/// The moment `timeout` from now; absent for one that this clock can't count.
std::optional<Moment> deadlineAfter(std::optional<std::chrono::milliseconds> timeout) {
  const Moment now = std::chrono::steady_clock::now();
  if (!timeout ||
      *timeout > std::chrono::duration_cast<std::chrono::milliseconds>(Moment::max() - now)) {
    return std::nullopt;
  }
  return now + std::max(*timeout, std::chrono::milliseconds::zero());
}

/// Feeds, reads and waits until the child has ended, or at the deadline has been ended.
class Supervision {
 public:
  Supervision(const ProcessRequest& request, pid_t pid, Descriptor input, Descriptor output)
      : child_(pid),
        inputPipe_(std::move(input)),
        outputPipe_(std::move(output)),
        input_(request.input.value_or(std::string_view{})),
        output_(request.maximumOutputBytes, request.onLine),
        deadline_(deadlineAfter(request.timeout)),
        grace_(request.grace) {
    dontBlock(inputPipe_);
    dontBlock(outputPipe_);
  }

  [[nodiscard]] ProcessResult run() {
    feed();
    while (!isOver()) {
      waitForEvent();
      if (!isOver() && deadline_ && std::chrono::steady_clock::now() >= *deadline_) {
        escalate();
      }
    }
    drain();
    ProcessResult result{.timedOut = stage_ != Stage::running};
    if (result.timedOut) {
      child_.signalGroup(SIGKILL);  // whoever of the group has outlived its leader
    }
    result.exitCode = child_.ended() ? child_.reap() : child_.abandon();
    result.output = output_.finish();
    return result;
  }

 private:
  enum class Stage : std::uint8_t { running, terminated, killed, givenUp };

  /// After the SIGTERM the rest of the group has its grace too, as long as it holds the pipe.
  [[nodiscard]] bool isOver() const {
    return stage_ == Stage::givenUp ||
           (child_.ended() && (stage_ != Stage::terminated || !outputPipe_));
  }

  void waitForEvent() {
    enum : std::uint8_t { kEnd, kOutput, kInput, kCount };
    std::array<pollfd, kCount> events{};
    events[kEnd] = {
        .fd = child_.ended() ? -1 : child_.pidfd().get(), .events = POLLIN, .revents = 0};
    events[kOutput] = {.fd = outputPipe_.get(), .events = POLLIN, .revents = 0};
    events[kInput] = {.fd = inputPipe_.get(), .events = POLLOUT, .revents = 0};
    ::poll(events.data(), events.size(), pollTimeout(deadline_, static_cast<bool>(child_.pidfd())));
    if (events[kInput].revents != 0) {
      feed();
    }
    if (events[kOutput].revents != 0) {
      std::size_t most = kReadBytes;
      readOnce(most);
    }
    child_.look(events[kEnd].revents != 0);
  }

  void feed() {
    if (!inputPipe_) {
      return;
    }
    while (!input_.empty()) {
      const ssize_t written = writeWithoutSignal(inputPipe_.get(), input_);
      if (written < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
      }
      if (written < 0) {  // the child has closed its input, which is its right
        break;
      }
      input_.remove_prefix(static_cast<std::size_t>(written));
    }
    inputPipe_.reset();
  }

  bool readOnce(std::size_t& most) {
    const Output::Reading reading = output_.readFrom(outputPipe_, most);
    if (reading == Output::Reading::ended) {
      outputPipe_.reset();
    }
    return reading == Output::Reading::some;
  }

  /// Reads what the pipe holds now. A grandchild may go on writing: its bytes aren't waited for.
  void drain() {
    int held = 0;
    if (!outputPipe_ || ::ioctl(outputPipe_.get(), FIONREAD, &held) != 0) {
      return;
    }
    for (auto most = static_cast<std::size_t>(std::max(held, 0)); most > 0 && readOnce(most);) {
    }
  }

  void escalate() {
    switch (stage_) {
      case Stage::running:
        stage_ = Stage::terminated;
        child_.signalGroup(SIGTERM);
        child_.signalGroup(SIGCONT);  // a stopped process can't act on it otherwise
        break;
      case Stage::terminated:
        stage_ = Stage::killed;
        child_.signalGroup(SIGKILL);
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
  std::string_view input_;  // what is still to be fed
  Output output_;
  std::optional<Moment> deadline_;
  std::chrono::milliseconds grace_;
  Stage stage_ = Stage::running;
};

ProcessResult notStarted(int error, const ProcessRequest& request) {
  const bool directoryFailed = request.directory && ::access(request.directory->c_str(), X_OK) != 0;
  const bool isThere = error == EACCES || error == EPERM || error == ENOEXEC || error == ETXTBSY ||
                       error == ELIBBAD || error == E2BIG;
  return {.exitCode = isThere && !directoryFailed ? kNotExecutable : kCouldNotStart,
          .startError = std::error_code(error, std::generic_category())};
}

/// A text with a NUL in it would reach the child cut short.
bool canBePassed(const ProcessRequest& request) {
  const auto whole = [](const std::string& text) { return !text.contains('\0'); };
  return whole(request.executable) && std::ranges::all_of(request.arguments, whole) &&
         (!request.directory || whole(*request.directory));
}

}  // namespace

ProcessResult runProcess(const ProcessRequest& request) {
  Leftovers::shared().reapEnded();
  if (!canBePassed(request)) {
    return notStarted(EINVAL, request);
  }
  auto output = makePipe();
  if (!output) {
    return notStarted(output.error().value(), request);
  }
  std::optional<Pipe> input;
  if (request.input) {
    auto made = makePipe();
    if (!made) {
      return notStarted(made.error().value(), request);
    }
    input = *std::move(made);
  }
  SpawnSettings settings;
  if (request.directory) {
    settings.startIn(*request.directory);
  }
  settings.connect(input, *output);
  std::optional<Supervision> supervision;
  {
    const SignalsHeld held;  // lest a handler that ends the children misses this one
    pid_t pid = 0;
    if (const int error = settings.spawn(request, pid); error != 0) {
      return notStarted(error, request);
    }
    output->writeEnd.reset();
    supervision.emplace(request, pid, input ? std::move(input->writeEnd) : Descriptor(),
                        std::move(output->readEnd));
  }
  input.reset();  // the child's end of it
  return supervision->run();
}

}  // namespace platform
