// Machines that don't exist: seeded, realistic facts of any number of them.
#pragma once
#include <cstdint>
#include <string>

namespace fleet {

/// A fleet of Macs of an organisation on one day. Machine `number` of a seed is always the same,
/// whichever others are made, on every system and standard library. Immutable; safe from any
/// thread.
class Fleet {
 public:
  explicit Fleet(std::uint64_t seed) : seed_(seed) {}
  /// The machine's line of facts, with its line feed (docs/FACTS.md).
  [[nodiscard]] std::string line(std::uint64_t number) const;

 private:
  std::uint64_t seed_;
};

/// The patch that the machines' users were asked about, and the applications that it disturbs: as
/// in examples/fleet/actions.json.
inline constexpr const char* kPatchID = "310990";
inline constexpr const char* kPromptKey = "com.apple.Safari,com.apple.mail";

}  // namespace fleet
