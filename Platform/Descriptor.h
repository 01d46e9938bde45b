// One file descriptor with an owner.
#pragma once
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
  /// The number, -1 when there is none.
  [[nodiscard]] int get() const noexcept { return number_; }
  [[nodiscard]] explicit operator bool() const noexcept { return number_ >= 0; }
  /// Closes the descriptor now.
  void reset() noexcept;

 private:
  int number_ = -1;
};

}  // namespace platform
