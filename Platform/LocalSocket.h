// Unix-domain stream sockets with the peer's identity.
#pragma once
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <utility>

namespace platform {

/// Owns one file descriptor and closes it.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();
  [[nodiscard]] int get() const noexcept { return number_; }
  [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }
  void reset() noexcept;

 private:
  int number_ = -1;
};

/// Connects to the socket at `path`. The error text is the system's reason. Close-on-exec; a
/// write to a closed peer fails with EPIPE and raises no signal.
[[nodiscard]] std::expected<Descriptor, std::string> connectLocalSocket(const std::string& path);
/// Makes a listening socket at `path` (an old socket there is replaced), for its owner only.
[[nodiscard]] std::expected<Descriptor, std::string> listenOnLocalSocket(const std::string& path);
/// The user id that the process at the other end runs as; absent when the system can't say.
[[nodiscard]] std::optional<std::uint32_t> peerUserID(const Descriptor& socket);

}  // namespace platform
