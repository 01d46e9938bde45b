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

/// The file's text and compact records that refer to it: names and arguments are offsets into the
/// text, and the children of an entry are a contiguous run of an array. Filled once by the decoder.
class PatchActionStore {
 public:
  /// The position of a string in the file or, beyond its end, in the decoded escapes.
  struct Text {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
  };
  /// A name and the run of its children: the service packs of a product, the actions of a service
  /// pack or patch, the arguments of an action.
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
  std::string decodedEscapes;  ///< Concatenated strings that had escapes.
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
/// A list of strings, as views into the decoded file.
using TextList =
    std::ranges::transform_view<std::span<const PatchActionStore::Text>, StoredTextReader>;

/// One action: its code and its arguments in file order.
struct ActionEntry {
  std::string_view code;
  TextList arguments;
};
struct StoredActionReader {
  const PatchActionStore* store = nullptr;
  [[nodiscard]] ActionEntry operator()(const PatchActionStore::Entry& action) const noexcept;
};
/// The actions of a service pack or patch; codes are unique.
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

/// The actions for all patches of a product and service pack, and the exempt patches. A view into
/// the decoded file.
class ProductServicePackActions {
 public:
  explicit ProductServicePackActions(const PatchActionStore& store) : store_(&store) {}

  /// The exempt patch IDs in file order.
  [[nodiscard]] TextList exclusionPatchIDs() const;
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

  /// Decodes the text of `file` strictly: every value must have the expected type, even one that a
  /// later member of the same name replaces. Throws `FileCodec::DecodingError` with the file, the
  /// place, and what was expected and found.
  [[nodiscard]] static PatchActionGroup decode(std::string text, const std::string& file);

  [[nodiscard]] std::optional<ProductServicePackActions> productServicePackActions() const;
  [[nodiscard]] std::optional<PatchActions> patchActions() const;

 private:
  explicit PatchActionGroup(PatchActionStore store) : store_(std::move(store)) {}
  PatchActionStore store_;
};

}  // namespace vexlo
