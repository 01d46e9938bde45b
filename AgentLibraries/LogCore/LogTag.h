// The origin of a log line: source file and operation.
#pragma once
#include <source_location>
#include <string_view>

namespace LogCore {

/// The source file, as a path relative to the module directory without extension, and the
/// operation's signature, such as "hasMinimumBattery(of:)". A tag is a compile-time constant whose
/// file is the one that defines it. Tags contain no path of the build machine: this library's build
/// strips the module directory, and of a path that is absolute or begins with "..", as in an agent,
/// only the file name counts.
struct LogTag {
  std::string_view file;
  std::string_view function;

  consteval explicit LogTag(std::string_view signature,
                            std::source_location where = std::source_location::current())
      : file(withoutExtension(withoutBuildPath(where.file_name()))), function(signature) {}

 private:
  static consteval std::string_view withoutBuildPath(std::string_view path) {
    return path.starts_with('/') || path.starts_with("..") ? path.substr(path.rfind('/') + 1)
                                                           : path;
  }
  static consteval std::string_view withoutExtension(std::string_view path) {
    return path.substr(0, path.rfind('.'));
  }
};

}  // namespace LogCore
