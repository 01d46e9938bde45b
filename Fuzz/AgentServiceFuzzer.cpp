// Sends arbitrary bytes, in pieces, to both ends of the agent service. Messages must parse like a
// document tree, and each end must give the answers that follow from the bytes, and no others.
#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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

constexpr std::size_t kLongestLine = 65535;  // without its line feed

std::string socketPath() {
  return vxutils::gv_globvars.vxagentBasePath().value_or("") + "/run/agent-service.sock";
}

struct Lines {
  std::vector<std::string> whole;  // before one that is too long
  bool tooLong = false;
  friend bool operator==(const Lines&, const Lines&) = default;
};

Lines linesOf(std::string_view bytes) {
  Lines lines;
  while (!bytes.empty() && !lines.tooLong) {
    const std::string_view line = bytes.substr(0, bytes.find('\n'));
    lines.tooLong = line.size() > kLongestLine;
    if (!lines.tooLong && line.size() < bytes.size()) {
      lines.whole.emplace_back(line);
    }
    bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
  }
  return lines;
}

/// The lines from a buffer that receives `bytes` in pieces.
Lines bufferedLinesOf(std::string_view bytes, std::size_t piece) {
  vxutils::LineBuffer buffer;
  Lines lines;
  while (!bytes.empty() && !buffer.isFull()) {
    const std::span<char> room = buffer.room();
    const std::size_t count = std::min({piece, bytes.size(), room.size()});
    std::copy_n(bytes.begin(), count, room.begin());
    buffer.add(count);
    bytes.remove_prefix(count);
    while (const auto line = buffer.nextLine()) {
      lines.whole.emplace_back(*line);
    }
  }
  lines.tooLong = buffer.isFull();
  return lines;
}

/// A line as a reply and, if it has a key, as a request.
struct Message {
  std::int64_t id;
  std::optional<std::string> key;
  std::optional<std::string> value;
};

std::optional<Message> messageIn(const std::string& line) {
  boost::system::error_code error;
  const json::value tree = json::parse(line, error);
  const json::object* const members = error ? nullptr : tree.if_object();
  const json::value* const id = members == nullptr ? nullptr : members->if_contains("id");
  if (id == nullptr || !id->is_int64()) {
    return std::nullopt;
  }
  const auto text = [&](const char* name) {
    const json::value* const value = members->if_contains(name);
    return value == nullptr || !value->is_string()
               ? std::nullopt
               : std::optional(std::string(std::string_view(value->get_string())));
  };
  return Message{
      .id = id->get_int64(), .key = text("fetchStatusMessageForKey"), .value = text("value")};
}

/// Messages with far more structure than needed may be rejected.
bool isSimple(const std::string& line) {
  return std::ranges::count_if(line, [](char character) {
           return std::string_view(",:[{").contains(character);
         }) <= 16;
}

/// Whether a line holds exactly this object.
bool holds(const std::string& line, const json::object& object) {
  return line.ends_with('\n') && std::ranges::count(line, '\n') == 1 &&
         json::parse(line) == json::value(object);
}

json::object replyTo(std::int64_t id, const std::optional<std::string>& value) {
  return {{"id", id}, {"value", value ? json::value(*value) : json::value()}};
}

void compare(const std::string& line) {
  const std::optional<Message> message = messageIn(line);
  for (const auto& [member, text] : {std::pair(vxutils::kRequestMember, &Message::key),
                                     std::pair(vxutils::kReplyMember, &Message::value)}) {
    const auto parsed = vxutils::parseMessage(line, member);
    require(parsed ? message && parsed->id == message->id && parsed->text == *message.*text
                   : !message || !isSimple(line),
            "another message");
    require(!parsed || holds(vxutils::messageLine(parsed->id, member, parsed->text),
                             {{"id", parsed->id},
                              {member, parsed->text ? json::value(*parsed->text) : json::value()}}),
            "own message");
  }
}

/// Sends `bytes` in pieces and receives until there are as many lines, or the peer has
/// disconnected.
std::string exchange(const platform::Descriptor& socket, std::string_view bytes, std::size_t piece,
                     std::ptrdiff_t lines) {
  using Until = platform::Awaited::Until;
  std::string received;
  std::string part(4096, '\0');
  while (!bytes.empty() || lines > 0) {
    std::vector<platform::Awaited> awaited{{.descriptor = socket.get()}};
    if (!bytes.empty()) {
      awaited.push_back({.descriptor = socket.get(), .until = Until::writable});
    }
    platform::waitForAny(awaited, 5s);
    require(awaited.front().ready || awaited.back().ready, "no answer");
    const std::ptrdiff_t sent = platform::sendWithoutWaiting(socket, bytes.substr(0, piece));
    bytes.remove_prefix(sent < 0 ? bytes.size() : static_cast<std::size_t>(sent));
    const std::ptrdiff_t count = platform::receive(socket, part, false);
    if (count < 0) {
      break;
    }
    received.append(part, 0, static_cast<std::size_t>(count));
    lines -= std::count(part.begin(), part.begin() + count, '\n');
  }
  return received;
}

