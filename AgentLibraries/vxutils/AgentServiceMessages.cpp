#include "AgentLibraries/vxutils/AgentServiceMessages.h"

#include <algorithm>
#include <boost/json/parser.hpp>
#include <boost/json/static_resource.hpp>
#include <boost/json/value.hpp>
#include <new>

#include "AgentLibraries/FileCodec/JSONText.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/LocalSocket.h"
#include "Platform/Users.h"

namespace vxutils {
namespace {

namespace json = boost::json;

/// Allocates only from a buffer that is wiped. The parser decodes escapes in one on the stack.
std::optional<AgentServiceMessage> parse(std::string_view line, std::string_view member) try {
  constexpr std::size_t kBytesPerByteOfText = 16;
  constexpr std::size_t kBytesForAnyText = 4096;
  std::string memory(kBytesPerByteOfText * line.size() + kBytesForAnyText, '\0');
  const platform::WipeAtEnd wipeMemory(memory);
  json::static_resource resource(reinterpret_cast<unsigned char*>(memory.data()), memory.size());
  json::parser parser(&resource);
  boost::system::error_code error;
  parser.reset(&resource);
  parser.write({line.data(), line.size()}, error);
  const json::value object = error ? json::value() : parser.release();
  const json::object* const members = object.if_object();
  const json::value* const id = members == nullptr ? nullptr : members->if_contains("id");
  if (id == nullptr || !id->is_int64()) {
    return std::nullopt;
  }
  AgentServiceMessage message{.id = id->get_int64(), .text = {}};
  const json::value* const value = members->if_contains({member.data(), member.size()});
  if (const json::string* const found = value == nullptr ? nullptr : value->if_string()) {
    // Never in the small-string buffer, where a move would leave its bytes behind.
    std::string& text = message.text.emplace();
    text.reserve(std::max(found->size(), sizeof(std::string)));
    text.append(found->data(), found->size());
  }
  return message;
} catch (const std::bad_alloc&) {  // the line has far more structure than a message
  return std::nullopt;
}

}  // namespace

std::string messageLine(std::int64_t id, std::string_view member,
                        const std::optional<std::string_view>& text) {
  constexpr std::size_t kMostBytesPerByte = 6;
  constexpr std::size_t kFixedPart = 64;
  std::string line;  // appending the text must not reallocate and leave a copy behind
  line.reserve(kFixedPart + member.size() + kMostBytesPerByte * (text ? text->size() : 0));
  line += LogCore::text(R"({"id":)", id, ",\"", member, "\":");
  if (text) {
    FileCodec::appendJSONString(line, *text);
  } else {
    line += "null";
  }
  line += "}\n";
  return line;
}

std::optional<AgentServiceMessage> parseMessage(std::string_view line, std::string_view member) {
  std::optional<AgentServiceMessage> message;
  platform::thenWipeStack([&] { message = parse(line, member); });
  return message;
}

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
