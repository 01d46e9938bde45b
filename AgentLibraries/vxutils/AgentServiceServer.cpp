#include "AgentLibraries/vxutils/AgentServiceServer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <list>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentLibraries/vxutils/AgentServiceMessages.h"
#include "Platform/Files.h"
#include "Platform/LocalSocket.h"
#include "Platform/Memory.h"

namespace vxutils {
namespace {

using LogCore::text;

constexpr LogCore::LogTag kTag{"serve()"};
constexpr std::size_t kMostClients = 64;
constexpr int kPauseWithoutDescriptors = 100;  // milliseconds

platform::Descriptor listenAt(const std::string& path) {
  auto listener = platform::listenOnLocalSocket(path);
  if (!listener) {
    throw std::runtime_error(text("can't listen at ", path, ": ", listener.error()));
  }
  fcntl(listener->get(), F_SETFL, O_NONBLOCK);  // a client may have gone before it is accepted
  return *std::move(listener);
}

/// A connected client: what it sent so far, and what it has not taken yet.
class Client {
 public:
  explicit Client(platform::Descriptor socket) : socket_(std::move(socket)) {}
  ~Client() { platform::wipe(unsent_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  [[nodiscard]] int socket() const noexcept { return socket_.get(); }
  /// A client that does not take its answers is not asked for further requests.
  [[nodiscard]] short awaited() const noexcept { return unsent_.empty() ? POLLIN : POLLOUT; }

  /// Goes on with the conversation as far as it gets without waiting. False when it has ended.
  bool proceed(const AgentServiceServer::Answer& answer) {
    return unsent_.empty() ? receive(socket_.get(), received_, false) >= 0 && answerAll(answer)
                           : sendUnsent() && answerAll(answer);
  }

 private:
  bool answerAll(const AgentServiceServer::Answer& answer) {
    while (unsent_.empty()) {
      const std::optional<std::string_view> line = received_.nextLine();
      if (!line) {
        return true;
      }
      const std::optional<AgentServiceRequest> request = parseRequest(*line);
      if (!request) {
        logError(kTag,
                 [] { return text("Disconnected a client that sent a line that is no request."); });
        return false;
      }
      std::optional<std::string> value = answer(request->key);
      unsent_ = replyLine(request->id, value);
      sent_ = 0;
      if (value) {
        platform::wipe(*value);
      }
      if (!sendUnsent()) {
        return false;
      }
    }
    return true;
  }

  bool sendUnsent() {
    const std::ptrdiff_t count =
        sendWithoutWaiting(socket_.get(), std::string_view(unsent_).substr(sent_));
    if (count < 0) {
      return false;
    }
    sent_ += static_cast<std::size_t>(count);
    if (sent_ == unsent_.size()) {
      platform::wipe(unsent_);
    }
    return true;
  }

  platform::Descriptor socket_;
  LineBuffer received_;
  std::string unsent_;  // one line, sent up to sent_
  std::size_t sent_ = 0;
};

}  // namespace

class AgentServiceServer::Loop {
 public:
  Loop(const std::string& path, Answer answer)
      : path_(path), answer_(std::move(answer)), listener_(listenAt(path)) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe");
    }
    stop_ = platform::Descriptor(ends[0]);
    stopper_ = platform::Descriptor(ends[1]);
    for (const int end : ends) {
      fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    thread_ = std::thread([this] { serve(); });
  }

  ~Loop() {
    stopper_.reset();  // the other end of the pipe sees it
    thread_.join();
    if (const std::int32_t error = platform::removeFile(path_); error != 0 && error != ENOENT) {
      logError(kTag, [&] {
        return text("Unable to remove ", path_, ": ", std::generic_category().message(error), ".");
      });
    }
  }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

 private:
  void serve() {
    std::vector<pollfd> awaited;
    while (true) {
      const bool listens = canAccept_ && clients_.size() < kMostClients;
      awaited = {{.fd = stop_.get(), .events = POLLIN, .revents = 0},
                 {.fd = listens ? listener_.get() : -1, .events = POLLIN, .revents = 0}};
      for (const Client& client : clients_) {
        awaited.push_back({.fd = client.socket(), .events = client.awaited(), .revents = 0});
      }
      if (poll(awaited.data(), awaited.size(), canAccept_ ? -1 : kPauseWithoutDescriptors) < 0) {
        continue;  // a signal
      }
      if (awaited[0].revents != 0) {
        return;
      }
      auto state = awaited.begin() + 2;
      std::erase_if(clients_, [&](Client& client) {
        return (state++)->revents != 0 && !client.proceed(answer_);
      });
      canAccept_ = true;
      if (awaited[1].revents != 0) {
        acceptClient();
      }
    }
  }

  void acceptClient() {
    platform::Descriptor socket(accept(listener_.get(), nullptr, nullptr));
    if (!socket) {
      canAccept_ = errno != EMFILE && errno != ENFILE;  // else it is tried again after a pause
      return;
    }
    fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    if (!mayKnowSecrets(socket)) {
      logError(kTag, [] {
        return text("Turned away a client that runs neither as root nor as this process's user.");
      });
      return;
    }
    clients_.emplace_back(std::move(socket));
  }

  std::string path_;
  Answer answer_;
  platform::Descriptor listener_;
  platform::Descriptor stop_;
  platform::Descriptor stopper_;
  bool canAccept_ = true;
  std::list<Client> clients_;
  std::thread thread_;
};

AgentServiceServer::AgentServiceServer(const std::string& socketPath, Answer answer)
    : loop_(std::make_unique<Loop>(socketPath, std::move(answer))) {}

AgentServiceServer::~AgentServiceServer() = default;

}  // namespace vxutils
