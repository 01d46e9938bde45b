// Stores how often the user was prompted about a set of applications.
#pragma once
#include <optional>
#include <string>

#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Replaced where nothing may change on the machine, as in tests.
class RunningAppPromptDataStoring {
 public:
  /// The counts for one prompt key, under the keys in `RunningAppPromptDataStoreKeys`.
  using Record = platform::PropertyList::Dictionary;

  virtual ~RunningAppPromptDataStoring() = default;
  /// The record of a prompt key; absent if there is none.
  [[nodiscard]] virtual std::optional<Record> data(const std::string& key) = 0;
  /// Replaces the whole record of a prompt key. A failed write is only logged.
  virtual void saveData(const Record& record, const std::string& key) = 0;
};

/// Stores the records in a property-list file. A missing or unreadable file counts as empty. Not
/// thread-safe; a record that another process writes between a read and a save is overwritten.
class RunningAppPromptDataStore final : public RunningAppPromptDataStoring {
 public:
  /// `plistManager` must outlive this object.
  explicit RunningAppPromptDataStore(PlistManager& plistManager) : plistManager_(plistManager) {}
  /// The file in the agent's data directory.
  [[nodiscard]] static std::string plistPath();
  [[nodiscard]] std::optional<Record> data(const std::string& key) override;
  void saveData(const Record& record, const std::string& key) override;

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
