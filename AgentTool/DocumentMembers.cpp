#include "AgentTool/DocumentMembers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>

#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/PrintableText.h"
#include "VexloPatchDeployment/Common/LetterCase.h"

namespace agent_tool {
namespace {

using LogCore::text;

constexpr std::array<std::string_view, 2> kKnownMembers{"ProductServicePackActions",
                                                        "PatchActions"};

class MemberWatch final : public FileCodec::JSONEvents {
 public:
  explicit MemberWatch(std::vector<Oddity>& oddities) : oddities_(oddities) {}

  bool beginObject() override { return enter(); }
  bool beginArray() override { return enter(); }
  bool endObject() override { return leave(); }
  bool endArray() override { return leave(); }
  bool string(std::string_view /*value*/) override { return true; }
  bool number() override { return true; }
  bool boolean() override { return true; }
  bool null() override { return true; }

  bool memberName(std::string_view name) override {
    Level& level = levels_.back();
    level.member = name;
    const bool isRoot = levels_.size() == 1;
    if (isRoot) {
      isRead_ = std::ranges::find(kKnownMembers, name) != std::ranges::end(kKnownMembers);
    }
    if (!isRead_) {
      if (isRoot) {
        reportIgnored(name);
      }
      return true;
    }
    if (++level.timesSeen[level.member] == 2) {
      oddities_.push_back({OddityKind::repeatedName, place(),
                           "occurs more than once in its object; the last one counts"});
    }
    return true;
  }

 private:
  struct Level {
    std::string member;
    std::unordered_map<std::string, std::size_t> timesSeen;
  };

  bool enter() {
    levels_.emplace_back();
    return true;
  }
  bool leave() {
    levels_.pop_back();
    return true;
  }

  void reportIgnored(std::string_view name) {
    std::string what = "is not read";
    for (const std::string_view known : kKnownMembers) {
      if (vexlo::equalIgnoringCase(name, known)) {
        what += text("; did you mean ", inQuotes(known), '?');
      }
    }
    oddities_.push_back({OddityKind::ignoredMember, place(), std::move(what)});
  }

  [[nodiscard]] std::string place() const {
    std::vector<std::string> members;
    members.reserve(levels_.size());
    for (const Level& level : levels_) {
      members.push_back(level.member);
    }
    return placeOf(members);
  }

  std::vector<Oddity>& oddities_;
  std::vector<Level> levels_;  // from the document inwards
  bool isRead_ = false;        // whether the current member of the document is read
};

}  // namespace

std::vector<Oddity> findOddMembers(std::string_view text) {
  std::vector<Oddity> oddities;
  MemberWatch watch(oddities);
  // The decoder has already rejected invalid JSON.
  if (FileCodec::readJSON(text, watch).outcome == FileCodec::JSONOutcome::hugeExponent) {
    return findOddMembers(FileCodec::withShortExponents(std::string(text)));
  }
  if (text.starts_with(FileCodec::kByteOrderMark)) {
    oddities.push_back({OddityKind::byteOrderMark, "",
                        "the text begins with a byte order mark, which some readers refuse"});
  }
  return oddities;
}

}  // namespace agent_tool
