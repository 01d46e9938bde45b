// make-fleet: writes the facts of synthetic machines, one line each.
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "Platform/Descriptor.h"
#include "tools/Fleet.h"

namespace {

constexpr int kBadUsage = 64;
constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;
constexpr std::string_view kUsage =
    "usage: make-fleet COUNT [--seed NUMBER] [--first NUMBER]\n"
    "Writes the facts of COUNT machines that don't exist, one line each, as\n"
    "'vexlo-patch facts --json' does. The same seed (1 unless given) makes the same\n"
    "machines; --first starts at a machine other than 1.\n";

std::optional<std::uint64_t> numberIn(std::string_view text) {
  std::uint64_t number = 0;
  const char* const begin = std::to_address(text.begin());
  const char* const end = begin + text.size();
  const auto [stop, error] = std::from_chars(begin, end, number);
  return error == std::errc() && stop == end && !text.empty() ? std::optional(number)
                                                              : std::nullopt;
}

int complain(const std::string& text, int status) {
  (void)platform::writeAll(STDERR_FILENO, "make-fleet: " + text + "\n");
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  std::optional<std::uint64_t> count;
  std::uint64_t seed = 1;
  std::uint64_t first = 1;
  for (int at = 1; at < argc; ++at) {
    const std::string_view word = argv[at];
    if (word == "--help" || word == "-h") {
      return platform::writeAll(STDOUT_FILENO, kUsage) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    const bool isOption = word == "--seed" || word == "--first";
    const char* const text = !isOption ? argv[at] : at + 1 < argc ? argv[++at] : "";
    const auto number = numberIn(text);
    if (!number || (!isOption && count)) {
      return complain("expected a number, found \"" + std::string(text) + "\"; try --help",
                      kBadUsage);
    }
    (word == "--seed" ? seed : word == "--first" ? first : count.emplace()) = *number;
  }
  if (!count) {
    return complain("expected the number of machines; try --help", kBadUsage);
  }
  const fleet::Fleet fleet(seed);
  std::string block;
  for (std::uint64_t made = 0; made < *count; ++made) {
    block += fleet.line(first + made);
    if (block.size() >= kBlockBytes || made + 1 == *count) {
      if (const int error = platform::writeAll(STDOUT_FILENO, block); error != 0) {
        return complain("can't write to standard output: " + std::generic_category().message(error),
                        EXIT_FAILURE);
      }
      block.clear();
    }
  }
  return EXIT_SUCCESS;
}
