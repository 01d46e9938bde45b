#include "AgentLibraries/vxutils/AgentServiceServer.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <list>
#include <new>
#include <optional>
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
#include "Platform/Polling.h"
#include "Platform/SignalsHeld.h"

namespace vxutils {
namespace {

using LogCore::text;
using platform::Awaited;

constexpr LogCore::LogTag kAgentServiceServerTag{"serve()"};
constexpr std::size_t kMostClients = 64;
constexpr std::chrono::milliseconds kPauseWithoutDescriptors{100};

/// A connected client with its received and its unsent bytes.
class Client {
 public:
  explicit Client(platform::Descriptor socket) : socket_(std::move(socket)) {}

  /// What to wait for. No more requests are read from a client that doesn't read its answers.
  [[nodiscard]] Awaited awaited() const noexcept {
    return {.descriptor = socket_.get(),
            .until = unsent_.empty() ? Awaited::Until::readable : Awaited::Until::writable};
  }

  /// Reads and answers as far as possible without blocking. Returns false when the connection has
  /// ended.
  bool proceed(const AgentServiceServer::Answer& answer) {
    if (unsent_.empty() ? receive(socket_, received_, false) < 0 : !sendUnsent()) {
      return false;
    }
    while (unsent_.empty()) {
      const std::optional<std::string_view> line = received_.nextLine();
      if (!line) {
        return true;
      }
      const std::optional<AgentServiceMessage> request = parseMessage(*line, kRequestMember);
      if (!request || !request->text) {
        logError(kAgentServiceServerTag,
                 [] { return text("Disconnected a client that sent a line that is no request."); });
        return false;
      }
      std::optional<std::string> value = answer(*request->text);
      unsent_ = messageLine(request->id, kReplyMember, value);
      if (value) {
        platform::wipe(*value);
      }
      if (!sendUnsent()) {
        return false;
      }
    }
    return true;
  }

 private:
  bool sendUnsent() {
    const std::ptrdiff_t count = platform::sendWithoutWaiting(socket_, unsent_);
    if (count < 0) {
      return false;
    }
    unsent_.erase(0, static_cast<std::size_t>(count));
    if (unsent_.empty()) {
      platform::wipe(unsent_);
    }
    return true;
  }

  platform::Descriptor socket_;
  LineBuffer received_;
  std::string unsent_;  // the rest of one line
  platform::WipeAtEnd wipeUnsent_{unsent_};
};

}  // namespace

class AgentServiceServer::Loop {
 public:
  Loop(const std::string& path, Answer answer) : path_(path), answer_(std::move(answer)) {
    auto pipe = platform::makePipe();
    if (!pipe) {
      throw std::system_error(pipe.error(), "can't make a pipe");
    }
    stop_ = *std::move(pipe);
    auto listener = platform::listenOnLocalSocket(path);
    if (!listener) {
      throw std::runtime_error(text("can't listen at ", path, ": ", listener.error()));
    }
    listener_ = *std::move(listener);
    try {
      const platform::SignalsHeld held;  // keeps the agent's signal handlers off the new thread
      thread_ = std::thread([this] { serve(); });
    } catch (...) {
      static_cast<void>(platform::removeFile(path_));
      throw;
    }
  }

  ~Loop() {
    stopping_ = true;
    stop_.writeEnd.reset();  // wakes the thread
    thread_.join();
    if (const std::int32_t error = platform::removeFile(path_);
        error != 0 && error != static_cast<std::int32_t>(std::errc::no_such_file_or_directory)) {
      logError(kAgentServiceServerTag, [&] {
        return text("Unable to remove ", path_, ": ", std::generic_category().message(error), ".");
      });
    }
  }

 private:
  void serve() {
    while (!stopping_) {
      try {
        serveOnce();
      } catch (const std::bad_alloc&) {
        clients_.clear();  // clients can reconnect; the service continues when there is memory
        std::this_thread::sleep_for(kPauseWithoutDescriptors);
      }
    }
  }

  void serveOnce() {
    const bool listens = canAccept_ && clients_.size() < kMostClients;
    std::vector<Awaited> awaited{{.descriptor = stop_.readEnd.get()},
                                 {.descriptor = listens ? listener_.get() : -1}};
    for (const Client& client : clients_) {
      awaited.push_back(client.awaited());
    }
    platform::waitForAny(awaited,
                         canAccept_ ? std::nullopt : std::optional(kPauseWithoutDescriptors));
    if (awaited[0].ready) {
      return;
    }
    auto state = awaited.begin() + 2;
    std::erase_if(clients_,
                  [&](Client& client) { return (state++)->ready && !client.proceed(answer_); });
    canAccept_ = true;
    if (awaited[1].ready) {
      acceptClient();
    }
  }

  void acceptClient() {
    auto socket = platform::acceptLocalSocket(listener_);
    if (!socket) {  // retried after a pause if no descriptor is free
      canAccept_ = socket.error() != std::errc::too_many_files_open &&
                   socket.error() != std::errc::too_many_files_open_in_system;
      return;
    }
    if (!mayReceiveSecrets(*socket)) {
      logError(kAgentServiceServerTag, [] {
        return text("Turned away a client that runs neither as root nor as this process's user.");
      });
      return;
    }
    clients_.emplace_back(*std::move(socket));
  }

  std::string path_;
  Answer answer_;
  platform::Descriptor listener_;
  platform::Pipe stop_;
  std::atomic<bool> stopping_ = false;
  bool canAccept_ = true;
  std::list<Client> clients_;
  std::thread thread_;
};

AgentServiceServer::AgentServiceServer(const std::string& socketPath, Answer answer)
    : loop_(std::make_unique<Loop>(socketPath, std::move(answer))) {}

AgentServiceServer::~AgentServiceServer() = default;

}  // namespace vxutils
