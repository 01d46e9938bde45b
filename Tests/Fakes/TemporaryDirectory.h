// A temporary directory for one test.
#pragma once
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

/// A new, empty directory in the system's temporary directory; removed with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory() : path_(std::filesystem::temp_directory_path() / "vexlo-test-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), path_);
    }
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  /// The absolute path, without a trailing slash.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// The path of `name` in the directory; creates nothing.
  [[nodiscard]] std::string file(std::string_view name) const {
    return path_ + "/" + std::string(name);
  }
  /// Writes a file in the directory, creating missing folders, and returns its path.
  std::string write(std::string_view name, std::string_view bytes) const {  // NOLINT
    const std::string target = file(name);
    std::filesystem::create_directories(std::filesystem::path(target).parent_path());
    std::ofstream out(target, std::ios::binary);
    out << bytes << std::flush;
    if (!out) {
      throw std::runtime_error("can't write " + target);
    }
    return target;
  }
  /// The whole content of the file `name`; throws if it can't be read.
  [[nodiscard]] std::string read(std::string_view name) const {
    std::ifstream in(file(name), std::ios::binary);
    if (!in) {
      throw std::runtime_error("can't read " + file(name));
    }
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string path_;
};
