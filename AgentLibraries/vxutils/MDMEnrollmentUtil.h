// Whether and how the machine is enrolled in MDM.
#pragma once
#include <chrono>
#include <cstdint>

namespace vxutils {

/// `user_approved` stands for every enrollment by a user, approved or not.
enum class EnrollmentType : std::uint8_t {
  not_enrolled,
  user_approved,
  dep
};  // NOLINT: agent's names

/// Asks `/usr/bin/profiles status -type enrollment` (without a shell) on every call.
class MDMEnrollmentUtil {
 public:
  static MDMEnrollmentUtil& shared();
  /// `not_enrolled` on a machine without the tool, and when the tool fails, says no or does not
  /// answer within `timeout`; then the log says why.
  [[nodiscard]] EnrollmentType getEnrollmentType(
      std::chrono::milliseconds timeout = std::chrono::minutes(1)) const;
};

}  // namespace vxutils
