#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {
namespace {

using Entry = PatchActionStore::Entry;

ActionMap actionsOf(const PatchActionStore& store, const Entry& entry) {
  return ActionMap(
      std::views::iota(entry.children.first, entry.children.first + entry.children.count),
      StoredActionReader{&store});
}

std::optional<ActionMap> actionsIfFound(const PatchActionStore& store, const Entry* entry) {
  return entry != nullptr ? std::optional(actionsOf(store, *entry)) : std::nullopt;
}

/// The entries of a run without those replaced by a later one of the same name.
auto entriesOf(const PatchActionStore& store, const PatchActionStore::Table& table,
               PatchActionStore::Run run) {
  return std::span(table.entries).subspan(run.first, run.count) |
         std::views::filter([&store, &table, run](const Entry& entry) {
           return store.find(table, store.at(entry.name), run) == &entry;
         });
}

std::vector<NamedActions> namedActions(const PatchActionStore& store,
                                       const PatchActionStore::Table& table,
                                       PatchActionStore::Run run) {
  std::vector<NamedActions> named;
  for (const Entry& entry : entriesOf(store, table, run)) {
    named.push_back({.name = store.at(entry.name), .actions = actionsOf(store, entry)});
  }
  return named;
}

}  // namespace

const Entry* PatchActionStore::find(const Table& table, std::string_view name, Run run) const {
  const auto number =
      table.index.find(NameIndex::hash(name, run.first), [&](std::uint32_t candidate) {
        return candidate - run.first < run.count && at(table.entries[candidate].name) == name;
      });
  return number ? &table.entries[*number] : nullptr;
}

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
  const Entry* const product = store_->find(store_->products, productID, store_->products.all());
  return product != nullptr
             ? actionsIfFound(*store_,
                              store_->find(store_->servicePacks, servicePackID, product->children))
             : std::nullopt;
}

std::vector<NamedProduct> ProductServicePackActions::products() const {
  std::vector<NamedProduct> named;
  for (const Entry& product : entriesOf(*store_, store_->products, store_->products.all())) {
    named.push_back(
        {.name = store_->at(product.name),
         .servicePacks = namedActions(*store_, store_->servicePacks, product.children)});
  }
  return named;
}

std::optional<ActionMap> PatchActions::actions(std::string_view patchID) const {
  return actionsIfFound(*store_, store_->find(store_->patches, patchID, store_->patches.all()));
}

std::vector<NamedActions> PatchActions::patches() const {
  return namedActions(*store_, store_->patches, store_->patches.all());
}

}  // namespace vexlo
