#include "AgentLibraries/FileCodec/PlistSerializer.h"

#include <utility>

#include "AgentLibraries/FileCodec/PropertyListFile.h"

namespace FileCodec {

platform::PropertyList::Dictionary PlistSerializer::readDictionary(const std::string& path) {
  auto dictionary = readPropertyListFile(path);
  if (!dictionary) {
    throw std::move(dictionary.error().error);
  }
  return *std::move(dictionary);
}

}  // namespace FileCodec
