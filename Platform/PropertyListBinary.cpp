// Reads the binary format, version 00: objects, a table of their offsets, a trailer of 32 bytes.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

#include "Platform/PropertyListReaders.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"

namespace platform {
namespace {

constexpr std::string_view kHeader = "bplist00";
constexpr std::size_t kTrailerSize = 32;

/// Reads objects recursively from the top one, with limited depth. An object that is referenced
/// from several places is copied into each, so a small input could expand to an enormous tree; the
/// memory for values is therefore limited, too.
class BinaryReader {
 public:
  BinaryReader(std::string_view bytes, ValueBudget budget) : bytes_(bytes), budget_(budget) {}

  PropertyList read() {
    readTrailer();
    return readObject(top_, 1);
  }

 private:
  /// The position of an object's content, after its marker and count.
  struct Content {
    std::size_t start;
    std::size_t count;
  };

  [[noreturn]] static void failWhole(const std::string& message) {
    throw PropertyListError{"binary property list: " + message};
  }

  [[noreturn]] void fail(const std::string& message) const {
    failWhole("object " + std::to_string(current_) + ", at byte " + std::to_string(offset_) + ": " +
              message);
  }

  /// Reads a big-endian number of 1 to 8 bytes, which must be in bounds.
  [[nodiscard]] std::uint64_t number(std::size_t start, std::size_t size) const {
    std::uint64_t value = 0;
    for (const char byte : bytes_.substr(start, size)) {
      value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
  }

  void readTrailer() {
    if (!bytes_.starts_with(kHeader)) {
      failWhole("expected version 00, found " + quotedExcerpt(bytes_.substr(0, kHeader.size())));
    }
    if (bytes_.size() < kHeader.size() + kTrailerSize) {
      failWhole("expected a trailer of 32 bytes, found the end at byte " +
                std::to_string(bytes_.size()));
    }
    const std::size_t trailer = bytes_.size() - kTrailerSize;
    offsetSize_ = number(trailer + 6, 1);
    referenceSize_ = number(trailer + 7, 1);
    count_ = number(trailer + 8, 8);
    top_ = number(trailer + 16, 8);
    table_ = number(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) {
      failWhole("expected numbers of 1 to 8 bytes, found " + std::to_string(offsetSize_) +
                " for offsets and " + std::to_string(referenceSize_) + " for references");
    }
    if (table_ < kHeader.size() || table_ > trailer || count_ > (trailer - table_) / offsetSize_) {
      failWhole("expected the offsets of " + std::to_string(count_) +
                " objects before the trailer, found their table at byte " + std::to_string(table_));
    }
    if (top_ >= count_) {
      failWhole("expected the top object among " + std::to_string(count_) + ", found number " +
                std::to_string(top_));
    }
    isOpen_.resize(count_);
    // Twice what a tree without shared objects can need, plus room for small inputs.
    memoryLeft_ = 2 * (kMemoryOfValue + 1) * bytes_.size() + kMemoryForSmallInputs;
  }

  void takeMemory(std::uint64_t bytes) {
    if (bytes > memoryLeft_) {
      fail("expected objects that are referred to a few times, found too large a whole");
    }
    memoryLeft_ -= bytes;
  }

  void requireContent(std::uint64_t start, std::uint64_t size) const {
    if (start > table_ || size > table_ - start) {
      fail("expected " + std::to_string(size) + " bytes, found the end of the objects");
    }
  }

  /// The content of an object whose count is in its marker or follows as an integer.
  [[nodiscard]] Content content(std::uint64_t unitSize) const {
    std::uint64_t start = offset_ + 1;
    std::uint64_t count = number(offset_, 1) & 0x0F;
    if (count == 0x0F) {
      requireContent(start, 1);
      const std::uint64_t marker = number(start, 1);
      if (marker < 0x10 || marker > 0x13) {
        fail("expected a count");
      }
      const std::size_t size = std::size_t{1} << (marker & 0x0F);
      requireContent(start + 1, size);
      count = number(start + 1, size);
      start += 1 + size;
    }
    if (count > table_) {
      fail("expected at most " + std::to_string(table_) + " elements, found " +
           std::to_string(count));
    }
    requireContent(start, count * unitSize);
    return {.start = start, .count = count};
  }

  PropertyList readObject(std::uint64_t object, std::size_t depth) {
    if (object >= count_) {
      fail("expected a reference below " + std::to_string(count_) + ", found " +
           std::to_string(object));
    }
    current_ = object;
    offset_ = number(table_ + object * offsetSize_, offsetSize_);
    if (offset_ < kHeader.size() || offset_ >= table_) {
      fail("expected an offset from 8 to " + std::to_string(table_ - 1));
    }
    takeMemory(kMemoryOfValue);
    if (!budget_.take()) {
      fail("expected " + budget_.expected());
    }
    const auto marker = static_cast<std::uint32_t>(number(offset_, 1));
    switch (marker >> 4) {
      case 0x1:
        return readInteger(marker & 0x0F);
      case 0x4:
        return readData();
      case 0x5:
        return readASCII();
      case 0x6:
        return readUTF16();
      case 0xA:
      case 0xD:
        return readCollection(object, marker >> 4 == 0xD, depth);
      default:
        break;
    }
    switch (marker) {
      case 0x08:
      case 0x09:
        return marker == 0x09;
      case 0x22:
      case 0x23:
        return PropertyList::Value(readReal(std::size_t{1} << (marker & 0x0F)));
      case 0x33:
        return readDate();
      default:
        fail("expected a property-list value, found the marker 0x" +
             hexadecimal(marker, 2, kCapitalDigits));
    }
  }

  [[nodiscard]] PropertyList readInteger(unsigned sizeExponent) const {
    if (sizeExponent > 4) {
      fail("expected an integer of 1 to 16 bytes");
    }
    const std::size_t size = std::size_t{1} << sizeExponent;
    requireContent(offset_ + 1, size);
    if (size < 16) {  // shorter ones are unsigned, one of 8 bytes is signed
      return static_cast<std::int64_t>(number(offset_ + 1, size));
    }
    const std::uint64_t high = number(offset_ + 1, 8);
    const std::uint64_t low = number(offset_ + 9, 8);
    const bool negative = low >> 63 != 0;
    if (high == 0 && negative) {
      return PropertyList::Value(low);
    }
    if (high != (negative ? ~std::uint64_t{0} : 0)) {
      fail("expected an integer of 64 bits");
    }
    return static_cast<std::int64_t>(low);
  }

  [[nodiscard]] double readReal(std::size_t size) const {
    requireContent(offset_ + 1, size);
    const std::uint64_t bits = number(offset_ + 1, size);
    return size == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                     : std::bit_cast<double>(bits);
  }

  [[nodiscard]] PropertyList readDate() const {
    const double seconds = readReal(8);
    if (!std::isfinite(seconds)) {
      fail("expected a finite date");
    }
    return PropertyList::Value(PropertyListDate{seconds});
  }

  PropertyList readData() {
    const Content found = content(1);
    takeMemory(found.count);
    const auto* first = reinterpret_cast<const std::byte*>(bytes_.data() + found.start);
    return PropertyList::Value(PropertyList::Data(first, first + found.count));
  }

  PropertyList readASCII() {
    const Content found = content(1);
    takeMemory(found.count);
    const std::string_view text = bytes_.substr(found.start, found.count);
    if (std::ranges::any_of(text, [](unsigned char character) { return character >= 0x80; })) {
      fail("expected ASCII in a string");
    }
    return std::string(text);
  }

  PropertyList readUTF16() {
    const Content found = content(2);
    takeMemory(3 * found.count);
    std::u16string units;
    for (std::size_t index = 0; index < found.count; ++index) {
      units += static_cast<char16_t>(number(found.start + 2 * index, 2));
    }
    return toUTF8(units, [&]() -> char32_t {
      fail("expected UTF-16 in a string, found half a surrogate pair");
    });
  }

  PropertyList readCollection(std::uint64_t object, bool isDictionary, std::size_t depth) {
    if (isOpen_[object]) {
      fail("expected a tree, found an object within itself");
    }
    if (depth > kMaximumPropertyListDepth) {
      fail("expected at most " + std::to_string(kMaximumPropertyListDepth) + " levels of nesting");
    }
    isOpen_[object] = true;
    const Content found = content(isDictionary ? 2 * referenceSize_ : referenceSize_);
    PropertyList value = isDictionary ? readDictionary(found, depth) : readArray(found, depth);
    isOpen_[object] = false;
    return value;
  }

  PropertyList readArray(const Content& found, std::size_t depth) {
    PropertyList::Array array;
    for (std::size_t index = 0; index < found.count; ++index) {
      array.push_back(readReferred(found.start, index, depth));
    }
    return array;
  }

  PropertyList readDictionary(const Content& found, std::size_t depth) {
    PropertyList::Dictionary dictionary;
    for (std::size_t index = 0; index < found.count; ++index) {
      PropertyList key = readReferred(found.start, index, depth);
      auto* text = std::get_if<std::string>(&key.value());
      if (text == nullptr) {
        fail("expected a string as a key");
      }
      PropertyList value = readReferred(found.start, found.count + index, depth);
      dictionary.insert_or_assign(std::move(*text), std::move(value));
    }
    return dictionary;
  }

  /// Reads an element; error positions then refer to the collection again.
  PropertyList readReferred(std::size_t start, std::size_t index, std::size_t depth) {
    const std::uint64_t collection = current_;
    const std::uint64_t offset = offset_;
    PropertyList value =
        readObject(number(start + index * referenceSize_, referenceSize_), depth + 1);
    current_ = collection;
    offset_ = offset;
    return value;
  }

  static constexpr std::uint64_t kMemoryOfValue = 64;
  static constexpr std::uint64_t kMemoryForSmallInputs = std::uint64_t{16} * 1024 * 1024;

  std::string_view bytes_;
  ValueBudget budget_;
  std::uint64_t offsetSize_ = 0;
  std::uint64_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t top_ = 0;
  std::uint64_t table_ = 0;
  std::uint64_t memoryLeft_ = 0;
  std::vector<bool> isOpen_;   // the collections being read
  std::uint64_t current_ = 0;  // the object being read,
  std::uint64_t offset_ = 0;   // and its position
};

}  // namespace

PropertyList readBinaryPropertyList(std::string_view bytes, ValueBudget budget) {
  return BinaryReader(bytes, budget).read();
}

}  // namespace platform
