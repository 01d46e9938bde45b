// The decoded patch action file: which actions apply to which products and patches.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "VexloPatchDeployment/PatchActions/Helpers/NameIndex.h"

namespace vexlo {

/// The file's text and compact arrays that refer to it. Filled once by the decoder.
class PatchActionStore {
 public:
  /// If less than the file's size, the offset of a string, which ends at the next quotation mark;
  /// else the file's size plus the number of a decoded string.
  enum class StringID : std::uint32_t {};
  struct Run {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };
  /// A name and its children: the service packs of a product, or the actions of a service pack or
  /// patch.
  struct Entry {
    StringID name{};
    Run children;
  };
  /// Entries and the index of their names.
  struct Table {
    std::vector<Entry> entries;
    NameIndex index;
    [[nodiscard]] Run all() const noexcept {
      return {.first = 0, .count = static_cast<std::uint32_t>(entries.size())};
    }
  };

  std::string file;
  std::string decodedText;                 ///< The strings that had escapes, joined.
  std::vector<std::uint32_t> decodedEnds;  ///< Where each of them ends.
  std::vector<StringID> exclusionPatchIDs;
  /// Each action's code, followed by its arguments.
  std::vector<StringID> actionStrings;
  /// Where each action starts in `actionStrings`. One more marks the end.
  std::vector<std::uint32_t> actionStarts;
  Table patches;
  Table servicePacks;  ///< A service pack's owner is its product's first service pack.
  Table products;
  bool hasProductServicePackActions = false;
  bool hasPatchActions = false;
  NameIndex exclusionIndex;

  [[nodiscard]] std::string_view at(StringID string) const noexcept {
    const auto offset = static_cast<std::size_t>(string);
    if (offset >= file.size()) {
      return decodedString(offset - file.size());
    }
    return std::string_view(file).substr(offset, file.find('"', offset) - offset);
  }
  [[nodiscard]] std::string_view actionCode(std::uint32_t action) const noexcept {
    return at(actionStrings[actionStarts[action]]);
  }
  /// The last entry of the run that has this name; null if there is none.
  [[nodiscard]] const Entry* find(const Table& table, std::string_view name, Run run) const;

 private:
  [[nodiscard]] std::string_view decodedString(std::size_t number) const noexcept {
    const std::size_t begin = number == 0 ? 0 : decodedEnds[number - 1];
    return std::string_view(decodedText).substr(begin, decodedEnds[number] - begin);
  }
};

/// Reads a string of the store as a `std::string_view` that lives as long as the store.
struct StoredStringReader {
  const PatchActionStore* store = nullptr;
  [[nodiscard]] std::string_view operator()(PatchActionStore::StringID string) const noexcept {
    return store->at(string);
  }
};
/// A list of strings, as views into the decoded file.
using StringList =
    std::ranges::transform_view<std::span<const PatchActionStore::StringID>, StoredStringReader>;

/// One action: its code and its arguments in file order.
struct ActionEntry {
  std::string_view code;
  StringList arguments;
};
struct StoredActionReader {
  const PatchActionStore* store = nullptr;
  [[nodiscard]] ActionEntry operator()(std::uint32_t action) const noexcept;
};
/// The actions of a service pack or patch; codes are unique.
using ActionMap = std::ranges::transform_view<std::ranges::iota_view<std::uint32_t, std::uint32_t>,
                                              StoredActionReader>;

/// A service pack or patch with its actions.
struct NamedActions {
  std::string_view name;
  ActionMap actions;
};
/// A product with its service packs.
struct NamedProduct {
  std::string_view name;
  std::vector<NamedActions> servicePacks;
};

/// The actions for all patches of a product and service pack, and the exempt patches. A view into
/// the decoded file.
class ProductServicePackActions {
 public:
  explicit ProductServicePackActions(const PatchActionStore& store) : store_(&store) {}

  /// The exempt patch IDs in file order.
  [[nodiscard]] StringList exclusionPatchIDs() const;
  /// Whether the patch is exempt from the product-wide actions.
  [[nodiscard]] bool isExempt(std::string_view patchID) const;
  /// Absent if the file lacks the product or its service pack.
  [[nodiscard]] std::optional<ActionMap> actions(std::string_view productID,
                                                 std::string_view servicePackID) const;
  /// All products, for tools that inspect a file.
  [[nodiscard]] std::vector<NamedProduct> products() const;

 private:
  const PatchActionStore* store_;
};

/// The actions of single patches. A view into the decoded file.
class PatchActions {
 public:
  explicit PatchActions(const PatchActionStore& store) : store_(&store) {}

  /// Absent if the patch has no entry.
  [[nodiscard]] std::optional<ActionMap> actions(std::string_view patchID) const;
  /// All patches, for tools that inspect a file.
  [[nodiscard]] std::vector<NamedActions> patches() const;

 private:
  const PatchActionStore* store_;
};

/// The decoded file. Immutable and thus thread-safe. The views that it returns are valid until it
/// is moved or destroyed.
class PatchActionGroup {
 public:
  /// An empty file, without either member.
  PatchActionGroup() = default;

  /// Decodes the text of `file`, of at most 2 GiB, strictly: every value must have the expected
  /// type, even one that a later member of the same name replaces. Throws
  /// `FileCodec::DecodingError` with the file, the place, and what was expected and found.
  [[nodiscard]] static PatchActionGroup decode(std::string text, const std::string& file);

  [[nodiscard]] std::optional<ProductServicePackActions> productServicePackActions() const {
    return store_.hasProductServicePackActions ? std::optional(ProductServicePackActions(store_))
                                               : std::nullopt;
  }
  [[nodiscard]] std::optional<PatchActions> patchActions() const {
    return store_.hasPatchActions ? std::optional(PatchActions(store_)) : std::nullopt;
  }

 private:
  explicit PatchActionGroup(PatchActionStore store) : store_(std::move(store)) {}
  PatchActionStore store_;
};

}  // namespace vexlo
