#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "Platform/Polling.h"

namespace platform {

std::expected<Pipe, std::error_code> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) == 0) {
    Pipe made{.readEnd = aboveStandard(ends[0]), .writeEnd = aboveStandard(ends[1])};
    if (made.readEnd && made.writeEnd && ::fcntl(made.readEnd.get(), F_SETFD, FD_CLOEXEC) == 0 &&
        ::fcntl(made.writeEnd.get(), F_SETFD, FD_CLOEXEC) == 0) {
      return made;
    }
  }
  return std::unexpected(std::error_code(errno, std::generic_category()));
}

}  // namespace platform
