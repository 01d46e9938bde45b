// Names the place that a log line speaks for: source file and operation.
#pragma once
#include <source_location>
#include <string_view>

namespace LogCore {

/// The origin of log lines: the source file, as its path from the module folder without the
/// extension, and the signature text of the operation, such as "hasMinimumBattery(of:)".
/// A tag is a compile-time constant; the file is that of the tag's own definition (the build
/// maps the module folder to nothing, so that no path of the building machine gets in).
struct LogTag {
  std::string_view file;
  std::string_view function;

  consteval explicit LogTag(std::string_view signature,
                            std::source_location where = std::source_location::current())
      : file(withoutExtension(where.file_name())), function(signature) {}

 private:
  static consteval std::string_view withoutExtension(std::string_view path) {
    return path.substr(0, path.rfind('.'));
  }
};

}  // namespace LogCore
