// A measurement of an action, of whatever type.
#pragma once
#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Export.h"

namespace vexlo {

/// What an action found: a value of a type from the headers named …Measurement.h and
/// …Measurements.h, beside the checks. Such a type has a `kind` of its own, `words()`, a short
/// description, and `json()`, an object whose `kind` determines its other members, which are always
/// present and may be null. Copies share the value.
class Measurement {
 public:
  template <typename Found>
    requires requires { Found::kind; }
  Measurement(Found found)  // NOLINT: converts
      : found_(std::make_shared<const Found>(std::move(found))), type_(&kTypeOf<Found>) {}

  /// The value if it has this type, else null.
  template <typename Found>
  [[nodiscard]] const Found* as() const noexcept {
    return type_->kind == Found::kind ? static_cast<const Found*>(found_.get()) : nullptr;
  }

  /// «diskSpace»
  [[nodiscard]] std::string_view kind() const noexcept { return type_->kind; }
  [[nodiscard]] std::string words() const { return type_->words(found_.get()); }
  [[nodiscard]] std::string json() const { return type_->json(found_.get()); }

 private:
  struct Type {
    std::string_view kind;
    std::string (*words)(const void* found);
    std::string (*json)(const void* found);
  };
  template <typename Found>
  static constexpr Type kTypeOf{
      .kind = Found::kind,
      .words = [](const void* found) { return static_cast<const Found*>(found)->words(); },
      .json = [](const void* found) { return static_cast<const Found*>(found)->json(); }};

  std::shared_ptr<const void> found_;
  const Type* type_;
};

/// A short description: "battery 12 %, 30 % needed", "84.1 GB free, 90 GB needed". Untrusted names
/// are not escaped. May be empty.
[[nodiscard]] VEXLO_EXPORT std::string describe(const Measurement& measurement);
/// All measurements of an action: "Safari, Mail running; 2 postponements left".
[[nodiscard]] VEXLO_EXPORT std::string describe(std::span<const Measurement> measurements);
VEXLO_EXPORT std::ostream& operator<<(std::ostream& out, const Measurement& measurement);

/// An array of objects: `[{"kind":"battery","source":"battery",…}]`.
[[nodiscard]] VEXLO_EXPORT std::string measurementsAsJSON(
    std::span<const Measurement> measurements);

}  // namespace vexlo
