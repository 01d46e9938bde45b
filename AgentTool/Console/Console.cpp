#include "AgentTool/Console/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/Interruption.h"
#include "AgentTool/Console/PrintableText.h"
#include "Platform/Descriptor.h"
#include "Platform/SignalsHeld.h"

namespace agent_tool {
namespace {

constexpr std::chrono::milliseconds kActivityDelay{300};  // shorter actions show no activity
constexpr std::chrono::milliseconds kFrame{100};
constexpr std::array<std::string_view, 10> kSpinner{"⠋", "⠙", "⠹", "⠸", "⠼",
                                                    "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

/// Empty if it isn't set.
std::string_view environmentVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool isDumb() { return environmentVariable("TERM") == "dumb"; }

std::size_t columnsOf(int descriptor) {
  winsize size{};
  const bool known = ::isatty(descriptor) != 0 && ::ioctl(descriptor, TIOCGWINSZ, &size) == 0;
  return known && size.ws_col > 0 ? size.ws_col : kNoLimit;
}

int activityTerminal() {
  for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
    if (!isDumb() && ::isatty(descriptor) != 0) {
      return descriptor;
    }
  }
  return -1;
}

/// «59 s», «12 min», «3 h 5 min»
std::string timeText(std::chrono::seconds time) {
  using namespace std::chrono;
  if (time < minutes(2)) {
    return std::to_string(time.count()) + " s";
  }
  const auto wholeHours = floor<hours>(time);
  const std::string rest = std::to_string(floor<minutes>(time - wholeHours).count()) + " min";
  return wholeHours.count() == 0 ? rest : std::to_string(wholeHours.count()) + " h " + rest;
}

}  // namespace

Console::Console()
    : width_(columnsOf(STDOUT_FILENO)),
      isTerminal_(::isatty(STDOUT_FILENO) != 0),
      coloured_(isTerminal_ && environmentVariable("NO_COLOR").empty() && !isDumb()),
      activityDescriptor_(activityTerminal()) {}

void Console::write(std::string_view text) {
  const std::scoped_lock lock(mutex_);
  eraseActivity();
  if (const int error = platform::writeAll(STDOUT_FILENO, text); error != 0) {
    throw std::runtime_error("can't write to standard output: " +
                             std::generic_category().message(error));
  }
}

void Console::reportError(std::string_view text) {
  withActivityCleared([&] {
    // If that fails, there is nowhere to report it.
    (void)platform::writeAll(STDERR_FILENO, "vexlo-patch: " + std::string(text) + "\n");
  });
}

void Console::withActivityCleared(const std::function<void()>& writeOther) {
  const std::scoped_lock lock(mutex_);
  eraseActivity();
  writeOther();
}

std::string Console::styled(std::string_view text, Style style) const {
  if (!coloured_ || style == Style::plain || text.empty()) {
    return std::string(text);
  }
  return LogCore::text("\x1b[", std::to_underlying(style), 'm', text, "\x1b[0m");
}

void Console::eraseActivity() {
  if (std::exchange(activityIsShown_, false)) {
    (void)platform::writeAll(activityDescriptor_, "\r\x1b[K");
  }
}

Console::Activity::Activity(Console& console, std::function<std::string()> text)
    : console_(console) {
  if (console_.activityDescriptor_ >= 0) {
    const platform::SignalsHeld held;  // the main thread handles signals
    thread_ = std::thread([this, text = std::move(text)] { keepShowing(text); });
  }
}

Console::Activity::~Activity() {
  if (thread_.joinable()) {
    {
      const std::scoped_lock lock(console_.mutex_);
      ended_ = true;
    }
    hasEnded_.notify_one();
    thread_.join();
  }
}

void Console::Activity::show(std::string progress) {
  const std::scoped_lock lock(console_.mutex_);
  progress_ = std::move(progress);
}

void Console::Activity::keepShowing(const std::function<std::string()>& text) {
  const auto began = std::chrono::steady_clock::now();
  const std::size_t width = columnsOf(console_.activityDescriptor_);
  std::unique_lock lock(console_.mutex_);
  std::chrono::milliseconds pause = kActivityDelay;
  for (std::size_t frame = 0;
       !hasEnded_.wait_for(lock, pause, [&] { return ended_; }) && !isInterrupted();
       ++frame, pause = kFrame) {
    const auto gone =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - began);
    std::string line = std::string(kSpinner[frame % kSpinner.size()]) + " " + text() + ", " +
                       (progress_.empty() ? "" : progress_ + ", ") + timeText(gone);
    if (width != kNoLimit) {
      line = wrapped(line, width - 1).front();  // a full line would scroll the terminal
    }
    console_.activityIsShown_ =
        platform::writeAll(console_.activityDescriptor_, "\r" + line + "\x1b[K") == 0;
  }
  if (!isInterrupted()) {
    console_.eraseActivity();
  }
}

}  // namespace agent_tool
