#include "AgentLibraries/FileCodec/JSONManager.h"

#include <cstdint>

#include "Platform/Files.h"

namespace FileCodec {
namespace {

constexpr std::uint64_t kMaximumJSONBytes = std::uint64_t{1} << 30;

}  // namespace

std::string readTextFile(const std::string& path) {
  auto bytes = platform::readFile(path, {.maximumBytes = kMaximumJSONBytes});
  if (!bytes) {
    throw DecodingError(path, {}, {}, bytes.error().reason);
  }
  return *std::move(bytes);
}

}  // namespace FileCodec
