#include "AgentLibraries/vxutils/AgentServiceConnection.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentLibraries/vxutils/AgentServiceMessages.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Platform/LocalSocket.h"
#include "Platform/Memory.h"
#include "Platform/SignalsHeld.h"

namespace vxutils {
namespace {

using LogCore::text;

constexpr LogCore::LogTag kGetService{"getService()"};
constexpr LogCore::LogTag kReadReplies{"readReplies()"};
constexpr std::string_view kSocketTail = "/run/agent-service.sock";

using Reply = AgentServiceProtocol::Reply;

/// One connected socket with its reading thread, which keeps the channel alive until it ends. The
/// socket is closed with the channel only, so its number means the same to every thread.
class Channel final {
 public:
  explicit Channel(platform::Descriptor socket) : socket_(std::move(socket)) {}

  static std::shared_ptr<Channel> start(platform::Descriptor socket) {
    auto channel = std::make_shared<Channel>(std::move(socket));
    const platform::SignalsHeld held;  // the agent's handlers are not for the new thread
    channel->reader_ = std::thread([channel] { channel->readReplies(); });
    return channel;
  }

  /// Ends the reading thread. To be called once, by the owner.
  void end() {
    platform::hangUp(socket_);
    if (reader_.get_id() == std::this_thread::get_id()) {
      reader_.detach();  // a reply destroys its connection: the thread ends after it
    } else {
      reader_.join();
    }
  }

  [[nodiscard]] bool hasEnded() {
    const std::scoped_lock lock(mutex_);
    return ended_;
  }

  void fetch(const std::string& key, Reply reply) {
    {
      const std::scoped_lock lock(mutex_);
      if (!ended_) {
        const std::int64_t id = nextID_++;
        const std::string line = requestLine(id, key);
        waiting_.emplace(id, std::move(reply));
        if (std::cmp_not_equal(platform::sendWithoutWaiting(socket_, line), line.size())) {
          platform::hangUp(
              socket_);  // gone, or reads nothing any more; the reader answers who waits
        }
        return;
      }
    }
    reply(std::nullopt);
  }

 private:
  void readReplies() {
    {
      LineBuffer received;
      while (receive(socket_, received, true) >= 0) {
        while (const std::optional<std::string_view> line = received.nextLine()) {
          handOver(*line);
        }
      }
    }
    std::map<std::int64_t, Reply> unanswered;
    {
      const std::scoped_lock lock(mutex_);
      ended_ = true;
      unanswered.swap(waiting_);
    }
    for (const auto& [id, reply] : unanswered) {
      reply(std::nullopt);
    }
  }

  /// Calls the reply that waits for the message in `line`. One that nobody waits for, a second
  /// answer to a request for example, has no effect.
  void handOver(std::string_view line) {
    std::optional<AgentServiceReply> message = parseReply(line);
    if (!message) {
      logError(kReadReplies,
               [] { return text("Ignored a line of the agent service that is no reply."); });
      return;
    }
    const Reply reply = take(message->id);
    if (reply) {
      reply(message->value);
    }
    if (message->value) {
      platform::wipe(*message->value);
    }
  }

  Reply take(std::int64_t id) {
    const std::scoped_lock lock(mutex_);
    auto node = waiting_.extract(id);
    return node ? std::move(node.mapped()) : Reply{};
  }

  platform::Descriptor socket_;
  std::thread reader_;
  std::mutex mutex_;  // guards what follows, and keeps the lines on the socket whole
  bool ended_ = false;
  std::int64_t nextID_ = 1;
  std::map<std::int64_t, Reply> waiting_;
};

/// A connected channel to the agent service; null, with the reason in the log, when there is none.
std::shared_ptr<Channel> connect() {
  const std::optional<std::string> base = gv_globvars.vxagentBasePath();
  if (!base) {
    logError(kGetService, [] {
      return text("Unable to reach the agent service: the agent's base directory is not known.");
    });
    return nullptr;
  }
  const std::string path = text(*base, kSocketTail);
  auto socket = platform::connectLocalSocket(path);
  if (!socket) {
    logError(kGetService, [&] {
      return text("Unable to reach the agent service at ", path, ": ", socket.error(), ".");
    });
    return nullptr;
  }
  if (!mayKnowSecrets(*socket)) {
    logError(kGetService, [&] {
      return text("Refused the agent service at ", path,
                  ": it runs neither as root nor as the agent's user.");
    });
    return nullptr;
  }
  try {
    return Channel::start(*std::move(socket));
  } catch (const std::system_error& error) {  // no further thread can be had
    logError(kGetService,
             [&] { return text("Unable to listen to the agent service: ", error.what(), "."); });
    return nullptr;
  }
}

}  // namespace

/// Keeps one channel and makes another when that has ended, until it is closed for good.
class AgentServiceConnection::Proxy final : public AgentServiceProtocol {
 public:
  void fetchStatusMessageForKey(const std::string& key, Reply reply) override {
    if (const std::shared_ptr<Channel> channel = connected()) {
      channel->fetch(key, std::move(reply));
    } else {
      reply(std::nullopt);
    }
  }

  /// The connected channel; null when there is none.
  std::shared_ptr<Channel> connected() {
    std::shared_ptr<Channel> ended;
    std::shared_ptr<Channel> channel;
    {
      const std::scoped_lock lock(mutex_);
      if (closed_) {
        return nullptr;
      }
      if (channel_ && channel_->hasEnded()) {
        ended = std::exchange(channel_, nullptr);
      }
      if (!channel_) {
        channel_ = connect();
      }
      channel = channel_;
    }
    if (ended) {
      ended->end();  // without the lock, which its last replies may want
    }
    return channel;
  }

  /// Ends the connection; every later question is answered with absent.
  void close() {
    std::shared_ptr<Channel> last;
    {
      const std::scoped_lock lock(mutex_);
      closed_ = true;
      last = std::exchange(channel_, nullptr);
    }
    if (last) {
      last->end();
    }
  }

 private:
  std::mutex mutex_;
  bool closed_ = false;
  std::shared_ptr<Channel> channel_;
};

AgentServiceConnection::AgentServiceConnection() : proxy_(std::make_shared<Proxy>()) {}

AgentServiceConnection::~AgentServiceConnection() { proxy_->close(); }

std::shared_ptr<AgentServiceProtocol> AgentServiceConnection::getService() {
  return proxy_->connected() ? proxy_ : nullptr;
}

}  // namespace vxutils
