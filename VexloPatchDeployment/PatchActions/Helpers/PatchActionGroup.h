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

/// The file's text with compact records over it: names and arguments are places in the text, not
/// copies, and what belongs together is a run of an array. Filled once by the decoder.
class PatchActionStore {
 public:
  /// A text: its place in the file, or past the file's end in the decoded escapes.
  struct Text {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
  };
  /// A name and the run of what belongs to it: to a product its service packs, to a service pack
  /// or patch its actions, to an action its arguments.
  struct Entry {
    Text name;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };
  struct Run {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };

  std::string file;
  std::string decodedEscapes;  ///< Texts that were written with escapes, one after the other.
  std::vector<Text> texts;     ///< Arguments and exempt patch IDs.
  std::vector<Entry> actions;
  std::vector<Entry> patches;
  std::vector<Entry> servicePacks;
  std::vector<Entry> products;
  Run exclusionPatchIDs;
  bool hasProductServicePackActions = false;
  bool hasPatchActions = false;
  NameIndex patchIndex;
  NameIndex servicePackIndex;  ///< A service pack's owner is its product's first service pack.
  NameIndex productIndex;
  NameIndex exclusionIndex;

  [[nodiscard]] std::string_view at(Text text) const noexcept {
    return text.offset < file.size()
               ? std::string_view(file).substr(text.offset, text.length)
               : std::string_view(decodedEscapes).substr(text.offset - file.size(), text.length);
  }
};

/// Reads a `Text` of the store as a `std::string_view` that lives as long as the store.
struct StoredTextReader {
  const PatchActionStore* store = nullptr;
  [[nodiscard]] std::string_view operator()(PatchActionStore::Text text) const noexcept {
    return store->at(text);
  }
};
/// A list of texts, as views into the decoded file.
using TextList =
    std::ranges::transform_view<std::span<const PatchActionStore::Text>, StoredTextReader>;

/// One action of an action map: its code and its arguments in the file's order.
struct ActionEntry {
  std::string_view code;
  TextList arguments;
};
struct StoredActionReader {
  const PatchActionStore* store = nullptr;
  [[nodiscard]] ActionEntry operator()(const PatchActionStore::Entry& action) const noexcept;
};
/// The actions of a service pack or patch; each code occurs once.
using ActionMap =
    std::ranges::transform_view<std::span<const PatchActionStore::Entry>, StoredActionReader>;

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

/// Actions that apply to every patch of a product and service pack, and the patches exempt from
/// them. A view into the decoded file.
class ProductServicePackActions {
 public:
  explicit ProductServicePackActions(const PatchActionStore& store) : store_(&store) {}

  /// The exempt patch IDs in the file's order.
  [[nodiscard]] TextList exclusionPatchIDs() const;
  /// Whether the product-wide actions don't apply to the patch.
  [[nodiscard]] bool isExempt(std::string_view patchID) const;
  /// Absent when the product, or the service pack under it, isn't there.
  [[nodiscard]] std::optional<ActionMap> actions(std::string_view productID,
                                                 std::string_view servicePackID) const;
  /// All products, for those who look through a file.
  [[nodiscard]] std::vector<NamedProduct> products() const;

 private:
  const PatchActionStore* store_;
};

/// Actions that apply to one patch. A view into the decoded file.
class PatchActions {
 public:
  explicit PatchActions(const PatchActionStore& store) : store_(&store) {}

  /// Absent when the patch has no entry.
  [[nodiscard]] std::optional<ActionMap> actions(std::string_view patchID) const;
  /// All patches, for those who look through a file.
  [[nodiscard]] std::vector<NamedActions> patches() const;

 private:
  const PatchActionStore* store_;
};

/// The decoded file. Immutable, so it may be shared by threads; what it hands out are views that
/// live as long as it stays where it is.
class PatchActionGroup {
 public:
  /// An empty file: neither member.
  PatchActionGroup() = default;

  /// Decodes the text of `file`, strictly: every value must have the type that its place asks
  /// for, those that a later member of the same name replaces included (of members with equal
  /// names the last one counts). Throws `FileCodec::DecodingError` that names the file, the place
  /// and what was expected and found.
  [[nodiscard]] static PatchActionGroup decode(std::string text, const std::string& file);

  [[nodiscard]] std::optional<ProductServicePackActions> productServicePackActions() const;
  [[nodiscard]] std::optional<PatchActions> patchActions() const;

 private:
  explicit PatchActionGroup(PatchActionStore store) : store_(std::move(store)) {}
  PatchActionStore store_;
};

}  // namespace vexlo
