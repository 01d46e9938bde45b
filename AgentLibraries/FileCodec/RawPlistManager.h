// Reads and writes the top-level keys of one property-list file.
#pragma once
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "Platform/PropertyList.h"

namespace FileCodec {

/// The file is read anew by every `fetchValue`, under the keys that were updated since the last
/// save: so a change by another process is seen, and a save keeps the keys that others wrote
/// meanwhile. For one thread at a time.
class RawPlistManager {
 public:
  explicit RawPlistManager(std::string filePath) : filePath_(std::move(filePath)) {}

  /// The value under the top-level key; absent when the file or the key is missing, and, with an
  /// error line in the log, when the file is no property list with a dictionary at its top.
  [[nodiscard]] std::optional<platform::PropertyList> fetchValue(const std::string& key) const;
  /// Sets the key in the in-memory copy; absent removes it.
  void updateValue(std::optional<platform::PropertyList> value, const std::string& key);
  /// Writes the file's keys and the updates to `path`, or to the manager's own path when absent:
  /// XML, or binary for what XML can't hold, replaced atomically. No other save of that path, in
  /// this process or another, comes between the reading and the writing. Throws a
  /// `std::runtime_error` that names the file when that fails. The updates are kept then, and the
  /// file is as before; or it is replaced, but not certain to outlive a crash, when only the last
  /// flush failed. What is at the own path and no dictionary is not overwritten: it is kept beside
  /// under the first free name of «<path>.damaged», «<path>.damaged-2» and so on.
  void save(const std::optional<std::string>& path = std::nullopt);

 private:
  void saveToOwnPath();

  std::string filePath_;
  std::map<std::string, std::optional<platform::PropertyList>> updates_;
};

}  // namespace FileCodec
