#include "AgentTool/ActionFiles/JSONDocument.h"

#include <algorithm>
#include <utility>

namespace agent_tool {
namespace {

constexpr std::string_view kBetweenTokens = " \t\r\n,:";
constexpr std::string_view kEndsOfWords = " \t\r\n,:]}";

}  // namespace

/// Adds a value for each event. Events come in the order of the tokens, so each event's offset is
/// that of the next token.
class JSONDocument::Builder final : public FileCodec::JSONEvents {
 public:
  explicit Builder(JSONDocument& document) : document_(document) {}

  bool beginObject() override { return open(Type::object); }
  bool beginArray() override { return open(Type::array); }
  bool endObject() override { return close(); }
  bool endArray() override { return close(); }
  bool number() override { return add(Type::number); }
  bool boolean() override { return add(Type::boolean); }
  bool null() override { return add(Type::null); }
  bool string(std::string_view value) override {
    add(Type::string);
    document_.values_.back().string = keep(value);
    return true;
  }
  bool memberName(std::string_view name) override {
    nameOffset_ = takeToken();
    name_ = keep(name);
    isMember_ = true;
    return true;
  }

 private:
  bool open(Type type) {
    open_.push_back(document_.values_.size());
    return add(type);
  }

  bool close() {
    takeToken();
    document_.values_[open_.back()].end = static_cast<std::uint32_t>(document_.values_.size());
    open_.pop_back();
    return true;
  }

  bool add(Type type) {
    const std::uint32_t offset = takeToken();
    document_.values_.push_back({.type = type,
                                 .end = static_cast<std::uint32_t>(document_.values_.size()) + 1,
                                 .offset = offset,
                                 .nameOffset = isMember_ ? nameOffset_ : offset,
                                 .name = std::exchange(name_, {})});
    isMember_ = false;
    return true;
  }

  std::uint32_t takeToken() {
    const std::size_t begin = document_.text_.find_first_not_of(kBetweenTokens, at_);
    at_ = begin + tokenLength(document_.text_, begin);
    return static_cast<std::uint32_t>(begin);
  }

  std::string_view keep(std::string_view string) {
    const std::string_view text = document_.text_;
    const bool isInText = string.data() >= text.data() && string.data() < text.data() + text.size();
    return isInText ? string : document_.decoded_.emplace_back(string);
  }

  JSONDocument& document_;
  std::vector<std::size_t> open_;
  std::size_t at_ = 0;
  std::uint32_t nameOffset_ = 0;
  std::string_view name_;
  bool isMember_ = false;
};

JSONDocument::JSONDocument(std::string_view text)
    : text_(text.substr(
          text.starts_with(FileCodec::kByteOrderMark) ? FileCodec::kByteOrderMark.size() : 0)) {
  Builder builder(*this);
  reading_ = FileCodec::readJSON(text, builder);
  if (reading_.outcome == FileCodec::JSONOutcome::hugeExponent) {
    values_.clear();
    decoded_.clear();
    Builder again(*this);
    // The copy is temporary, so all of its strings are stored in `decoded_`.
    reading_ = FileCodec::readJSON(FileCodec::withShortExponents(std::string(text)), again, text);
  }
  if (reading_.outcome != FileCodec::JSONOutcome::complete) {
    values_.clear();
  }
}

std::vector<const JSONDocument::Value*> JSONDocument::children(const Value& value) const {
  std::vector<const Value*> children;
  const auto first = static_cast<std::size_t>(&value - values_.data()) + 1;
  for (std::size_t number = first; number < value.end; number = values_[number].end) {
    children.push_back(&values_[number]);
  }
  return children;
}

std::size_t tokenLength(std::string_view text, std::size_t offset) {
  if (offset >= text.size()) {
    return 0;
  }
  if (text[offset] == '"') {
    std::size_t end = offset + 1;
    while (end < text.size() && text[end] != '"') {
      end += text[end] == '\\' ? 2 : 1;
    }
    return std::min(end + 1, text.size()) - offset;
  }
  if (std::string_view("{}[]").contains(text[offset])) {
    return 1;
  }
  const std::size_t end = std::min(text.find_first_of(kEndsOfWords, offset), text.size());
  return std::max<std::size_t>(end - offset, 1);
}

}  // namespace agent_tool
