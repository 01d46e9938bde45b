// Decodes whole property-list files into records.
#pragma once
#include <string>

#include "Platform/PropertyList.h"

namespace FileCodec {

/// Decodes a property-list file whose top level is a dictionary into a record with named keys.
class PlistSerializer {
 public:
  /// `Record` has `static Record decode(const platform::PropertyList::Dictionary&)`, which throws
  /// for a mistyped key. Throws a `std::exception` whose text names the file when the file is
  /// missing, is no property list, has no dictionary at its top, or a key has the wrong type.
  template <typename Record>
  [[nodiscard]] Record decodeFromFile(const std::string& path) const {
    return Record::decode(readDictionary(path));
  }

  /// The dictionary at the top of the file; throws `DecodingError`.
  [[nodiscard]] static platform::PropertyList::Dictionary readDictionary(const std::string& path);
};

}  // namespace FileCodec
