// The lines that the two ends of the agent service exchange. They may hold secrets, so every
// buffer here is wiped.
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
  std::optional<std::string> value;  ///< For the receiver to wipe.
};

/// The line of a request or reply, with its line feed.
[[nodiscard]] std::string requestLine(std::int64_t id, std::string_view key);
[[nodiscard]] std::string replyLine(std::int64_t id, const std::optional<std::string>& value);

/// The message in a line without its line feed; absent when it is none. A reply whose value is
/// missing or no text counts as a reply without a value. Unknown members are ignored.
[[nodiscard]] std::optional<AgentServiceRequest> parseRequest(std::string_view line);
[[nodiscard]] std::optional<AgentServiceReply> parseReply(std::string_view line);

/// Collects received bytes and takes them apart into lines. Bounded: a line that does not fit ends
/// the conversation.
class LineBuffer {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{64} * 1024;

  LineBuffer();
  ~LineBuffer();
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;

  /// Where the next bytes go; empty when the current line is too long.
  [[nodiscard]] std::span<char> room() noexcept;
  /// Whether the current line is too long: `room` is empty after all whole lines were taken.
  [[nodiscard]] bool isFull() const noexcept { return used_ - taken_ == bytes_.size(); }
  /// Takes over `count` bytes that were put into `room()`.
  void add(std::size_t count) noexcept { used_ += count; }
  /// The next whole line, valid until the next call; absent when there is none yet. A line is wiped
  /// when the next call comes. The time that all calls take is linear in what was received.
  [[nodiscard]] std::optional<std::string_view> nextLine() noexcept;

 private:
  std::string bytes_;
  std::size_t used_ = 0;
  std::size_t taken_ = 0;     // lines handed out, at the front,
  std::size_t wiped_ = 0;     // all but the last of them wiped
  std::size_t searched_ = 0;  // there is no line feed between `taken_` and here
};

/// `platform::receive` into `buffer`; -1 also when a line is too long for it.
[[nodiscard]] std::ptrdiff_t receive(const platform::Descriptor& socket, LineBuffer& buffer,
                                     bool wait) noexcept;

/// Whether the process at the other end of `socket` may know the agent's secrets: it runs as root
/// or as this process's own user.
[[nodiscard]] bool mayKnowSecrets(const platform::Descriptor& socket);

}  // namespace vxutils
