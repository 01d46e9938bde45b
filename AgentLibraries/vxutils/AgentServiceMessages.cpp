#include "AgentLibraries/vxutils/AgentServiceMessages.h"

#include <algorithm>
#include <boost/json/parser.hpp>
#include <boost/json/static_resource.hpp>
#include <boost/json/value.hpp>
#include <new>
#include <utility>

#include "AgentLibraries/FileCodec/JSONText.h"
#include "Platform/LocalSocket.h"
#include "Platform/Memory.h"
#include "Platform/Users.h"

namespace vxutils {
namespace {

namespace json = boost::json;

constexpr std::string_view kID = "id";
constexpr std::string_view kKey = "fetchStatusMessageForKey";
constexpr std::string_view kValue = "value";

template <typename Read>
void parseObject(std::string_view line, const Read& read) {
  constexpr std::size_t kBytesPerByteOfText = 16;
  constexpr std::size_t kBytesForAnyText = 4096;
  std::string memory;
  const platform::WipeAtEnd wipeMemory(memory);
  try {
    memory.resize(kBytesPerByteOfText * line.size() + kBytesForAnyText);
    json::static_resource resource(reinterpret_cast<unsigned char*>(memory.data()), memory.size());
    json::parser parser(&resource);
    boost::system::error_code error;
    parser.reset(&resource);
    parser.write({line.data(), line.size()}, error);
    if (!error) {
      const json::value message = parser.release();
      if (const json::object* const members = message.if_object()) {
        read(*members);
      }
    }
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
    // The line has far more structure than a message.
  }
}

/// Calls `read` with the members of the JSON object in `line`, if there is one. The parser
/// allocates only from a buffer that is wiped; it decodes escapes in one on the stack.
template <typename Read>
void readObject(std::string_view line, const Read& read) {
  platform::thenWipeStack([&] { parseObject(line, read); });
}

std::optional<std::int64_t> integerIn(const json::object& members, std::string_view name) {
  const json::value* const value = members.if_contains({name.data(), name.size()});
  const std::int64_t* const number = value == nullptr ? nullptr : value->if_int64();
  return number == nullptr ? std::nullopt : std::optional(*number);
}

std::optional<std::string> textIn(const json::object& members, std::string_view name) {
  const json::value* const value = members.if_contains({name.data(), name.size()});
  const json::string* const characters = value == nullptr ? nullptr : value->if_string();
  if (characters == nullptr) {
    return std::nullopt;
  }
  std::string text;  // never in the small-string buffer, where a move would leave its bytes behind
  text.reserve(std::max(characters->size(), sizeof(std::string)));
  text.append(characters->data(), characters->size());
  return text;  // returns the object: `append` returns a reference, which would be copied
}

/// The line up to the value of `name`, with capacity reserved for `value`, so that appending it
/// doesn't reallocate and leave a copy behind.
std::string lineUpTo(std::string_view name, std::int64_t id, std::size_t valueSize) {
  constexpr std::size_t kMostBytesPerByte = 6;
  constexpr std::size_t kFixedPart = 64;
  std::string line;
  line.reserve(kFixedPart + name.size() + kMostBytesPerByte * valueSize);
  line += R"({"id":)";
  line += std::to_string(id);
  line += ",\"";
  line += name;
  line += "\":";
  return line;
}

}  // namespace

std::string requestLine(std::int64_t id, std::string_view key) {
  std::string line = lineUpTo(kKey, id, key.size());
  FileCodec::appendJSONString(line, key);
  line += "}\n";
  return line;
}

std::string replyLine(std::int64_t id, const std::optional<std::string>& value) {
  std::string line = lineUpTo(kValue, id, value ? value->size() : 0);
  if (value) {
    FileCodec::appendJSONString(line, *value);
  } else {
    line += "null";
  }
  line += "}\n";
  return line;
}

std::optional<AgentServiceRequest> parseRequest(std::string_view line) {
  std::optional<AgentServiceRequest> request;
  readObject(line, [&](const json::object& members) {
    const std::optional<std::int64_t> id = integerIn(members, kID);
    std::optional<std::string> key = textIn(members, kKey);
    if (id && key) {
      request = {.id = *id, .key = *std::move(key)};
    }
  });
  return request;
}

std::optional<AgentServiceReply> parseReply(std::string_view line) {
  std::optional<AgentServiceReply> reply;
  readObject(line, [&](const json::object& members) {
    if (const std::optional<std::int64_t> id = integerIn(members, kID)) {
      reply.emplace(AgentServiceReply{.id = *id, .value = textIn(members, kValue)});
    }
  });
  return reply;
}

LineBuffer::LineBuffer() : bytes_(kLongestLine, '\0') {}

LineBuffer::~LineBuffer() { platform::wipe(bytes_); }

std::span<char> LineBuffer::room() noexcept {
  if (taken_ > 0) {  // moves the next line's bytes to the front and wipes where they were
    const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(used_);
    const auto rest =
        std::move(bytes_.begin() + static_cast<std::ptrdiff_t>(taken_), end, bytes_.begin());
    std::fill(rest, end, '\0');
    used_ -= taken_;
    searched_ -= taken_;
    taken_ = wiped_ = 0;
  }
  return std::span(bytes_).subspan(used_);
}

std::optional<std::string_view> LineBuffer::nextLine() noexcept {
  // Wipes the line that was returned last, which ends where the next begins.
  std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(wiped_),
            bytes_.begin() + static_cast<std::ptrdiff_t>(taken_), '\0');
  const std::string_view received(bytes_.data(), used_);
  const std::size_t end = received.find('\n', searched_);
  if (end == std::string_view::npos) {
    searched_ = used_;
    return std::nullopt;
  }
  const std::string_view line = received.substr(taken_, end - taken_);
  wiped_ = taken_;
  taken_ = searched_ = end + 1;
  return line;
}

std::ptrdiff_t receive(const platform::Descriptor& socket, LineBuffer& buffer, bool wait) noexcept {
  const std::span<char> room = buffer.room();
  const std::ptrdiff_t count = room.empty() ? -1 : platform::receive(socket, room, wait);
  buffer.add(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
  return count;
}

bool mayReceiveSecrets(const platform::Descriptor& socket) {
  const std::optional<std::uint32_t> user = platform::peerUserID(socket);
  return user && (*user == 0 || *user == platform::ownUserID());
}

}  // namespace vxutils
