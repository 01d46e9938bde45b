// A value that is made when it is first asked for.
#pragma once
#include <functional>
#include <optional>
#include <utility>

namespace vexlo {

/// Makes its value on the first `get()` and keeps it; an absent value (a null pointer, an empty
/// optional) is kept too and not made again. For one thread at a time.
template <typename Value>
class OnFirstUse {
 public:
  explicit OnFirstUse(std::function<Value()> make) : make_(std::move(make)) {}

  [[nodiscard]] Value& get() {
    if (!value_) {
      value_.emplace(make_());
      make_ = nullptr;  // lets go of what the maker holds
    }
    return *value_;
  }

 private:
  std::function<Value()> make_;
  std::optional<Value> value_;
};

}  // namespace vexlo
