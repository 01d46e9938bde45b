// An environment variable for the duration of a test.
#pragma once
#include <cstdlib>
#include <optional>
#include <string>

/// Sets the variable; the destructor restores the previous value or removes the variable.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const std::string& value) : name_(name) {
    if (const char* former = std::getenv(name)) {
      former_ = former;
    }
    setenv(name, value.c_str(), 1);
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() { former_ ? setenv(name_, former_->c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> former_;
};
