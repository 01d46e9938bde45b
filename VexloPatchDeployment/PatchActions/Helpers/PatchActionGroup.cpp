#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

#include <algorithm>

namespace vexlo {
namespace {

using Entry = PatchActionStore::Entry;

/// The number of the entry called `name` in its owner's run.
std::optional<std::uint32_t> findEntry(const PatchActionStore& store, const NameIndex& index,
                                       const std::vector<Entry>& entries, std::string_view name,
                                       PatchActionStore::Run run) {
  return index.find(NameIndex::hash(name, run.first), [&](std::uint32_t number) {
    return number - run.first < run.count && store.at(entries[number].name) == name;
  });
}

PatchActionStore::Run whole(const std::vector<Entry>& entries) {
  return {.first = 0, .count = static_cast<std::uint32_t>(entries.size())};
}

ActionMap actionsOf(const PatchActionStore& store, const Entry& entry) {
  return ActionMap(std::views::iota(entry.first, entry.first + entry.count),
                   StoredActionReader{&store});
}

/// The entries of a run without those replaced by a later one of the same name.
std::vector<NamedActions> namedActions(const PatchActionStore& store, const NameIndex& index,
                                       const std::vector<Entry>& entries,
                                       PatchActionStore::Run run) {
  std::vector<NamedActions> named;
  for (std::uint32_t number = run.first; number < run.first + run.count; ++number) {
    const std::string_view name = store.at(entries[number].name);
    if (findEntry(store, index, entries, name, run) == number) {
      named.push_back({.name = name, .actions = actionsOf(store, entries[number])});
    }
  }
  return named;
}

}  // namespace

ActionEntry StoredActionReader::operator()(std::uint32_t action) const noexcept {
  const std::uint32_t begin = store->actionStarts[action];
  const std::uint32_t end = store->actionStarts[action + 1];
  return {
      .code = store->actionCode(action),
      .arguments = StringList(std::span(store->actionStrings).subspan(begin + 1, end - begin - 1),
                              StoredStringReader{store})};
}

StringList ProductServicePackActions::exclusionPatchIDs() const {
  return StringList(std::span(store_->exclusionPatchIDs), StoredStringReader{store_});
}

bool ProductServicePackActions::isExempt(std::string_view patchID) const {
  return store_->exclusionIndex
      .find(NameIndex::hash(patchID, 0),
            [&](std::uint32_t number) {
              return store_->at(store_->exclusionPatchIDs[number]) == patchID;
            })
      .has_value();
}

std::optional<ActionMap> ProductServicePackActions::actions(std::string_view productID,
                                                            std::string_view servicePackID) const {
  const auto product = findEntry(*store_, store_->productIndex, store_->products, productID,
                                 whole(store_->products));
  if (!product) {
    return std::nullopt;
  }
  const Entry& found = store_->products[*product];
  const auto servicePack = findEntry(*store_, store_->servicePackIndex, store_->servicePacks,
                                     servicePackID, {.first = found.first, .count = found.count});
  if (!servicePack) {
    return std::nullopt;
  }
  return actionsOf(*store_, store_->servicePacks[*servicePack]);
}

std::vector<NamedProduct> ProductServicePackActions::products() const {
  std::vector<NamedProduct> named;
  for (std::uint32_t number = 0; number < store_->products.size(); ++number) {
    const Entry& product = store_->products[number];
    const std::string_view name = store_->at(product.name);
    if (findEntry(*store_, store_->productIndex, store_->products, name, whole(store_->products)) ==
        number) {
      named.push_back(
          {.name = name,
           .servicePacks = namedActions(*store_, store_->servicePackIndex, store_->servicePacks,
                                        {.first = product.first, .count = product.count})});
    }
  }
  return named;
}

std::optional<ActionMap> PatchActions::actions(std::string_view patchID) const {
  const auto patch =
      findEntry(*store_, store_->patchIndex, store_->patches, patchID, whole(store_->patches));
  if (!patch) {
    return std::nullopt;
  }
  return actionsOf(*store_, store_->patches[*patch]);
}

std::vector<NamedActions> PatchActions::patches() const {
  return namedActions(*store_, store_->patchIndex, store_->patches, whole(store_->patches));
}

std::optional<ProductServicePackActions> PatchActionGroup::productServicePackActions() const {
  if (!store_.hasProductServicePackActions) {
    return std::nullopt;
  }
  return ProductServicePackActions(store_);
}

std::optional<PatchActions> PatchActionGroup::patchActions() const {
  if (!store_.hasPatchActions) {
    return std::nullopt;
  }
  return PatchActions(store_);
}

}  // namespace vexlo
