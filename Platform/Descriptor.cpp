#include "Platform/Descriptor.h"

#include <unistd.h>

namespace platform {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    reset();
    number_ = std::exchange(other.number_, -1);
  }
  return *this;
}

Descriptor::~Descriptor() { reset(); }

void Descriptor::reset() noexcept {
  if (number_ >= 0) {
    ::close(std::exchange(number_, -1));
  }
}

}  // namespace platform
