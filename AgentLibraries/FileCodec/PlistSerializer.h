// Decodes whole property-list files into records.
#pragma once
#include <exception>
#include <stdexcept>
#include <string>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "Platform/PropertyList.h"

namespace FileCodec {

/// Decodes a property-list file whose top level is a dictionary into a record with named keys.
class PlistSerializer {
 public:
  /// `Record` has `static Record decode(const platform::PropertyList::Dictionary&)`, which throws
  /// for a mistyped key, best a `DecodingError` without a file. Throws a `DecodingError` that
  /// names the file when it is missing or no property list, has no dictionary at its top, or a
  /// key has the wrong type; another exception of `decode` comes as a `std::runtime_error` with
  /// the file's path before its text.
  template <typename Record>
  [[nodiscard]] Record decodeFromFile(const std::string& path) const {
    const platform::PropertyList::Dictionary dictionary = readDictionary(path);
    try {
      return Record::decode(dictionary);
    } catch (const DecodingError& error) {
      throw DecodingError(path, error.place(), error.expected(), error.found());
    } catch (const std::exception& error) {
      throw std::runtime_error(path + ": " + error.what());
    }
  }

  /// The dictionary at the top of the file; throws `DecodingError`.
  [[nodiscard]] static platform::PropertyList::Dictionary readDictionary(const std::string& path);
};

}  // namespace FileCodec
