#include "AgentTool/Console/LineReader.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "Platform/Posix/Uninterrupted.h"
#include "Platform/Text.h"

namespace agent_tool {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;

bool wouldWait(int descriptor) {
  pollfd wanted{.fd = descriptor, .events = POLLIN, .revents = 0};
  return ::poll(&wanted, 1, 0) == 0;
}

}  // namespace

LineReader::LineReader(const std::string& path, std::size_t longestLine,
                       std::function<void()> beforeWait)
    : name_(path == kStandardInputName ? "standard input" : path),
      longestLine_(longestLine),
      beforeWait_(std::move(beforeWait)) {
  if (path != kStandardInputName) {
    file_ = platform::aboveStandard(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file_) {
      throw std::system_error(errno, std::generic_category(), name_);
    }
  }
  buffer_.resize(longestLine + kBlockBytes);
}

std::optional<LineReader::Line> LineReader::next() {
  for (std::size_t searched = 0;;) {
    const std::size_t feed = unread_.find('\n', searched);
    if (!restIsSkipped_ && std::min(feed, unread_.size()) > longestLine_) {
      restIsSkipped_ = true;
      return Line{.text = unread_.substr(0, longestLine_), .number = ++number_, .isTooLong = true};
    }
    if (feed == std::string_view::npos) {
      if (restIsSkipped_) {
        unread_ = {};
      }
      searched = unread_.size();
      if (!fill()) {
        return std::nullopt;
      }
      continue;
    }
    const std::string_view text = unread_.substr(0, feed);
    unread_.remove_prefix(feed + 1);
    searched = 0;
    if (std::exchange(restIsSkipped_, false)) {
      continue;
    }
    ++number_;
    if (!platform::trimmed(text, " \t\r").empty()) {
      return Line{.text = text, .number = number_};
    }
  }
}

bool LineReader::fill() {
  const int descriptor = file_ ? file_.get() : STDIN_FILENO;
  if (wouldWait(descriptor)) {
    beforeWait_();
  }
  if (unread_.data() != buffer_.data()) {
    std::ranges::copy(unread_, buffer_.data());
  }
  char* const end = buffer_.data() + unread_.size();
  ssize_t count = platform::uninterrupted([&] { return ::read(descriptor, end, kBlockBytes); });
  if (count < 0) {
    throw std::system_error(errno, std::generic_category(), name_);
  }
  bytesRead_ += static_cast<std::uint64_t>(count);
  if (count == 0 && !unread_.empty()) {
    *end = '\n';  // which the last line lacks
    count = 1;
  }
  unread_ = {buffer_.data(), end + count};
  return count > 0;
}

}  // namespace agent_tool
