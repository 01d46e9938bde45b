#include "Platform/Polling.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <thread>
#include <vector>

namespace platform {
namespace {

constexpr std::chrono::milliseconds kPauseAfterFailure{10};

}  // namespace

void waitForAny(std::span<Awaited> awaited, std::optional<std::chrono::milliseconds> timeout) {
  std::vector<pollfd> polled(awaited.size());
  std::ranges::transform(awaited, polled.begin(), [](const Awaited& one) {
    const short events = one.until == Awaited::Until::writable ? POLLOUT : POLLIN;
    return pollfd{.fd = one.descriptor, .events = events, .revents = 0};
  });
  const auto longest = std::chrono::milliseconds(INT_MAX);
  const int count = ::poll(polled.data(), polled.size(),
                           timeout ? static_cast<int>(std::min(*timeout, longest).count()) : -1);
  if (count < 0 && errno != EINTR) {
    std::this_thread::sleep_for(kPauseAfterFailure);  // no memory: callers retry
  }
  const bool any = count > 0;
  for (std::size_t index = 0; index < polled.size(); ++index) {
    awaited[index].ready = any && polled[index].revents != 0;
  }
}

}  // namespace platform
