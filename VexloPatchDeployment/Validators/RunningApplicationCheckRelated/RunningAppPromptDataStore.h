// Remembers how often the user was prompted about a set of applications.
#pragma once
#include <optional>
#include <string>

#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

class RunningAppPromptDataStoring {
 public:
  /// The counts of one prompt key, under the keys of `RunningAppPromptDataStoreKeys`.
  using Record = platform::PropertyList::Dictionary;

  virtual ~RunningAppPromptDataStoring() = default;
  /// The record of a prompt key; absent when there is none.
  [[nodiscard]] virtual std::optional<Record> data(const std::string& key) = 0;
  /// Replaces the whole record of a prompt key. A failed write is only logged.
  virtual void saveData(const Record& record, const std::string& key) = 0;
};

/// Keeps the records in a property-list file that survives the agent's restarts. A missing or
/// unreadable file reads as no records. For one thread at a time; another process that writes
/// between a read and a save is not noticed.
class RunningAppPromptDataStore final : public RunningAppPromptDataStoring {
 public:
  /// `plistManager` must outlive this object.
  explicit RunningAppPromptDataStore(PlistManager& plistManager);
  /// The records' file in the agent's data directory.
  [[nodiscard]] static std::string plistPath();
  [[nodiscard]] std::optional<Record> data(const std::string& key) override;
  void saveData(const Record& record, const std::string& key) override;

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
