// Joins lambdas into one visitor of a variant.
#pragma once

namespace vexlo {

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};

}  // namespace vexlo
