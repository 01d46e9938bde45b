// A property-list file in memory.
#pragma once
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Keeps values in a map, and fails to save on demand.
class FakePlistManager final : public PlistManager {
 public:
  std::map<std::string, platform::PropertyList> values;
  std::optional<std::string> saveFailure;
  int timesSaved = 0;

  std::optional<platform::PropertyList> fetchValue(const std::string& key) override {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  }
  void updateValue(std::optional<platform::PropertyList> value, const std::string& key) override {
    if (value) {
      values.insert_or_assign(key, std::move(*value));
    } else {
      values.erase(key);
    }
  }
  void save(const std::optional<std::string>& /*path*/) override {
    if (saveFailure) {
      throw std::runtime_error(*saveFailure);
    }
    ++timesSaved;
  }
};

}  // namespace vexlo
