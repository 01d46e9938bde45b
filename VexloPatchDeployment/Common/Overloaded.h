// Combines lambdas into a visitor for variants.
#pragma once

namespace vexlo {

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};

// For compilers that don't deduce the parameters of aggregates.
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace vexlo
