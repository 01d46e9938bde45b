#include "Platform/Posix/ChildOutput.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace platform {
namespace {

constexpr std::size_t kNoteBytes = 64;  // appended when output was dropped

ChildOutput::Reading answer(ssize_t count, int error) {
  if (count > 0) {
    return ChildOutput::Reading::some;
  }
  return count < 0 && (error == EAGAIN || error == EINTR) ? ChildOutput::Reading::nothingYet
                                                          : ChildOutput::Reading::ended;
}

/// How many bytes of a line longer than `most` go into one piece, without splitting a character.
std::size_t pieceLength(std::string_view line, std::size_t most) {
  constexpr std::size_t kLongestCharacter = 4;
  std::size_t length = most;
  while (most - length < kLongestCharacter && (line[length] & 0xC0) == 0x80) {
    --length;
  }
  return most - length < kLongestCharacter ? length : most;  // else it isn't UTF-8
}

}  // namespace

ChildOutput::Reading ChildOutput::readFrom(const Descriptor& pipe, std::size_t& most) {
  return kept_.size() < limit_ ? readKept(pipe, most) : readDropped(pipe, most);
}

std::string ChildOutput::finish() {
  const std::string_view buffer = dropping_ ? std::string_view(scratch_->data(), filled_) : kept_;
  if (onLine_ && lineStart_ < buffer.size()) {
    onLine_(buffer.substr(lineStart_));
  }
  if (dropped_ > 0) {
    kept_ += "\n[" + std::to_string(dropped_) + " more bytes of output were dropped]\n";
  }
  return std::move(kept_);
}

ChildOutput::Reading ChildOutput::readKept(const Descriptor& pipe, std::size_t& most) {
  const std::size_t before = kept_.size();
  const std::size_t room = std::min({kReadBytes, most, limit_ - before});
  if (kept_.capacity() - before < room) {  // doubles, with room for the note reserved
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
    deliver(std::string_view(kept_).substr(before));
    reportLines(kept_);
  }
  return answer(count, error);
}

ChildOutput::Reading ChildOutput::readDropped(const Descriptor& pipe, std::size_t& most) {
  if (!dropping_) {
    startDropping();
  }
  const ssize_t count = ::read(pipe.get(), scratch_->data() + filled_, std::min(kReadBytes, most));
  const int error = errno;
  if (count > 0) {
    most -= static_cast<std::size_t>(count);
    dropped_ += static_cast<std::uint64_t>(count);
    deliver({scratch_->data() + filled_, static_cast<std::size_t>(count)});
    if (onLine_) {
      filled_ += static_cast<std::size_t>(count);
      reportLines({scratch_->data(), filled_});
      filled_ -= lineStart_;
      std::memmove(scratch_->data(), scratch_->data() + lineStart_, filled_);
      lineStart_ = 0;
      searched_ = filled_;
    }
  }
  return answer(count, error);
}

/// From now on only the current line is kept in memory, starting with the part already stored.
void ChildOutput::startDropping() {
  dropping_ = true;
  scratch_ = std::make_unique_for_overwrite<Scratch>();
  if (onLine_) {
    filled_ = kept_.copy(scratch_->data(), std::string::npos, lineStart_);
  }
  lineStart_ = 0;
  searched_ = filled_;
}

void ChildOutput::deliver(std::string_view piece) const {
  if (onOutput_) {
    onOutput_(piece);
  }
}

/// Reports the lines of `buffer` from `lineStart_` on; there is no line end before `searched_`.
void ChildOutput::reportLines(std::string_view buffer) {
  if (!onLine_) {
    return;
  }
  for (;;) {
    const void* found = std::memchr(buffer.data() + searched_, '\n', buffer.size() - searched_);
    const std::size_t end =
        found == nullptr
            ? buffer.size()
            : static_cast<std::size_t>(static_cast<const char*>(found) - buffer.data());
    while (end - lineStart_ > kLongestPiece) {
      const std::size_t length = pieceLength(buffer.substr(lineStart_), kLongestPiece);
      onLine_(buffer.substr(lineStart_, length));
      lineStart_ += length;
    }
    if (found == nullptr) {
      searched_ = end;
      return;
    }
    onLine_(buffer.substr(lineStart_, end - lineStart_));
    lineStart_ = searched_ = end + 1;
  }
}

}  // namespace platform
