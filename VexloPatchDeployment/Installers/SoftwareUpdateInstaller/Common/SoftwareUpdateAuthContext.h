// How Apple's software update tool is authorised.
#pragma once
#include <optional>
#include <utility>

#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

namespace vexlo {

/// Either `silicon` with credentials or `intel` without.
class SoftwareUpdateAuthContext {
 public:
  [[nodiscard]] static SoftwareUpdateAuthContext silicon(Credentials credentials) {
    return SoftwareUpdateAuthContext(std::move(credentials));
  }
  [[nodiscard]] static SoftwareUpdateAuthContext intel() {
    return SoftwareUpdateAuthContext(std::nullopt);
  }

  /// The credentials of `silicon`; null for `intel`.
  [[nodiscard]] const Credentials* credentials() const noexcept {
    return credentials_ ? &*credentials_ : nullptr;
  }
  friend bool operator==(const SoftwareUpdateAuthContext&,
                         const SoftwareUpdateAuthContext&) = default;

 private:
  explicit SoftwareUpdateAuthContext(std::optional<Credentials> credentials)
      : credentials_(std::move(credentials)) {}

  std::optional<Credentials> credentials_;
};

}  // namespace vexlo
