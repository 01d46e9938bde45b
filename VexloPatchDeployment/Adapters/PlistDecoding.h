// Decodes a whole property-list file into a record.
#pragma once
#include <string>
#include <utility>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/PropertyListFile.h"
#include "Platform/PropertyList.h"

namespace vexlo {

class PlistDecoding {
 public:
  virtual ~PlistDecoding() = default;

  /// Decodes the file into `Record`, which has `static Record decode(const
  /// platform::PropertyList::Dictionary&)`. Throws a `std::exception` if the file is missing or
  /// isn't a dictionary, or if a key has the wrong type.
  template <typename Record>
  [[nodiscard]] Record decodeFromFile(const std::string& path) {
    const platform::PropertyList::Dictionary dictionary = readDictionary(path);
    try {
      return Record::decode(dictionary);
    } catch (const FileCodec::DecodingError& error) {  // names only the key
      throw FileCodec::DecodingError(path, error.place(), error.expected(), error.found());
    }
  }

 protected:
  /// Reads the file's top-level dictionary.
  [[nodiscard]] virtual platform::PropertyList::Dictionary readDictionary(
      const std::string& path) = 0;
};

class PlistSerializer final : public PlistDecoding {
 protected:
  [[nodiscard]] platform::PropertyList::Dictionary readDictionary(
      const std::string& path) override {
    auto dictionary = FileCodec::readPropertyListFile(path);
    if (!dictionary) {
      throw std::move(dictionary.error().error);
    }
    return *std::move(dictionary);
  }
};

}  // namespace vexlo
