#include "VexloPatchDeployment/Common/Measurement.h"

#include <ostream>

namespace vexlo {

std::string describe(const Measurement& measurement) { return measurement.words(); }

std::string describe(std::span<const Measurement> measurements) {
  std::string out;
  for (const Measurement& measurement : measurements) {
    (out += out.empty() ? "" : "; ") += measurement.words();
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const Measurement& measurement) {
  return out << measurement.words();
}

std::string measurementsAsJSON(std::span<const Measurement> measurements) {
  std::string out = "[";
  for (std::string_view separator; const Measurement& measurement : measurements) {
    (out += separator) += measurement.json();
    separator = ",";
  }
  return out += ']';
}

}  // namespace vexlo
