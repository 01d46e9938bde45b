// Finds the number of a named entry in constant time.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace vexlo {

/// An open-addressing table of entry numbers. The entries stay where they are: the caller gives
/// the hash of a name and tells which entry bears it. Of equal names the last one added is found.
class NameIndex {
 public:
  NameIndex() = default;
  /// Room for `count` entries; at most two thirds of the table come into use.
  explicit NameIndex(std::size_t count)
      : slots_(count == 0 ? 0 : std::bit_ceil(count + count / 2 + 1), kFree) {}

  /// Hash of a name among those of one owner; names of different owners rarely share it.
  [[nodiscard]] static std::size_t hash(std::string_view name, std::uint32_t owner) noexcept {
    return std::hash<std::string_view>{}(name) + owner * std::size_t{0x9E37'79B9'7F4A'7C15};
  }

  /// Adds entry `number`; it takes the place of the entry for which `bearsName(entry)` holds.
  template <typename BearsName>
  void add(std::uint32_t number, std::size_t hash, const BearsName& bearsName) {
    slots_[position(hash, bearsName)] = number;
  }

  /// The number of the entry for which `bearsName(entry)` holds.
  template <typename BearsName>
  [[nodiscard]] std::optional<std::uint32_t> find(std::size_t hash,
                                                  const BearsName& bearsName) const {
    if (slots_.empty()) {
      return std::nullopt;
    }
    const std::uint32_t number = slots_[position(hash, bearsName)];
    return number == kFree ? std::nullopt : std::optional(number);
  }

 private:
  static constexpr std::uint32_t kFree = 0xFFFF'FFFF;

  /// Where the named entry is, or the free place where it belongs.
  template <typename BearsName>
  [[nodiscard]] std::size_t position(std::size_t hash, const BearsName& bearsName) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t place = hash & mask;
    while (slots_[place] != kFree && !bearsName(slots_[place])) {
      place = (place + 1) & mask;
    }
    return place;
  }

  std::vector<std::uint32_t> slots_;
};

}  // namespace vexlo
