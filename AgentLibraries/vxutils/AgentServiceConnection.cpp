#include "AgentLibraries/vxutils/AgentServiceConnection.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <expected>
#include <map>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentLibraries/vxutils/AgentServiceMessages.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/LocalSocket.h"
#include "Platform/Memory.h"
#include "Platform/Polling.h"
#include "Platform/SignalsHeld.h"

namespace vxutils {
namespace {

using LogCore::text;

constexpr std::string_view kSocketTail = "/run/agent-service.sock";

constexpr std::string_view kClosedByService = "the service closed the connection";
constexpr std::chrono::milliseconds kLongestSending{5000};

/// A pending request.
struct Waiting {
  AgentServiceProtocol::Reply reply;
  AgentServiceProtocol::Failure failure;
};

/// One connected socket with its reading thread, which keeps the channel alive until it ends. The
/// socket is closed only with the channel, so the descriptor is valid for every thread.
class Channel final {
 public:
  explicit Channel(platform::Descriptor socket) : socket_(std::move(socket)) {}

  static std::shared_ptr<Channel> start(platform::Descriptor socket) {
    auto channel = std::make_shared<Channel>(std::move(socket));
    const platform::SignalsHeld held;  // keeps the agent's signal handlers off the new thread
    channel->reader_ = std::thread([channel] { channel->readReplies(); });
    return channel;
  }

  /// Stops the reading thread. Called once, by the owner.
  void end() {
    platform::shutDown(socket_);
    if (reader_.get_id() == std::this_thread::get_id()) {
      reader_.detach();  // a reply is destroying its connection; the thread ends after it
    } else {
      reader_.join();
    }
  }

  [[nodiscard]] bool hasEnded() {
    const std::scoped_lock lock(mutex_);
    return ended_;
  }

  void fetch(const std::string& key, Waiting waiting) {
    std::unique_lock lock(mutex_);
    if (ended_) {
      lock.unlock();
      waiting.failure(kClosedByService);
      return;
    }
    const std::int64_t id = nextID_++;
    const std::string line = messageLine(id, kRequestMember, key);
    waiting_.emplace(id, std::move(waiting));
    lock.unlock();
    if (!send(line)) {
      if (const std::optional<Waiting> unsent = take(id)) {
        unsent->failure("the service does not take requests");
      }
    }
  }

 private:
  /// Waits a while for a busy service. Returns false if nothing was sent.
  bool send(std::string_view line) {
    const std::scoped_lock lock(sending_);  // not mutex_, which receiving needs
    const auto deadline = std::chrono::steady_clock::now() + kLongestSending;
    const std::size_t whole = line.size();
    for (;;) {
      const std::ptrdiff_t sent = platform::sendWithoutWaiting(socket_, line);
      line.remove_prefix(static_cast<std::size_t>(std::max<std::ptrdiff_t>(sent, 0)));
      if (line.empty()) {
        return true;
      }
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      const bool isLate = left <= std::chrono::milliseconds::zero();
      if (sent < 0 || (isLate && line.size() < whole)) {
        // The service has disconnected, or has received part of a line, after which the stream is
        // unusable. The reader notices and fails all pending requests.
        platform::shutDown(socket_);
        return true;
      }
      if (isLate) {
        return false;
      }
      platform::Awaited taken{.descriptor = socket_.get(),
                              .until = platform::Awaited::Until::writable};
      platform::waitForAny({&taken, 1}, left);
    }
  }

  void readReplies() noexcept {
    const std::string_view why = readUntilEnd();
    std::map<std::int64_t, Waiting> unanswered;
    {
      const std::scoped_lock lock(mutex_);
      ended_ = true;
      unanswered.swap(waiting_);
    }
    for (const auto& [id, waiting] : unanswered) {
      waiting.failure(why);
    }
  }

  /// Dispatches replies until the connection ends; returns the reason.
  std::string_view readUntilEnd() noexcept try {
    LineBuffer received;
    while (receive(socket_, received, true) >= 0) {
      while (const std::optional<std::string_view> line = received.nextLine()) {
        if (!dispatch(*line)) {
          platform::shutDown(socket_);
          return "the service sent a line that is no reply";
        }
      }
    }
    return received.isFull() ? "the service sent a reply of more than 64 KiB" : kClosedByService;
  } catch (...) {  // out of memory: nothing else is thrown here
    platform::shutDown(socket_);
    return "there was no memory for the reply";
  }

