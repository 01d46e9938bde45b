// The reason of a file error without the path.
#pragma once
#include <string>
#include <string_view>

#include "Platform/Files.h"

namespace FileCodec {

/// «No such file or directory» of «/path: No such file or directory».
[[nodiscard]] inline std::string reasonOf(const platform::FileError& error,
                                          const std::string& path) {
  const std::string prefix = path + ": ";
  std::string_view reason = error.message;
  if (reason.starts_with(prefix)) {
    reason.remove_prefix(prefix.size());
  }
  return std::string(reason);
}

}  // namespace FileCodec
