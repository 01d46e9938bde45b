// Decodes the patch action file into the compact store in one pass over its events.
#include <algorithm>
#include <array>
#include <optional>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONReader.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {
namespace {

using FileCodec::DecodingError;
using StringID = PatchActionStore::StringID;
using Table = PatchActionStore::Table;

constexpr std::string_view kProductServicePackActions = "ProductServicePackActions";
constexpr std::string_view kPatchActions = "PatchActions";
constexpr std::string_view kExclusionPatchIDs = "ExclusionPatchIDs";

/// The kinds of containers in the document.
enum class Container : std::uint8_t {
  document,       // not a container: the parent of the root value
  root,           // { "ProductServicePackActions": …, "PatchActions": … }
  products,       // { "ExclusionPatchIDs": […], product ID: … }
  exclusionList,  // [ patch ID, … ]
  servicePacks,   // { service-pack ID: … }
  patches,        // { patch ID: … }
  actions,        // { action code: … } of a service pack or patch
  arguments,      // [ argument, … ]
  ignored,        // anything in an unknown member of the root
};

/// What is expected at a place in the document.
enum class Wanted : std::uint8_t { object, objectOrNull, arrayOfStrings, string, anything };

std::string_view nameOf(Wanted wanted) {
  constexpr std::array<std::string_view, 5> kNames{
      // in the enumeration's order
      "an object", "an object or null", "an array of strings", "a string", "any value"};
  return kNames.at(std::to_underlying(wanted));
}

/// Fills the store from the events. Stops at the first value of a wrong type and records its place
/// in `problem`.
class Decoder final : public FileCodec::JSONEvents {
 public:
  Decoder(PatchActionStore& store, const std::string& file) : store_(store), file_(file) {
    // Address space for a dense file, so that the arrays rarely reallocate; unused pages cost no
    // memory.
    const std::size_t bytes = store_.file.size();
    store_.actionStrings.reserve(bytes / 8);
    store_.actionStarts.reserve(bytes / 16);
    store_.patches.entries.reserve(bytes / 32);
    store_.servicePacks.entries.reserve(bytes / 32);
  }

  bool beginObject() override {
    const auto [wanted, container] = stepHere();
    if (wanted != Wanted::object && wanted != Wanted::objectOrNull && wanted != Wanted::anything) {
      return stopAt("an object");
    }
    enter(container);
    return true;
  }

  bool beginArray() override {
    const auto [wanted, container] = stepHere();
    if (wanted != Wanted::arrayOfStrings && wanted != Wanted::anything) {
      return stopAt("an array");
    }
    enter(container);
    return true;
  }

  bool memberName(std::string_view name) override {
    if (here() != Container::ignored) {
      levels_[depth_].member = keep(name);
    }
    return true;
  }

  bool string(std::string_view value) override {
    const Wanted wanted = stepHere().wanted;
    if (wanted == Wanted::string) {
      listHere().push_back(keep(value));
      return true;
    }
    return wanted == Wanted::anything || stopAt("a string");
  }

  bool number() override { return scalar("a number"); }
  bool boolean() override { return scalar("a Boolean"); }

  bool null() override {
    if (stepHere().wanted != Wanted::objectOrNull) {
      return scalar("null");
    }
    if (member() == kPatchActions) {
      forgetPatches();
    } else {
      forgetProducts();
    }
    return true;
  }

  bool endObject() override { return leave(); }
  bool endArray() override { return leave(); }

  /// Completes the store; called once, after the last event.
  void finish() {
    store_.actionStarts.push_back(size(store_.actionStrings));
    for (Table* const table : {&store_.patches, &store_.products, &store_.servicePacks}) {
      table->index = NameIndex(table->entries.size());
    }
    addToIndex(store_.patches, store_.patches.all());
    addToIndex(store_.products, store_.products.all());
    for (const PatchActionStore::Entry& product : store_.products.entries) {
      addToIndex(store_.servicePacks, product.children);
    }
    store_.exclusionIndex = NameIndex(store_.exclusionPatchIDs.size());
    for (std::uint32_t number = 0; number < store_.exclusionPatchIDs.size(); ++number) {
      const std::string_view patchID = store_.at(store_.exclusionPatchIDs[number]);
      store_.exclusionIndex.add(number, NameIndex::hash(patchID, 0), [&](std::uint32_t other) {
        return store_.at(store_.exclusionPatchIDs[other]) == patchID;
      });
    }
  }

