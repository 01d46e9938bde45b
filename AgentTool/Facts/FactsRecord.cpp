#include "AgentTool/Facts/FactsRecord.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

#include "AgentLibraries/FileCodec/JSONReader.h"  // kByteOrderMark
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Facts/FactsMembers.h"
#include "AgentTool/Facts/JSONMembers.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using LogCore::text;
using Members = std::span<const FactsMember>;

/// A bit for each member that a line needs.
std::uint64_t neededMembers(Members members) {
  std::uint64_t needed = 0;
  for (std::size_t index = 0; index < members.size(); ++index) {
    needed |= members[index].isNeeded ? std::uint64_t{1} << index : 0U;
  }
  return needed;
}

/// The member's index in the table, or the table's size. Members are nearly always in the table's
/// order, so the search starts after the previous one.
std::size_t indexOf(Members members, std::string_view name, std::size_t expected) {
  for (std::size_t step = 0; step < members.size(); ++step) {
    std::size_t index = expected + step;
    index -= index >= members.size() ? members.size() : 0;
    if (members[index].name == name) {
      return index;
    }
  }
  return members.size();
}

/// Clears the record but keeps its memory.
void forget(FactsRecord& record) {
  FactsRecord empty;
  std::swap(empty.preferredLanguages, record.preferredLanguages);
  std::swap(empty.availableOSUpdates, record.availableOSUpdates);
  std::swap(empty.applications, record.applications);
  std::swap(empty.instances, record.instances);
  empty.preferredLanguages.clear();
  empty.availableOSUpdates.clear();
  empty.applications.clear();
  empty.instances.clear();
  record = std::move(empty);
}

void takeLine(const JSONValue& line, FactsRecord& record) {
  if (line.type() != JSONValue::Type::object) {
    throw DecodingError({}, {}, "an object", describeFound(line));
  }
  static const Members members = factsMembers();
  static const std::uint64_t needed = neededMembers(members);
  std::uint64_t seen = 0;
  std::size_t next = 0;
  line.forEachMember([&](std::string_view name, const JSONValue& value) {
    const std::size_t index = indexOf(members, name, next);
    if (index < members.size()) {
      if (members[index].take != nullptr) {
        members[index].take(value, {.member = name}, record);
      }
      seen |= std::uint64_t{1} << index;
      next = index + 1;
    }
  });
  if (const std::uint64_t missing = needed & ~seen; missing != 0) {
    const auto& first = members[static_cast<std::size_t>(std::countr_zero(missing))];
    throw DecodingError({}, {}, text("the member \"", first.name, '"'), "none");
  }
}

}  // namespace

std::optional<platform::PropertyList> RecordedSettings::value(std::string_view key) const {
  const JSONValue* const found = values_ != nullptr ? values_->find(key) : nullptr;
  return found != nullptr ? std::optional(found->propertyList()) : std::nullopt;
}

std::optional<platform::PropertyList::Dictionary> RecordedSettings::dictionary() const {
  if (values_ == nullptr) {
    return std::nullopt;
  }
  platform::PropertyList::Dictionary dictionary;
  values_->forEachMember([&](std::string_view name, const JSONValue& value) {
    dictionary.insert_or_assign(std::string(name), value.propertyList());
  });
  return dictionary;
}

std::optional<std::span<const RecordedInstance>> FactsRecord::instancesOf(
    std::string_view bundleIdentifier) const {
  const auto last = std::ranges::find(applications.rbegin(), applications.rend(), bundleIdentifier,
                                      &Application::bundleIdentifier);
  if (last == applications.rend()) {
    return allApplicationsAreKnown ? std::optional(std::span<const RecordedInstance>())
                                   : std::nullopt;
  }
  return std::span(instances).subspan(last->firstInstance, last->instanceCount);
}

std::expected<const FactsRecord*, DecodingError> FactsReader::read(std::string_view line) {
  if (line.starts_with(FileCodec::kByteOrderMark)) {
    line.remove_prefix(FileCodec::kByteOrderMark.size());
  }
  const JSONValue* const root = document_.read(line);
  if (root == nullptr) {
    return std::unexpected(whyNoJSON(line));
  }
  forget(record_);
  try {
    takeLine(*root, record_);
  } catch (DecodingError& error) {
    return std::unexpected(std::move(error));
  }
  return &record_;
}

}  // namespace agent_tool
