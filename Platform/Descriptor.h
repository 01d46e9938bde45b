// One file descriptor with an owner.
#pragma once
#include <cstdint>
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
  /// Closes the descriptor now.
  void reset() noexcept;

 private:
  int number_ = -1;
};

/// Writes all the bytes, however often a signal interrupts it. 0, or the system's error number.
[[nodiscard]] std::int32_t writeAll(int descriptor, std::string_view bytes) noexcept;

}  // namespace platform