/// A service gets the bytes, and answers another client afterwards.
void serve(std::string_view bytes, std::size_t piece) {
  static const std::string path = socketPath() + "2";
  static const vxutils::AgentServiceServer server(
      path, [](const std::string& key) { return key.empty() ? std::nullopt : std::optional(key); });
  std::vector<json::object> expected;
  const Lines lines = linesOf(bytes);
  bool disconnects = lines.tooLong;
  bool known = true;
  for (const std::string& line : lines.whole) {
    const std::optional<Message> message = messageIn(line);
    known = isSimple(line);
    disconnects = disconnects || !message || !message->key;
    if (!known || !message || !message->key) {
      break;
    }
    expected.push_back(replyTo(message->id, message->key->empty() ? std::nullopt : message->key));
  }
  const auto hostile = platform::connectLocalSocket(path);
  require(hostile.has_value(), "the service accepts no connection");
  const auto count = static_cast<std::ptrdiff_t>(expected.size());
  const Lines replies =
      linesOf(exchange(*hostile, bytes, piece, count + (disconnects || !known ? 1 : 0)));
  require(replies.whole.size() >= expected.size() &&
              (!known || replies.whole.size() == expected.size()),
          "not as many replies as requests");
  for (std::size_t index = 0; index < expected.size(); ++index) {
    require(holds(replies.whole[index] + '\n', expected[index]), "a different reply");
  }
  static const auto other = platform::connectLocalSocket(path);
  require(other.has_value(), "the service accepts no further connection");
  require(holds(exchange(*other, vxutils::messageLine(1, vxutils::kRequestMember, "key"), 1, 1),
                replyTo(1, "key")),
          "another client has no answer");
}

/// A service that sends these bytes: the request gets one reply or one failure.
void ask(std::string_view bytes, std::size_t piece) {
  static const platform::Descriptor listener = [] {
    FuzzedAgent::write(socketPath() + "-directory", "");
    auto made = platform::listenOnLocalSocket(socketPath());
    require(made.has_value(), "can't listen");
    return *std::move(made);
  }();
  const Lines lines = linesOf(bytes);
  std::string expected = lines.tooLong ? "failed: the service sent a reply of more than 64 KiB"
                                       : "failed: the service closed the connection";
  for (const std::string& line : lines.whole) {
    const std::optional<Message> message = messageIn(line);
    if (!isSimple(line)) {
      expected.clear();
    } else if (!message) {
      expected = "failed: the service sent a line that is no reply";
    } else if (message->id == 1) {
      expected = "replied: " + message->value.value_or("(absent)");
    } else {
      continue;
    }
    break;
  }
  std::promise<std::string> answered;  // a second call throws
  vxutils::AgentServiceConnection connection;
  const auto service = connection.getService();
  require(service != nullptr, "no connection");
  const auto peer = platform::acceptLocalSocket(listener);
  require(peer.has_value(), "nobody has connected");
  service->fetchStatusMessageForKey(
      "key",
      [&](const std::optional<std::string>& value) {
        answered.set_value("replied: " + value.value_or("(absent)"));
      },
      [&](std::string_view reason) { answered.set_value("failed: " + std::string(reason)); });
  exchange(*peer, bytes, piece, 0);
  platform::shutDown(*peer);
  auto answer = answered.get_future();
  require(answer.wait_for(5s) == std::future_status::ready, "not answered");
  require(expected.empty() || answer.get() == expected, "a different answer");
}

}  // namespace

/// The input: the size of a piece, the number of leading blanks, then the bytes to send.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  if (size < 2) {
    return 0;
  }
  const std::size_t blanks = data[1] < 0xF8 ? 0 : kLongestLine - (data[1] & 7U) * 16;
  std::string bytes(blanks, ' ');
  bytes.append(reinterpret_cast<const char*>(data + 2), size - 2);
  // Shows whether something else was answered before.
  bytes += "{\"id\":1,\"fetchStatusMessageForKey\":\"last\",\"value\":\"last\"}\n";
  const std::size_t piece = std::size_t{1} << (data[0] % 18);
  if (data[0] % 4 == 0) {  // takes ten times as long
    const std::size_t fewPieces = std::max(piece, bytes.size() / 8);
    ask(bytes, fewPieces);
    serve(bytes, fewPieces);
  } else {
    const Lines lines = linesOf(bytes);
    require(bufferedLinesOf(bytes, piece) == lines, "other lines");
    std::ranges::for_each(lines.whole, compare);
  }
  return 0;
}
