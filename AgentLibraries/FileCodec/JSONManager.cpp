#include "AgentLibraries/FileCodec/JSONManager.h"

#include <cstdint>
#include <expected>

#include "Platform/Files.h"

namespace FileCodec {
namespace {

constexpr std::uint64_t kMaximumJSONBytes = std::uint64_t{1} << 30;

std::string orThrow(std::expected<std::string, platform::FileError> bytes,
                    const std::string& name) {
  if (!bytes) {
    throw DecodingError(name, {}, {}, bytes.error().reason);
  }
  return *std::move(bytes);
}

}  // namespace

std::string readTextFile(const std::string& path) {
  return orThrow(platform::readFile(path, {.maximumBytes = kMaximumJSONBytes}), path);
}

std::string readText(int descriptor, const std::string& name) {
  return orThrow(platform::readToEnd(descriptor, name, kMaximumJSONBytes), name);
}

}  // namespace FileCodec
