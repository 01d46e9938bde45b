// Reads and writes the top-level keys of one property-list file.
#pragma once
#include <map>
#include <optional>
#include <string>

#include "Platform/PropertyList.h"

namespace FileCodec {

/// The file is read anew by every `fetchValue`, under the keys that were updated since: so a
/// change by another process is seen, and a save keeps the keys that others wrote meanwhile.
/// For one thread at a time.
class RawPlistManager {
 public:
  explicit RawPlistManager(std::string filePath) : filePath_(std::move(filePath)) {}

  /// The value under the top-level key; absent when the file or the key is missing, and when
  /// the file is no property list with a dictionary at its top.
  [[nodiscard]] std::optional<platform::PropertyList> fetchValue(const std::string& key) const;
  /// Sets the key in the in-memory copy; absent removes it.
  void updateValue(std::optional<platform::PropertyList> value, const std::string& key);
  /// Writes file and updates to `path`, or to the manager's own path when absent: XML, replaced
  /// atomically. Throws `std::runtime_error` when that fails; nothing is lost then. A file that
  /// can't be read as a property list is not overwritten but moved aside first.
  void save(const std::optional<std::string>& path = std::nullopt);

 private:
  std::string filePath_;
  std::map<std::string, std::optional<platform::PropertyList>> updates_;
};

}  // namespace FileCodec
