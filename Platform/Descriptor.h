// One file descriptor with an owner.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace platform {

/// Owns one file descriptor and closes it, which leaves errno as it was.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();
  /// The number, -1 when there is none.
  [[nodiscard]] int get() const noexcept { return number_; }
  [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }
  /// Gives the descriptor away, unclosed.
  [[nodiscard]] int release() noexcept { return std::exchange(number_, -1); }
  /// Closes the descriptor now.
  void reset() noexcept;

 private:
  int number_ = -1;
};

/// Takes over a newly opened descriptor, which may be -1, and moves it above the standard three: a
/// process that has closed those would otherwise have what is written to "standard error" land in
/// the file. Empty, with errno set, when there is no free number.
[[nodiscard]] Descriptor aboveStandard(int opened) noexcept;

/// write() without the SIGPIPE of a pipe or socket whose reader has gone.
[[nodiscard]] std::ptrdiff_t writeWithoutSignal(int descriptor, std::string_view bytes) noexcept;

/// Whether the descriptor takes bytes within the time; a write of at most `kSurelyTaken` bytes then
/// doesn't wait.
[[nodiscard]] bool isWritable(int descriptor, std::chrono::milliseconds timeout) noexcept;
inline constexpr std::size_t kSurelyTaken = 512;  // what POSIX promises of pipes

/// Which file a descriptor leads to.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};
/// Absent for a descriptor that isn't open.
[[nodiscard]] std::optional<FileIdentity> identityOf(int descriptor) noexcept;

/// Writes all the bytes, however often a signal interrupts it, without a SIGPIPE. 0, or the
/// system's error number.
[[nodiscard]] std::int32_t writeAll(int descriptor, std::string_view bytes) noexcept;

}  // namespace platform
