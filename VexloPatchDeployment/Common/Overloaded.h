// Joins lambdas into one visitor of a variant.
#pragma once

namespace vexlo {

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};

// Compilers that don't deduce an aggregate's parameters by themselves need this.
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace vexlo