  /// The mismatch that stopped the reader.
  [[nodiscard]] DecodingError problem() const {
    return {file_, path(), std::string(nameOf(wanted_)), std::string(found_)};
  }

 private:
  struct Level {
    Container container = Container::document;
    StringID member{};          // the name of the member being read
    std::uint32_t first = 0;    // the start of the container's entries or strings
    std::uint32_t ignored = 0;  // containers open inside an ignored one
  };

  [[nodiscard]] Container here() const { return levels_[depth_].container; }
  [[nodiscard]] std::string_view member() const { return store_.at(levels_[depth_].member); }
  /// The list that the strings of the current array belong to.
  [[nodiscard]] std::vector<StringID>& listHere() const {
    return here() == Container::arguments ? store_.actionStrings : store_.exclusionPatchIDs;
  }

  /// What is expected at the current place, and the container that it starts there.
  struct Step {
    Wanted wanted;
    Container container = Container::ignored;
  };
  [[nodiscard]] Step stepHere() const {
    switch (here()) {
      case Container::document:
        return {Wanted::object, Container::root};
      case Container::root:
        return member() == kPatchActions ? Step{Wanted::objectOrNull, Container::patches}
               : member() == kProductServicePackActions
                   ? Step{Wanted::objectOrNull, Container::products}
                   : Step{Wanted::anything};
      case Container::products:
        return member() == kExclusionPatchIDs
                   ? Step{Wanted::arrayOfStrings, Container::exclusionList}
                   : Step{Wanted::object, Container::servicePacks};
      case Container::servicePacks:
      case Container::patches:
        return {Wanted::object, Container::actions};
      case Container::actions:
        return {Wanted::arrayOfStrings, Container::arguments};
      case Container::exclusionList:
      case Container::arguments:
        return {Wanted::string};
      case Container::ignored:
        return {Wanted::anything};
    }
    std::unreachable();
  }

  void enter(Container container) {
    if (container == Container::ignored && here() == Container::ignored) {
      ++levels_[depth_].ignored;
      return;
    }
    levels_[++depth_] = {.container = container};
    std::uint32_t& first = levels_[depth_].first;
    switch (container) {
      case Container::products:
        forgetProducts();
        store_.hasProductServicePackActions = true;
        break;
      case Container::patches:
        forgetPatches();
        store_.hasPatchActions = true;
        break;
      case Container::servicePacks:
        first = size(store_.servicePacks.entries);
        break;
      case Container::actions:
        first = size(store_.actionStarts);
        break;
      case Container::arguments:
        store_.actionStarts.push_back(size(store_.actionStrings));
        store_.actionStrings.push_back(levels_[depth_ - 1].member);
        first = size(store_.actionStrings);
        break;
      case Container::exclusionList:
        store_.exclusionPatchIDs.clear();
        break;
      case Container::document:
      case Container::root:
      case Container::ignored:
        break;
    }
  }

  bool leave() {
    if (here() == Container::ignored && levels_[depth_].ignored > 0) {
      --levels_[depth_].ignored;
      return true;
    }
    const Level ended = levels_[depth_--];
    const StringID name = levels_[depth_].member;
    switch (ended.container) {
      case Container::servicePacks:
        store_.products.entries.push_back(
            {name, {ended.first, size(store_.servicePacks.entries) - ended.first}});
        break;
      case Container::actions: {
        keepLastOfEachAction(ended.first);
        Table& owners = here() == Container::patches ? store_.patches : store_.servicePacks;
        owners.entries.push_back({name, {ended.first, size(store_.actionStarts) - ended.first}});
        break;
      }
      case Container::document:
      case Container::root:
      case Container::products:
      case Container::exclusionList:
      case Container::patches:
      case Container::arguments:
      case Container::ignored:
        break;
    }
    return true;
  }

