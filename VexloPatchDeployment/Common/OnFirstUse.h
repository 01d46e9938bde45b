// A lazily created value.
#pragma once
#include <functional>
#include <optional>
#include <utility>

namespace vexlo {

/// Creates its value on the first `get()` and keeps it, even if it is a null pointer or an empty
/// optional. Not thread-safe.
template <typename Value>
class OnFirstUse {
 public:
  explicit OnFirstUse(std::function<Value()> make) : make_(std::move(make)) {}

  [[nodiscard]] Value& get() {
    if (!value_) {
      value_.emplace(make_());
      make_ = nullptr;  // releases its captures
    }
    return *value_;
  }

 private:
  std::function<Value()> make_;
  std::optional<Value> value_;
};

}  // namespace vexlo
