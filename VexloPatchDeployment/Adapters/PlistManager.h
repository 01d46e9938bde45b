// Reads and writes keys of one property-list file.
#pragma once
#include <optional>
#include <string>

#include "AgentLibraries/FileCodec/RawPlistManager.h"
#include "Platform/PropertyList.h"

namespace vexlo {

/// The top-level keys of a file whose path is fixed when the object is made. An agent's settings
/// may come from elsewhere; so may those of a test.
class PlistManager {
 public:
  virtual ~PlistManager() = default;
  /// The value under the key; absent when the file or the key is missing.
  [[nodiscard]] virtual std::optional<platform::PropertyList> fetchValue(
      const std::string& key) = 0;
  /// Sets the key in the in-memory copy; absent removes it.
  virtual void updateValue(std::optional<platform::PropertyList> value, const std::string& key) = 0;
  /// Writes the in-memory copy to `path`, or to the object's own path when absent. A write
  /// failure is thrown as a `std::exception`.
  virtual void save(const std::optional<std::string>& path) = 0;
};

/// The agent's file library, for one file.
class PlistFile final : public PlistManager {
 public:
  explicit PlistFile(std::string filePath) : manager_(std::move(filePath)) {}
  [[nodiscard]] std::optional<platform::PropertyList> fetchValue(const std::string& key) override {
    return manager_.fetchValue(key);
  }
  void updateValue(std::optional<platform::PropertyList> value, const std::string& key) override {
    manager_.updateValue(std::move(value), key);
  }
  void save(const std::optional<std::string>& path) override { manager_.save(path); }

 private:
  FileCodec::RawPlistManager manager_;
};

}  // namespace vexlo
