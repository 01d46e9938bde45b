#include "Platform/Posix/ChildOutput.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Platform/Unicode.h"

namespace platform {
namespace {

constexpr std::size_t kNoteBytes = 64;  // appended when output was dropped

}  // namespace

ChildOutput::Reading ChildOutput::readFrom(const Descriptor& pipe, std::size_t& most) {
  char* const start = buffer_->data() + unfinished_;
  const ssize_t count = ::read(pipe.get(), start, std::min(kReadBytes, most));
  if (count <= 0) {
    return count < 0 && (errno == EAGAIN || errno == EINTR) ? Reading::nothingYet : Reading::ended;
  }
  const std::string_view piece(start, static_cast<std::size_t>(count));
  most -= piece.size();
  keep(piece);
  if (onOutput_) {
    onOutput_(piece);
  }
  if (onLine_) {
    reportLines(piece.size());
  }
  return Reading::some;
}

std::string ChildOutput::finish() {
  if (unfinished_ > 0) {
    onLine_({buffer_->data(), unfinished_});
  }
  if (dropped_ > 0) {
    kept_ += "\n[" + std::to_string(dropped_) + " more bytes of output were dropped]\n";
  }
  return std::move(kept_);
}

/// Stores what fits within the limit.
void ChildOutput::keep(std::string_view piece) {
  const std::string_view fitting = piece.substr(0, limit_ - kept_.size());
  const std::size_t needed = kept_.size() + fitting.size();
  if (kept_.capacity() < needed) {  // doubles, with room for the note reserved
    const std::size_t wanted = std::max({kReadBytes, kept_.capacity() * 2, needed});
    kept_.reserve(std::min(wanted, limit_) + kNoteBytes);
  }
  kept_ += fitting;
  dropped_ += piece.size() - fitting.size();
}

/// Reports the lines in the buffer, of which the last `added` bytes are new, and moves an
/// unfinished one to its start.
void ChildOutput::reportLines(std::size_t added) {
  std::string_view left(buffer_->data(), unfinished_ + added);
  for (std::size_t searched = unfinished_;; searched = 0) {
    const std::size_t end = left.find('\n', searched);
    std::string_view line = left.substr(0, end);
    while (line.size() > kLongestPiece) {
      const std::string_view piece = wholeCharacters(line, kLongestPiece);
      onLine_(piece);
      line.remove_prefix(piece.size());
    }
    if (end == std::string_view::npos) {
      unfinished_ = line.size();
      std::memmove(buffer_->data(), line.data(), unfinished_);
      return;
    }
    onLine_(line);
    left.remove_prefix(end + 1);
  }
}

}  // namespace platform
