// Reads and writes keys of one property-list file.
#pragma once
#include <optional>
#include <string>

#include "AgentLibraries/FileCodec/RawPlistManager.h"
#include "Platform/PropertyList.h"

namespace vexlo {

/// The top-level keys of one file. An interface, because agents and tests may store settings
/// elsewhere.
class PlistManager {
 public:
  virtual ~PlistManager() = default;
  /// The value of the key; absent if the file or the key is missing.
  [[nodiscard]] virtual std::optional<platform::PropertyList> fetchValue(
      const std::string& key) = 0;
  /// The same; also absent if the value hasn't exactly this type.
  template <typename Type>
  [[nodiscard]] std::optional<Type> fetch(const std::string& key) {
    const std::optional<platform::PropertyList> value = fetchValue(key);
    const Type* const typed = value ? value->as<Type>() : nullptr;
    return typed != nullptr ? std::optional(*typed) : std::nullopt;
  }
  /// Sets the key in memory; absent removes it.
  virtual void updateValue(std::optional<platform::PropertyList> value, const std::string& key) = 0;
  /// Writes the values to `path`, or to the object's own path if absent. Throws a `std::exception`
  /// on failure.
  virtual void save(const std::optional<std::string>& path) = 0;
};

/// Uses the agent's property-list library.
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
