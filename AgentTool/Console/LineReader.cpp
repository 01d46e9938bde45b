#include "AgentTool/Console/LineReader.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "Platform/Text.h"

namespace agent_tool {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;

bool wouldWait(int descriptor) {
  pollfd wanted{.fd = descriptor, .events = POLLIN, .revents = 0};
  return ::poll(&wanted, 1, 0) == 0;
}

}  // namespace

LineSource::LineSource(const std::string& path) : name_(path) {
  if (path == kStandardInputName) {
    name_ = "standard input";
    return;
  }
  file_ = platform::aboveStandard(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file_) {
    throw std::system_error(errno, std::generic_category());
  }
}

int LineSource::descriptor() const noexcept { return file_ ? file_.get() : STDIN_FILENO; }

LineReader::LineReader(int descriptor, std::size_t longestLine, std::function<void()> beforeWait)
    : descriptor_(descriptor),
      longestLine_(longestLine),
      beforeWait_(std::move(beforeWait)),
      buffer_(longestLine + kBlockBytes) {}

std::optional<LineReader::Line> LineReader::next() {
  std::optional<Line> line;
  do {
    line = nextOfAll();
  } while (line && !line->isTooLong && platform::trimmed(line->text, " \t\r").empty());
  return line;
}

std::optional<LineReader::Line> LineReader::nextOfAll() {
  if (std::exchange(restIsSkipped_, false)) {
    skipRestOfLine();
  }
  std::size_t searched = begin_;
  for (;;) {
    const char* const from = buffer_.data() + searched;
    const auto* const feed = static_cast<const char*>(std::memchr(from, '\n', end_ - searched));
    const std::size_t length =
        feed != nullptr ? static_cast<std::size_t>(feed - buffer_.data()) - begin_ : end_ - begin_;
    if (length > longestLine_) {
      restIsSkipped_ = true;
      return Line{
          .text = {buffer_.data() + begin_, longestLine_}, .number = ++number_, .isTooLong = true};
    }
    if (feed != nullptr) {
      const Line line{.text = {buffer_.data() + begin_, length}, .number = ++number_};
      begin_ += length + 1;
      return line;
    }
    if (begin_ > 0) {
      std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
      end_ -= std::exchange(begin_, 0);
    }
    searched = end_;
    if (!fill()) {
      if (begin_ == end_) {
        return std::nullopt;
      }
      const Line line{.text = {buffer_.data() + begin_, end_ - begin_}, .number = ++number_};
      begin_ = end_;
      return line;
    }
  }
}

bool LineReader::fill() {
  if (wouldWait(descriptor_)) {
    beforeWait_();
  }
  for (;;) {
    const ssize_t count = ::read(descriptor_, buffer_.data() + end_, kBlockBytes);
    if (count >= 0) {
      end_ += static_cast<std::size_t>(count);
      bytesRead_ += static_cast<std::uint64_t>(count);
      return count > 0;
    }
    if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category());
    }
  }
}

void LineReader::skipRestOfLine() {
  do {
    const char* const from = buffer_.data() + begin_;
    if (const void* const feed = std::memchr(from, '\n', end_ - begin_); feed != nullptr) {
      begin_ += static_cast<std::size_t>(static_cast<const char*>(feed) - from) + 1;
      return;
    }
    begin_ = end_ = 0;
  } while (fill());
}

}  // namespace agent_tool