  /// Calls the pending request's reply for the message in `line`. Unexpected replies, for example a
  /// second one to a request, are ignored. Returns false if the line isn't a reply.
  bool dispatch(std::string_view line) {
    std::optional<AgentServiceMessage> message = parseMessage(line, kReplyMember);
    if (!message) {
      return false;
    }
    if (const std::optional<Waiting> waiting = take(message->id)) {
      waiting->reply(message->text);
    }
    if (message->text) {
      platform::wipe(*message->text);
    }
    return true;
  }

  std::optional<Waiting> take(std::int64_t id) {
    const std::scoped_lock lock(mutex_);
    auto node = waiting_.extract(id);
    return node ? std::optional(std::move(node.mapped())) : std::nullopt;
  }

  platform::Descriptor socket_;
  std::thread reader_;
  std::mutex sending_;  // keeps lines on the socket whole
  std::mutex mutex_;    // guards the members below
  bool ended_ = false;
  std::int64_t nextID_ = 1;
  std::map<std::int64_t, Waiting> waiting_;
};

/// Ends its channel, if any, even if there is no memory for the next one.
struct EndOfChannel {
  std::shared_ptr<Channel> channel;
  ~EndOfChannel() {
    if (channel) {
      channel->end();
    }
  }
};

/// Connects to the agent service, or returns what to log.
std::expected<std::shared_ptr<Channel>, std::string> connect(
    std::chrono::milliseconds longestConnect) {
  const std::optional<std::string> base = gv_globvars.vxagentBasePath();
  if (!base) {
    return std::unexpected(
        "Unable to reach the agent service: the agent's base directory is not known.");
  }
  const std::string path = text(*base, kSocketTail);
  auto socket = platform::connectLocalSocket(path, longestConnect);
  if (!socket) {
    return std::unexpected(
        text("Unable to reach the agent service at ", path, ": ", socket.error(), "."));
  }
  if (!mayReceiveSecrets(*socket)) {
    return std::unexpected(text("Refused the agent service at ", path,
                                ": it runs neither as root nor as the agent's user."));
  }
  try {
    return Channel::start(*std::move(socket));
  } catch (const std::system_error& error) {  // no more threads
    return std::unexpected(text("Unable to listen to the agent service: ", error.what(), "."));
  }
}

}  // namespace

/// Holds one channel and replaces it when it has ended, until the proxy is closed.
class AgentServiceConnection::Proxy final : public AgentServiceProtocol {
 public:
  explicit Proxy(std::chrono::milliseconds longestConnect) : longestConnect_(longestConnect) {}

  void fetchStatusMessageForKey(const std::string& key, Reply reply, Failure failure) override {
    if (const std::shared_ptr<Channel> channel = connected()) {
      channel->fetch(key, {.reply = std::move(reply), .failure = std::move(failure)});
    } else {
      failure("the service can't be reached");
    }
  }

  /// The connected channel; null on failure.
  std::shared_ptr<Channel> connected() {
    EndOfChannel ended;  // outlives the lock, which its last replies may need
    const std::scoped_lock lock(mutex_);
    if (closed_) {
      return nullptr;
    }
    if (channel_ && channel_->hasEnded()) {
      ended.channel = std::exchange(channel_, nullptr);
    }
    if (!channel_) {
      auto channel = connect(longestConnect_);
      if (!channel) {
        logError(LogCore::LogTag{"getService()"}, [&] { return channel.error(); });
      }
      channel_ = std::move(channel).value_or(nullptr);
    }
    return channel_;
  }

  /// Closes the connection; later requests fail.
  void close() {
    EndOfChannel last;  // outlives the lock
    const std::scoped_lock lock(mutex_);
    closed_ = true;
    last.channel = std::exchange(channel_, nullptr);
  }

 private:
  const std::chrono::milliseconds longestConnect_;
  std::mutex mutex_;
  bool closed_ = false;
  std::shared_ptr<Channel> channel_;
};

AgentServiceConnection::AgentServiceConnection(std::chrono::milliseconds longestConnect)
    : proxy_(std::make_shared<Proxy>(longestConnect)) {}

AgentServiceConnection::~AgentServiceConnection() { proxy_->close(); }

std::shared_ptr<AgentServiceProtocol> AgentServiceConnection::getService() {
  return proxy_->connected() ? proxy_ : nullptr;
}

}  // namespace vxutils
