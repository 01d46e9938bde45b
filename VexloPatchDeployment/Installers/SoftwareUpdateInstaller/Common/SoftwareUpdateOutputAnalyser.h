// Recognises the errors that Apple's software update tool prints.
#pragma once
#include <optional>
#include <string_view>

#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace vexlo {

class SoftwareUpdateOutputAnalyser {
 public:
  virtual ~SoftwareUpdateOutputAnalyser() = default;
  /// The result that the output of a download or an installation stands for; absent when it holds
  /// no known error text, so that the exit status decides.
  [[nodiscard]] virtual std::optional<PatchActionResult> validate(std::string_view output) = 0;
};

/// Looks for a fixed list of texts, in any case of ASCII letters; the first of the list that
/// occurs anywhere decides. Stateless.
class DefaultSoftwareUpdateOutputAnalyser final : public SoftwareUpdateOutputAnalyser {
 public:
  [[nodiscard]] std::optional<PatchActionResult> validate(std::string_view output) override;
};

}  // namespace vexlo
