// Owned file descriptors.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace platform {

/// Owns one file descriptor and closes it; closing preserves errno.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor();
  /// The descriptor, or -1.
  [[nodiscard]] int get() const noexcept { return number_; }
  [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }
  /// Releases ownership without closing.
  [[nodiscard]] int release() noexcept { return std::exchange(number_, -1); }
  /// Closes the descriptor now.
  void reset() noexcept;

 private:
  int number_ = -1;
};

/// Takes ownership of a newly opened descriptor, which may be -1, and moves it above 2. If the
/// process has closed its standard descriptors, output meant for stderr would otherwise end up in
/// the file. Empty, with errno set, when no descriptor is free.
[[nodiscard]] Descriptor aboveStandard(int opened) noexcept;

/// write() that raises neither SIGPIPE nor, if the file would exceed the process's limit (EFBIG),
/// SIGXFSZ. On macOS later writes to the open file, by anyone, don't raise SIGPIPE either.
[[nodiscard]] std::ptrdiff_t writeWithoutSignal(int descriptor, std::string_view bytes) noexcept;

/// Whether the descriptor becomes writable within the timeout; a negative one has no limit.
[[nodiscard]] bool isWritable(int descriptor, std::chrono::milliseconds timeout) noexcept;

/// The identity of the file that a descriptor refers to.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};
/// Absent for a descriptor that isn't open.
[[nodiscard]] std::optional<FileIdentity> identityOf(int descriptor) noexcept;

/// Writes all bytes, retrying after signals, without raising SIGPIPE. Returns 0 or an errno value.
[[nodiscard]] std::int32_t writeAll(int descriptor, std::string_view bytes) noexcept;

}  // namespace platform
