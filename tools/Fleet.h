// Synthetic machines: reproducible, realistic facts of any number of Macs.
#pragma once
#include <cstdint>
#include <string>

namespace fleet {

/// An organisation's Macs on one day. Machine `number` of a seed is the same on every system and
/// independent of other machines. Immutable and thread-safe.
class Fleet {
 public:
  explicit Fleet(std::uint64_t seed) : seed_(seed) {}
  /// The machine's line of facts, with its line feed (docs/FACTS.md).
  [[nodiscard]] std::string line(std::uint64_t number) const;

 private:
  std::uint64_t seed_;
};

/// The patch that users were asked about and the applications that it affects, as in
/// examples/fleet/actions.json.
inline constexpr const char* kPatchID = "310990";
inline constexpr const char* kPromptKey = "com.apple.Safari,com.apple.mail";

}  // namespace fleet
