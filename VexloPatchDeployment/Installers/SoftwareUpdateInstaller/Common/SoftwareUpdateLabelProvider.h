// Finds the label under which a macOS build is downloaded and installed.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"

namespace vexlo {

class SoftwareUpdateLabelProvider {
 public:
  virtual ~SoftwareUpdateLabelProvider() = default;
  /// The label of the listed update that installs `build`, a macOS build version such as «23E224»;
  /// absent if there is none.
  [[nodiscard]] virtual std::optional<std::string> label(std::string_view build) = 0;
};

/// Lists the updates on every call and uses the first line that contains the build: its label
/// starts after "Label: " and ends with the last occurrence of the build. "Label:" and that last
/// occurrence are matched in any case of ASCII letters. Takes linear time. Stateless.
class DefaultSoftwareUpdateLabel final : public SoftwareUpdateLabelProvider {
 public:
  /// `softwareUpdateLister` must outlive this object.
  explicit DefaultSoftwareUpdateLabel(SoftwareUpdateLister& softwareUpdateLister)
      : softwareUpdateLister_(softwareUpdateLister) {}
  [[nodiscard]] std::optional<std::string> label(std::string_view build) override;

 private:
  SoftwareUpdateLister& softwareUpdateLister_;
};

}  // namespace vexlo