  /// Removes the actions from `first` on that a later one of the same code replaces.
  void keepLastOfEachAction(std::uint32_t first) {
    const auto code = [this](std::uint32_t action) { return store_.actionCode(action); };
    const auto all = std::views::iota(first, size(store_.actionStarts));
    const auto notAscending = [&](std::uint32_t a, std::uint32_t b) { return code(a) >= code(b); };
    if (std::ranges::adjacent_find(all, notAscending) == all.end()) {
      return;  // strictly ascending, as usual, so there are no duplicates
    }
    std::unordered_map<std::string_view, std::uint32_t> last;
    for (const std::uint32_t action : all) {
      last[code(action)] = action;
    }
    if (last.size() == all.size()) {
      return;  // not sorted, but without duplicates
    }
    // What is kept moves down, because the strings of all actions are contiguous.
    auto& starts = store_.actionStarts;
    auto& strings = store_.actionStrings;
    starts.push_back(size(strings));
    std::uint32_t kept = first;
    auto end = strings.begin() + starts[first];
    for (const std::uint32_t action : all) {
      if (last[code(action)] == action) {
        const std::span moved(strings.begin() + starts[action],
                              strings.begin() + starts[action + 1]);
        starts[kept++] = static_cast<std::uint32_t>(end - strings.begin());
        for (const StringID string : moved) {
          *end++ = string;
        }
      }
    }
    starts.resize(kept);
    strings.erase(end, strings.end());
  }

  void forgetProducts() {
    store_.hasProductServicePackActions = false;
    store_.products.entries.clear();
    store_.servicePacks.entries.clear();
    store_.exclusionPatchIDs.clear();
  }

  void forgetPatches() {
    store_.hasPatchActions = false;
    store_.patches.entries.clear();
  }

  bool scalar(std::string_view found) {
    return stepHere().wanted == Wanted::anything || stopAt(found);
  }

  /// Records the problem. Returns false, which stops the reader.
  bool stopAt(std::string_view found) {
    wanted_ = stepHere().wanted;
    found_ = found;
    return false;
  }

  /// Such as "ProductServicePackActions › 1201 › 2301 › 2005 › [0]".
  [[nodiscard]] std::string path() const {
    std::string out;
    for (std::size_t level = 1; level <= depth_; ++level) {
      const std::string_view separator = out.empty() ? "" : " › ";
      const bool isList = levels_[level].container == Container::arguments ||
                          levels_[level].container == Container::exclusionList;
      out += isList ? text(separator, '[', listHere().size() - levels_[level].first, ']')
                    : text(separator, FileCodec::nameInPlace(store_.at(levels_[level].member)));
    }
    return out;
  }

  /// Refers to a string of the file. One that had escapes is stored.
  StringID keep(std::string_view value) {
    const char* const begin = store_.file.data();
    if (value.data() >= begin && value.data() < begin + store_.file.size()) {
      return static_cast<StringID>(value.data() - begin);
    }
    store_.decodedText += value;
    store_.decodedEnds.push_back(static_cast<std::uint32_t>(store_.decodedText.size()));
    return static_cast<StringID>(store_.file.size() + store_.decodedEnds.size() - 1);
  }

  template <typename Element>
  [[nodiscard]] static std::uint32_t size(const std::vector<Element>& elements) {
    return static_cast<std::uint32_t>(elements.size());  // less than the size of the file
  }

  void addToIndex(Table& table, PatchActionStore::Run run) {
    for (std::uint32_t number = run.first; number < run.first + run.count; ++number) {
      const std::string_view name = store_.at(table.entries[number].name);
      table.index.add(number, NameIndex::hash(name, run.first), [&](std::uint32_t other) {
        return other >= run.first && store_.at(table.entries[other].name) == name;
      });
    }
  }

  PatchActionStore& store_;
  const std::string& file_;
  std::array<Level, 8> levels_{};  // a valid document has at most six levels
  std::size_t depth_ = 0;
  Wanted wanted_ = Wanted::anything;
  std::string_view found_;
};

/// `unchanged` is the file's text if `text` has short exponents.
PatchActionStore decodedStore(std::string text, const std::string& file,
                              std::optional<std::string_view> unchanged = std::nullopt) {
  PatchActionStore store;
  store.file = std::move(text);
  Decoder decoder(store, file);
  const FileCodec::JSONReading reading = FileCodec::readJSON(store.file, decoder, unchanged);
  switch (reading.outcome) {
    case FileCodec::JSONOutcome::complete:
      break;
    case FileCodec::JSONOutcome::stoppedByEvents:
      throw decoder.problem();
    case FileCodec::JSONOutcome::hugeExponent: {
      const std::string whole = std::move(store.file);
      return decodedStore(FileCodec::withShortExponents(whole), file, whole);
    }
    case FileCodec::JSONOutcome::syntaxError:
      throw FileCodec::syntaxError(file, reading);
  }
  decoder.finish();
  return store;
}

}  // namespace

PatchActionGroup PatchActionGroup::decode(std::string text, const std::string& file) {
  return PatchActionGroup(decodedStore(std::move(text), file));
}

}  // namespace vexlo
