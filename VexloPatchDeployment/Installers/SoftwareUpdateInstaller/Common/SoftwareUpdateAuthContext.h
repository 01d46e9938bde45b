// How Apple's software update tool is authorised.
#pragma once
#include <utility>
#include <variant>

#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"

namespace vexlo {

/// Either `silicon` with credentials or `intel` without.
class SoftwareUpdateAuthContext {
 public:
  [[nodiscard]] static SoftwareUpdateAuthContext silicon(Credentials credentials) {
    return SoftwareUpdateAuthContext(std::move(credentials));
  }
  [[nodiscard]] static SoftwareUpdateAuthContext intel() {
    return SoftwareUpdateAuthContext(Intel{});
  }

  /// The credentials of `silicon`; null for `intel`.
  [[nodiscard]] const Credentials* credentials() const noexcept {
    return std::get_if<Credentials>(&value_);
  }
  friend bool operator==(const SoftwareUpdateAuthContext&,
                         const SoftwareUpdateAuthContext&) = default;

 private:
  struct Intel {
    friend bool operator==(const Intel&, const Intel&) = default;
  };
  explicit SoftwareUpdateAuthContext(std::variant<Credentials, Intel> value)
      : value_(std::move(value)) {}

  std::variant<Credentials, Intel> value_;
};

}  // namespace vexlo
