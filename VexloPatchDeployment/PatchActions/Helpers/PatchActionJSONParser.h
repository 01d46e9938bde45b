// Finds the patch action file, decodes it once per process and keeps the outcome.
#pragma once
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "VexloPatchDeployment/Common/PatchActionFileError.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {

/// Reads its file on the first request and keeps the outcome, decoded file or error, for good: a
/// file that changes later is not seen, and a failed reading is not tried again. Safe from any
/// thread; concurrent first requests wait for one reading.
class PatchActionJSONParser {
 public:
  using Outcome = std::expected<std::shared_ptr<const PatchActionGroup>, PatchActionFileError>;

  /// The process's parser, of the file "/client-data/patch-resources/mac-patch-actions.json"
  /// under the base directory that the agent has set when this is first called.
  [[nodiscard]] static PatchActionJSONParser& shared();

  explicit PatchActionJSONParser(std::string jsonPath);

  [[nodiscard]] const std::string& jsonPath() const noexcept { return jsonPath_; }
  /// The decoded file, never null, or the error of its one reading.
  [[nodiscard]] const Outcome& cachedPatchActionGroup();

 private:
  const std::string jsonPath_;
  std::once_flag read_;
  std::optional<Outcome> outcome_;
};

}  // namespace vexlo
