// Identifies the patch being deployed.
#pragma once
#include <string>
#include <utility>

namespace vexlo {

/// A patch of a product and service pack, with the management server's ids. The strings are not
/// validated, trimmed or normalised. Immutable.
class PatchIdentifier {
 public:
  PatchIdentifier(std::string patchID, std::string productID, std::string servicePackID)
      : patchID_(std::move(patchID)),
        productID_(std::move(productID)),
        servicePackID_(std::move(servicePackID)) {}

  [[nodiscard]] const std::string& patchID() const noexcept { return patchID_; }
  [[nodiscard]] const std::string& productID() const noexcept { return productID_; }
  [[nodiscard]] const std::string& servicePackID() const noexcept { return servicePackID_; }

 private:
  std::string patchID_;
  std::string productID_;
  std::string servicePackID_;
};

}  // namespace vexlo
