#include "Platform/macOS/Conversions.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Unicode.h"

namespace platform {
namespace {

bool isOf(CFTypeID type, CFTypeRef object) {
  return object != nullptr && CFGetTypeID(object) == type;
}

std::string description(CFTypeRef object) {
  const Owned<CFStringRef> described(CFCopyDescription(object));
  return textOf(described.get()).value_or("");
}

/// Absent for a fraction and for an integer beyond 64 bits, of which CFNumberGetValue gives the low
/// half and reports no loss.
std::optional<std::int64_t> exactInteger(CFNumberRef number) {
  std::int64_t integer = 0;
  if (CFNumberGetValue(number, kCFNumberSInt64Type, &integer) == 0) {
    return std::nullopt;
  }
  const Owned<CFNumberRef> read(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &integer));
  const bool isExact = read && CFNumberCompare(number, read.get(), nullptr) == kCFCompareEqualTo;
  return isExact ? std::optional(integer) : std::nullopt;
}

PropertyList numberOf(CFNumberRef number) {
  if (CFNumberIsFloatType(number) != 0) {
    double real = 0;
    CFNumberGetValue(number, kCFNumberFloat64Type, &real);
    return PropertyList(PropertyList::Value(real));
  }
  const std::optional<std::int64_t> integer = exactInteger(number);
  return integer ? PropertyList(*integer) : PropertyList(description(number));
}

PropertyList::Data bytesOf(CFDataRef data) {
  const auto* const bytes = reinterpret_cast<const std::byte*>(CFDataGetBytePtr(data));
  return {bytes, bytes + CFDataGetLength(data)};
}

PropertyList::Array arrayOf(CFArrayRef array) {
  PropertyList::Array values;
  const CFIndex count = CFArrayGetCount(array);
  values.reserve(static_cast<std::size_t>(count));
  for (CFIndex index = 0; index < count; ++index) {
    values.push_back(propertyListOf(CFArrayGetValueAtIndex(array, index)));
  }
  return values;
}

PropertyList dictionaryOf(CFDictionaryRef dictionary) {
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
  std::vector<const void*> keys(count);
  std::vector<const void*> values(count);
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
  PropertyList::Dictionary entries;
  for (std::size_t index = 0; index < count; ++index) {
    std::optional<std::string> key = textOf(keys[index]);
    if (!key) {
      return description(dictionary);
    }
    entries.insert_or_assign(*std::move(key), propertyListOf(values[index]));
  }
  return entries;
}

}  // namespace

Owned<CFStringRef> coreFoundationText(std::string_view text) {
  if (findInvalidUTF8(text) != std::string_view::npos) {
    return {};  // the function below accepts a byte A9 anywhere
  }
  return Owned<CFStringRef>(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                              static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8,
                              /*isExternal=*/0));
}

std::optional<std::string> textOf(CFTypeRef object) {
  if (!isOf(CFStringGetTypeID(), object)) {
    return std::nullopt;
  }
  const auto text = static_cast<CFStringRef>(object);
  std::u16string units(static_cast<std::size_t>(CFStringGetLength(text)), u'\0');
  CFStringGetCharacters(text, {.location = 0, .length = CFStringGetLength(text)},
                        reinterpret_cast<UniChar*>(units.data()));
  return toUTF8(units, [] { return U'?'; });  // CFStringGetBytes would stop there
}

std::optional<std::int64_t> integerOf(CFTypeRef object) {
  if (!isOf(CFNumberGetTypeID(), object)) {
    return std::nullopt;
  }
  return exactInteger(static_cast<CFNumberRef>(object));
}

PropertyList propertyListOf(CFTypeRef object) {
  if (std::optional<std::string> text = textOf(object)) {
    return *std::move(text);
  }
  if (isOf(CFBooleanGetTypeID(), object)) {
    return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
  }
  if (isOf(CFNumberGetTypeID(), object)) {
    return numberOf(static_cast<CFNumberRef>(object));
  }
  if (isOf(CFDictionaryGetTypeID(), object)) {
    return dictionaryOf(static_cast<CFDictionaryRef>(object));
  }
  if (isOf(CFArrayGetTypeID(), object)) {
    return arrayOf(static_cast<CFArrayRef>(object));
  }
  if (isOf(CFDateGetTypeID(), object)) {
    return PropertyList(PropertyList::Value(
        PropertyListDate{CFDateGetAbsoluteTime(static_cast<CFDateRef>(object))}));
  }
  if (isOf(CFDataGetTypeID(), object)) {
    return PropertyList(PropertyList::Value(bytesOf(static_cast<CFDataRef>(object))));
  }
  return description(object);
}

}  // namespace platform
