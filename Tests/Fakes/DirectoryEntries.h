// Counts what a directory lists, such as this process's descriptors in /dev/fd.
#pragma once
#include <cstddef>
#include <filesystem>
#include <iterator>

/// The number of entries.
[[nodiscard]] inline std::ptrdiff_t entriesOf(const std::filesystem::path& directory) {
  return std::ranges::distance(std::filesystem::directory_iterator(directory));
}
