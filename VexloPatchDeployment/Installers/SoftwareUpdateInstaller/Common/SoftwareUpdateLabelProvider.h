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
  /// The label of the listed update that installs `build`, a macOS build version such as
  /// «23E224»; absent when there is none.
  [[nodiscard]] virtual std::optional<std::string> label(std::string_view build) = 0;
};

/// Lists the updates anew on every call. The first line that has the build in it decides: its
/// label runs from behind "Label: " to the build's last occurrence. "Label:" and that last
/// occurrence are found in any case of ASCII letters; other characters are compared exactly.
/// Takes time linear in the list, whatever it holds. Stateless.
class DefaultSoftwareUpdateLabel final : public SoftwareUpdateLabelProvider {
 public:
  /// `softwareUpdateLister` must outlive this object.
  explicit DefaultSoftwareUpdateLabel(SoftwareUpdateLister& softwareUpdateLister);
  [[nodiscard]] std::optional<std::string> label(std::string_view build) override;

 private:
  SoftwareUpdateLister& softwareUpdateLister_;
};

}  // namespace vexlo
