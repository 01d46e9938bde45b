// The messages between the agent service and its clients. They may contain secrets, so every buffer
// here is wiped.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Platform/Descriptor.h"

namespace vxutils {

struct AgentServiceRequest {
  std::int64_t id = 0;
  std::string key;
};

struct AgentServiceReply {
  std::int64_t id = 0;
  std::optional<std::string> value;  ///< The receiver must wipe it.
};

/// Formats a request or reply as a line, with its line feed.
[[nodiscard]] std::string requestLine(std::int64_t id, std::string_view key);
[[nodiscard]] std::string replyLine(std::int64_t id, const std::optional<std::string>& value);

/// Parses a line without its line feed; absent if it isn't a message. A reply whose value is
/// missing or isn't a string counts as a reply without a value. Unknown members are ignored.
[[nodiscard]] std::optional<AgentServiceRequest> parseRequest(std::string_view line);
[[nodiscard]] std::optional<AgentServiceReply> parseReply(std::string_view line);

/// Splits received bytes into lines, which are limited in length.
class LineBuffer {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{64} * 1024;

  LineBuffer();
  ~LineBuffer();
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;

  /// The free space for the next bytes; empty if the current line is too long.
  [[nodiscard]] std::span<char> room() noexcept;
  /// Whether the current line is too long: `room` is empty although all whole lines were taken.
  [[nodiscard]] bool isFull() const noexcept { return used_ - taken_ == bytes_.size(); }
  /// Adds `count` bytes that were written to `room()`.
  void add(std::size_t count) noexcept { used_ += count; }
  /// The next whole line, valid until the next call, which wipes it; absent if there is none yet.
  /// All calls together take linear time.
  [[nodiscard]] std::optional<std::string_view> nextLine() noexcept;

 private:
  std::string bytes_;
  std::size_t used_ = 0;
  std::size_t taken_ = 0;     // end of the lines already returned,
  std::size_t wiped_ = 0;     // all but the last of which are wiped
  std::size_t searched_ = 0;  // no line feed between `taken_` and here
};

/// `platform::receive` into `buffer`; also -1 if a line is too long.
[[nodiscard]] std::ptrdiff_t receive(const platform::Descriptor& socket, LineBuffer& buffer,
                                     bool wait) noexcept;

/// Whether the peer of `socket` may receive the agent's secrets: it must run as root or as this
/// process's user.
[[nodiscard]] bool mayReceiveSecrets(const platform::Descriptor& socket);

}  // namespace vxutils
