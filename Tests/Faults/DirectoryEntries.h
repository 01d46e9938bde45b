// Counts what a directory of /proc lists: this process's descriptors or threads.
#pragma once
#include <cstddef>
#include <filesystem>
#include <iterator>

/// The number of entries.
[[nodiscard]] inline std::ptrdiff_t entriesOf(const char* directory) {
  const auto entries = std::filesystem::directory_iterator(directory);
  return std::distance(begin(entries), end(entries));
}
