// The error for an unusable patch action file.
#pragma once
#include <stdexcept>
#include <string>
#include <utility>

#include "Platform/Export.h"

namespace vexlo {

/// Thrown when a processor is constructed without a usable patch action file. `what()` is one line
/// with the file, the place in it, and what was expected and found; the members give them
/// separately.
class VEXLO_EXPORT PatchActionFileError : public std::runtime_error {
 public:
  struct Details {
    std::string file;      ///< Path of the file.
    std::string place;     ///< «line 3, column 7», or the path of members; may be empty.
    std::string expected;  ///< Such as «an array of strings»; empty if the file can't be read.
    std::string found;     ///< Such as «a number», «No such file or directory».
  };

  /// Without details, for errors that aren't about the file, such as lack of memory.
  explicit PatchActionFileError(const std::string& what, Details details = {})
      : runtime_error(what), details_(std::move(details)) {}

  [[nodiscard]] const Details& details() const noexcept { return details_; }

 private:
  Details details_;
};

}  // namespace vexlo
