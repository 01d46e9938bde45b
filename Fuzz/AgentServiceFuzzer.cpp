// Sends arbitrary bytes, in pieces, to both ends of the agent service. Messages must parse like a
// document tree, and each request must get exactly one reply or failure.
#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "AgentLibraries/vxutils/AgentServiceConnection.h"
#include "AgentLibraries/vxutils/AgentServiceMessages.h"
#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "Fuzz/FuzzedAgent.h"
#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"

namespace {

namespace json = boost::json;
using namespace std::chrono_literals;

std::string socketPath() {
  return vxutils::gv_globvars.vxagentBasePath().value_or("") + "/run/agent-service.sock";
}

/// The lines from a buffer that receives `bytes` in pieces; absent if one is too long.
std::optional<std::vector<std::string>> linesOf(std::string_view bytes, std::size_t piece) {
  vxutils::LineBuffer buffer;
  std::vector<std::string> lines;
  while (!bytes.empty()) {
    const std::span<char> room = buffer.room();
    if (room.empty()) {
      return std::nullopt;
    }
    const std::size_t count = std::min({piece, bytes.size(), room.size()});
    std::copy_n(bytes.begin(), count, room.begin());
    buffer.add(count);
    bytes.remove_prefix(count);
    while (const auto line = buffer.nextLine()) {
      lines.emplace_back(*line);
    }
  }
  return lines;
}

std::vector<std::string> wholeLines(std::string_view bytes) {
  std::vector<std::string> lines;
  for (std::size_t end = 0; (end = bytes.find('\n')) != std::string_view::npos;) {
    lines.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(end + 1);
  }
  return lines;
}

void compare(const std::string& line) {
  const auto request = vxutils::parseRequest(line);
  const auto reply = vxutils::parseReply(line);
  boost::system::error_code error;
  const json::value tree = json::parse(line, error);
  const json::object* const members = error ? nullptr : tree.if_object();
  const json::value* const id = members == nullptr ? nullptr : members->if_contains("id");
  if (id == nullptr || !id->is_int64()) {
    require(!request && !reply, "a message without an id");
    return;
  }
  const auto text = [&](const char* name) {
    const json::value* const value = members->if_contains(name);
    return value == nullptr || !value->is_string()
               ? std::nullopt
               : std::optional(std::string(std::string_view(value->get_string())));
  };
  // Messages with far more structure than needed are rejected.
  require(!reply || (reply->id == id->get_int64() && reply->value == text("value")), "the reply");
  require(!request ||
              (request->id == id->get_int64() && request->key == text("fetchStatusMessageForKey")),
          "the request");
  require(reply || members->size() > 8 || line.size() > 512, "a small reply is refused");
  require(request || !text("fetchStatusMessageForKey") || !reply, "a request is refused");
  if (reply) {
    const std::string again = vxutils::replyLine(reply->id, reply->value);
    const auto second = vxutils::parseReply(std::string_view(again).substr(0, again.size() - 1));
    require(second && second->id == reply->id && second->value == reply->value, "own reply");
  }
}

/// Sends `bytes`, closes its end and returns what it receives.
void talk(const platform::Descriptor& socket, std::string_view bytes, std::size_t piece) {
  while (!bytes.empty()) {
    const std::ptrdiff_t sent = platform::sendWithoutWaiting(socket, bytes.substr(0, piece));
    if (sent < 0) {
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
    if (sent == 0) {
      std::string dropped(4096, '\0');
      if (platform::receive(socket, dropped, false) < 0) {
        return;
      }
    }
  }
}

/// A service gets the bytes, and answers another client afterwards.
void serve(std::string_view bytes, std::size_t piece) {
  static const vxutils::AgentServiceServer server(
      socketPath() + "2", [](const std::string& key) { return std::optional(key); });
  const auto hostile = platform::connectLocalSocket(socketPath() + "2");
  require(hostile.has_value(), "the service accepts no connection");
  talk(*hostile, bytes, piece);
  const auto client = platform::connectLocalSocket(socketPath() + "2");
  require(client.has_value(), "the service accepts no further connection");
  talk(*client, vxutils::requestLine(1, "key"), 1);
  std::string answer(64, '\0');
  const std::ptrdiff_t count = platform::receive(*client, answer, true);
  require(count > 0 && answer.substr(0, static_cast<std::size_t>(count)) ==
                           vxutils::replyLine(1, "key").substr(0, static_cast<std::size_t>(count)),
          "the service has no answer");
}

/// A service that sends these bytes: the request gets one reply or one failure.
void ask(std::string_view bytes, std::size_t piece) {
  static const platform::Descriptor listener = [] {
    FuzzedAgent::write(socketPath() + "-directory", "");
    auto made = platform::listenOnLocalSocket(socketPath());
    require(made.has_value(), "can't listen");
    return *std::move(made);
  }();
  std::promise<void> answered;  // a second call throws
  vxutils::AgentServiceConnection connection;
  const auto service = connection.getService();
  require(service != nullptr, "no connection");
  auto peer = platform::acceptLocalSocket(listener);
  require(peer.has_value(), "nobody has connected");
  service->fetchStatusMessageForKey(
      "key", [&](const std::optional<std::string>&) { answered.set_value(); },
      [&](std::string_view reason) {
        require(!reason.empty(), "a failure without a reason");
        answered.set_value();
      });
  talk(*peer, bytes, piece);
  platform::shutDown(*peer);
  require(answered.get_future().wait_for(5s) == std::future_status::ready, "neither answered");
}

}  // namespace

/// The input: the size of a piece, then the bytes to send.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  if (size == 0) {
    return 0;
  }
  const std::size_t piece = std::size_t{1} << (data[0] % 18);
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  const auto lines = linesOf(bytes, piece);
  require(lines == wholeLines(bytes) || (!lines && size > vxutils::LineBuffer::kLongestLine),
          "other lines");
  std::ranges::for_each(wholeLines(bytes), compare);
  if (data[0] % 4 == 0) {  // slow, so not every time
    ask(bytes, piece);
    serve(bytes, piece);
  }
  return 0;
}
