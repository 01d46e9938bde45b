// Whether and how the machine is enrolled in MDM.
#pragma once
#include <cstdint>

namespace vxutils {

enum class EnrollmentType : std::uint8_t { not_enrolled, user_approved, dep };  // NOLINT: agent's names

/// Asks `/usr/bin/profiles status -type enrollment` (without a shell) on every call.
class MDMEnrollmentUtil {
 public:
  static MDMEnrollmentUtil& shared();
  /// `not_enrolled` on a machine without the tool, and when the tool fails or says no.
  [[nodiscard]] EnrollmentType getEnrollmentType() const;
};

}  // namespace vxutils
