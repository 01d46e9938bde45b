// Reads and writes the top-level keys of one property-list file.
#pragma once
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "Platform/PropertyList.h"

namespace FileCodec {

/// Every `fetchValue` reads the file again and applies the updates since the last save. Changes by
/// other processes are therefore seen, and a save keeps keys that others have written. Not
/// thread-safe.
class RawPlistManager {
 public:
  explicit RawPlistManager(std::string filePath) : filePath_(std::move(filePath)) {}

  /// The value of the top-level key; absent if the file or the key is missing. Also absent, with an
  /// error line in the log, if the file isn't a property list with a top-level dictionary.
  [[nodiscard]] std::optional<platform::PropertyList> fetchValue(const std::string& key) const;
  /// Sets the key in memory; absent removes it.
  void updateValue(std::optional<platform::PropertyList> value, const std::string& key);
  /// Writes the file's keys with the updates to `path`, or to the manager's own path if absent:
  /// atomically, as XML, or as binary for what XML can't represent. A lock keeps other saves of
  /// that path, in any process, from coming between reading and writing. Throws
  /// `std::runtime_error` that names the file on failure. The updates are then kept and the file is
  /// unchanged, or, if only the final flush failed, replaced but not certain to survive a crash. A
  /// file at the manager's own path that isn't a dictionary is not overwritten: it is renamed to
  /// the first free name of «<path>.damaged», «<path>.damaged-2» and so on.
  void save(const std::optional<std::string>& path = std::nullopt);

 private:
  std::string filePath_;
  std::map<std::string, std::optional<platform::PropertyList>> updates_;
};

}  // namespace FileCodec
