// Locates the patch action file, decodes it once per process and caches the outcome.
#pragma once
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "VexloPatchDeployment/Common/PatchActionFileError.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {

/// Reads its file on the first request and caches the outcome, decoded file or error, forever:
/// later changes are not seen, and failures are not retried. Thread-safe; concurrent first requests
/// wait for a single read.
class PatchActionJSONParser {
 public:
  using Outcome = std::expected<std::shared_ptr<const PatchActionGroup>, PatchActionFileError>;

  /// The process's parser for the file "/client-data/patch-resources/mac-patch-actions.json" in the
  /// base directory that the agent has set when this is first called.
  [[nodiscard]] static PatchActionJSONParser& shared();

  explicit PatchActionJSONParser(std::string jsonPath) : jsonPath_(std::move(jsonPath)) {}

  [[nodiscard]] const std::string& jsonPath() const noexcept { return jsonPath_; }
  /// The decoded file, never null, or the error.
  [[nodiscard]] const Outcome& cachedPatchActionGroup();

 private:
  const std::string jsonPath_;
  std::once_flag read_;
  std::optional<Outcome> outcome_;
};

}  // namespace vexlo
