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
#include "Platform/Memory.h"

namespace vxutils {

/// A request, whose text is the key, or a reply, whose text is the value.
struct AgentServiceMessage {
  std::int64_t id = 0;
  std::optional<std::string> text;  ///< The receiver must wipe a value.
};

/// The members that hold the text of requests and of replies.
inline constexpr std::string_view kRequestMember = "fetchStatusMessageForKey";
inline constexpr std::string_view kReplyMember = "value";

/// Formats a message as a line, with its line feed; an absent text becomes null.
[[nodiscard]] std::string messageLine(std::int64_t id, std::string_view member,
                                      const std::optional<std::string_view>& text);
/// Parses a line without its line feed; absent if it isn't an object with an id. The text is absent
/// if the member is missing or isn't a string. Other members are ignored.
[[nodiscard]] std::optional<AgentServiceMessage> parseMessage(std::string_view line,
                                                              std::string_view member);

/// Splits received bytes into lines, which are limited in length.
class LineBuffer {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{64} * 1024;

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
  std::string bytes_ = std::string(kLongestLine, '\0');
  platform::WipeAtEnd wipeBytes_{bytes_};
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
