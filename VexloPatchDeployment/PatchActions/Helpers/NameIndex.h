// A hash index from names to entry numbers.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace vexlo {

/// An open-addressing hash table of entry numbers. The entries are stored elsewhere: the caller
/// passes hashes and a predicate that returns whether an entry has the name. The last entry added
/// under a name wins.
class NameIndex {
 public:
  /// Capacity for `count` entries; the load factor is at most two thirds.
  explicit NameIndex(std::size_t count = 0) : slots_(std::bit_ceil(count + count / 2 + 1), kFree) {}

  /// The hash of a name within an owner, so that equal names of different owners have different
  /// hashes.
  [[nodiscard]] static std::size_t hash(std::string_view name, std::uint32_t owner) noexcept {
    return std::hash<std::string_view>{}(name) + owner * std::size_t{0x9E37'79B9'7F4A'7C15};
  }

  /// Adds entry `number`, replacing the entry for which `hasName(entry)` is true.
  template <typename HasName>
  void add(std::uint32_t number, std::size_t hash, const HasName& hasName) {
    slots_[position(hash, hasName)] = number;
  }

  /// The number of the entry for which `hasName(entry)` is true.
  template <typename HasName>
  [[nodiscard]] std::optional<std::uint32_t> find(std::size_t hash, const HasName& hasName) const {
    const std::uint32_t number = slots_[position(hash, hasName)];
    return number == kFree ? std::nullopt : std::optional(number);
  }

 private:
  static constexpr std::uint32_t kFree = 0xFFFF'FFFF;

  /// The slot of the named entry, or the free slot for it.
  template <typename HasName>
  [[nodiscard]] std::size_t position(std::size_t hash, const HasName& hasName) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t place = hash & mask;
    while (slots_[place] != kFree && !hasName(slots_[place])) {
      place = (place + 1) & mask;
    }
    return place;
  }

  std::vector<std::uint32_t> slots_;
};

}  // namespace vexlo
