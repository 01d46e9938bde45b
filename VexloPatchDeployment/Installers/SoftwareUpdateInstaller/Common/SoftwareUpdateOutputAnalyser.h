// Recognises the errors that Apple's software update tool prints.
#pragma once
#include <optional>
#include <string_view>

#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace vexlo {

class SoftwareUpdateOutputAnalyser {
 public:
  virtual ~SoftwareUpdateOutputAnalyser() = default;
  /// The result for the output of a download or installation; absent if it contains no known error
  /// message, so that the exit status decides.
  [[nodiscard]] virtual std::optional<PatchActionResult> validate(std::string_view output) = 0;
};

/// Searches for a fixed list of messages in any case of ASCII letters; the first one in the list
/// that occurs decides. Stateless.
class DefaultSoftwareUpdateOutputAnalyser final : public SoftwareUpdateOutputAnalyser {
 public:
  [[nodiscard]] std::optional<PatchActionResult> validate(std::string_view output) override;
};

}  // namespace vexlo
