// Writes the binary format: every value becomes an object, in the order of traversal.
#include <bit>
#include <cstdint>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "Platform/PropertyListReaders.h"
#include "Platform/Unicode.h"

namespace platform {
namespace {

constexpr std::size_t kReferenceBytes = 4;
constexpr std::size_t kOffsetBytes = 8;

class BinaryWriter {
 public:
  std::string write(const PropertyList& value) {
    writeObject(value);
    const std::uint64_t table = out_.size();
    for (const std::uint64_t offset : offsets_) {
      appendNumber(offset, kOffsetBytes);
    }
    out_.append(6, '\0');
    appendNumber(kOffsetBytes, 1);
    appendNumber(kReferenceBytes, 1);
    appendNumber(offsets_.size(), 8);
    appendNumber(0, 8);  // the top object
    appendNumber(table, 8);
    return std::move(out_);
  }

 private:
  enum Marker : std::uint8_t {
    kFalse = 0x08,
    kTrue = 0x09,
    kInteger8 = 0x13,   // of 8 bytes, signed
    kInteger16 = 0x14,  // of 16 bytes
    kReal8 = 0x23,
    kDate = 0x33,
    kData = 0x40,
    kASCII = 0x50,
    kUTF16 = 0x60,
    kArray = 0xA0,
    kDictionary = 0xD0,
  };

  /// Big-endian.
  static std::string numberBytes(std::uint64_t value, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t index = size; index > 0; --index, value >>= 8) {
      bytes[index - 1] = static_cast<char>(value & 0xFF);
    }
    return bytes;
  }
  void appendNumber(std::uint64_t value, std::size_t size) { out_ += numberBytes(value, size); }
  void appendMarker(std::uint8_t marker) { out_ += static_cast<char>(marker); }

  /// A marker with the count in its lower four bits or, if that doesn't fit, after it.
  void appendCounted(Marker marker, std::size_t count) {
    constexpr std::size_t kCountFollows = 0x0F;
    appendMarker(marker | static_cast<std::uint8_t>(count < kCountFollows ? count : kCountFollows));
    if (count >= kCountFollows) {
      appendMarker(kInteger8);
      appendNumber(count, 8);
    }
  }

  /// Writes the value and its elements; returns the object's number.
  std::uint64_t writeObject(const PropertyList& value) {
    const std::uint64_t object = offsets_.size();
    offsets_.push_back(out_.size());
    std::visit([this](const auto& content) { writeContent(content); }, value.value());
    return object;
  }

  void writeContent(const std::string& text) {
    if (findInvalidUTF8(text) != std::string::npos) {
      throw std::invalid_argument("a string of a property list is not UTF-8");
    }
    const std::u16string units = toUTF16(text);
    if (units.size() == text.size()) {  // ASCII only
      appendCounted(kASCII, text.size());
      out_ += text;
      return;
    }
    appendCounted(kUTF16, units.size());
    for (const char16_t unit : units) {
      appendNumber(unit, 2);
    }
  }
  void writeContent(std::int64_t number) {
    appendMarker(kInteger8);
    appendNumber(static_cast<std::uint64_t>(number), 8);
  }
  void writeContent(std::uint64_t number) {
    appendMarker(kInteger16);
    appendNumber(0, 8);
    appendNumber(number, 8);
  }
  void writeContent(double number) {
    appendMarker(kReal8);
    appendNumber(std::bit_cast<std::uint64_t>(number), 8);
  }
  void writeContent(bool flag) { appendMarker(flag ? kTrue : kFalse); }
  void writeContent(PropertyListDate date) {
    appendMarker(kDate);
    appendNumber(std::bit_cast<std::uint64_t>(date.secondsSince2001), 8);
  }
  void writeContent(const PropertyList::Data& data) {
    appendCounted(kData, data.size());
    out_.append(reinterpret_cast<const char*>(data.data()), data.size());
  }
  void writeContent(const PropertyList::Array& array) {
    std::size_t place = beginCollection(kArray, array.size(), array.size());
    for (const PropertyList& element : array) {
      place = setReference(place, writeObject(element));
    }
    --depth_;
  }
  void writeContent(const PropertyList::Dictionary& dictionary) {
    std::size_t key = beginCollection(kDictionary, dictionary.size(), 2 * dictionary.size());
    std::size_t value = key + dictionary.size() * kReferenceBytes;
    for (const auto& [name, content] : dictionary) {
      key = setReference(key, writeObject(name));
      value = setReference(value, writeObject(content));
    }
    --depth_;
  }

  /// Returns the position of the first reference; they are filled in as the elements are numbered.
  std::size_t beginCollection(Marker marker, std::size_t count, std::size_t references) {
    if (++depth_ > kMaximumPropertyListDepth) {
      throw std::invalid_argument("a property list is nested more than " +
                                  std::to_string(kMaximumPropertyListDepth) + " levels deep");
    }
    appendCounted(marker, count);
    const std::size_t first = out_.size();
    out_.append(references * kReferenceBytes, '\0');
    return first;
  }
  /// Returns the position of the next reference.
  std::size_t setReference(std::size_t position, std::uint64_t object) {
    out_.replace(position, kReferenceBytes, numberBytes(object, kReferenceBytes));
    return position + kReferenceBytes;
  }

  std::string out_ = "bplist00";
  std::vector<std::uint64_t> offsets_;
  std::size_t depth_ = 0;
};

}  // namespace

std::string toBinary(const PropertyList& value) { return BinaryWriter().write(value); }

}  // namespace platform
