#include "Tests/Platform/macOS/StandIns/System.h"

#include <IOKit/ps/IOPowerSources.h>
#include <SystemConfiguration/SystemConfiguration.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

namespace stand_in {
namespace {

std::atomic<int> alive = 0;

struct Text final : Object {
  explicit Text(std::u16string_view given) : units(given) {}
  std::u16string units;
};
struct Number final : Object {
  std::int64_t high = 0;  // of an integer's 128 bits
  std::uint64_t low = 0;
  double broken = 0;
  bool isReal = false;
};
struct Flag final : Object {
  bool value = false;
};
struct Date final : Object {
  double seconds = 0;
};
struct Data final : Object {
  std::string bytes;
};
struct Array final : Object {
  ~Array() override;
  std::vector<CFTypeRef> elements;
};
struct Dictionary final : Object {
  ~Dictionary() override;
  std::vector<std::pair<CFTypeRef, CFTypeRef>> entries;
};
struct Other final : Object {
  bool hasDescription = true;
};
struct Url final : Object {};
struct Error final : Object {
  std::u16string reason;
};
struct Locale final : Object {};
struct Calendar final : Object {};
struct Zone final : Object {};
struct Formatter final : Object {
  std::string pattern;
  bool isGregorian = false;
  bool isInUTC = false;
};

std::map<CFTypeRef, std::pair<int, void (*)(CFTypeRef)>> others;  // reference count and destructor

Object* objectOf(CFTypeRef object) { return static_cast<Object*>(const_cast<void*>(object)); }
template <typename Type>
Type* as(CFTypeRef object) {
  return dynamic_cast<Type*>(objectOf(object));
}
void releaseIfAny(CFTypeRef object) {
  if (object != nullptr) {
    CFRelease(object);
  }
}
CFTypeRef retainedIfAny(CFTypeRef object) { return object == nullptr ? nullptr : CFRetain(object); }
Array::~Array() { std::ranges::for_each(elements, releaseIfAny); }
Dictionary::~Dictionary() {
  for (const auto& [key, value] : entries) {
    releaseIfAny(key);
    releaseIfAny(value);
  }
}

template <typename Reference, typename Type>
Reference referenceTo(Type* object) {
  return reinterpret_cast<Reference>(static_cast<Object*>(object));
}
template <typename Reference>
Reference referenceTo(CFTypeRef object) {
  return reinterpret_cast<Reference>(const_cast<void*>(object));
}
CFTypeRef made(Object* object) { return object; }

constexpr double kTwoTo63 = 0x1p63;
std::int64_t nearestInteger(double real) {
  return real >= kTwoTo63   ? std::numeric_limits<std::int64_t>::max()
         : real < -kTwoTo63 ? std::numeric_limits<std::int64_t>::min()
                            : static_cast<std::int64_t>(real);
}

}  // namespace

Machine machine;

Object::Object() { ++alive; }
Object::~Object() { --alive; }
int objectsAlive() { return alive + static_cast<int>(others.size()); }
void countReferences(CFTypeRef object, void (*end)(CFTypeRef object)) { others[object] = {1, end}; }

std::string bytesOf(const void* text) {
  const std::u16string& units = as<Text>(text)->units;
  return {units.begin(), units.end()};
}

CFTypeRef text(std::u16string_view units) { return made(new Text(units)); }
CFTypeRef integer(std::int64_t number) {
  auto* const object = new Number;
  object->high = number < 0 ? -1 : 0;
  object->low = static_cast<std::uint64_t>(number);
  return made(object);
}
CFTypeRef wideInteger(std::int64_t high) {
  auto* const object = new Number;
  object->high = high;
  object->low = std::numeric_limits<std::uint64_t>::max();
  return made(object);
}
CFTypeRef real(double number) {
  auto* const object = new Number;
  object->broken = number;
  object->isReal = true;
  return made(object);
}
CFTypeRef flag(bool value) {
  auto* const object = new Flag;
  object->value = value;
  return made(object);
}
CFTypeRef date(double secondsSince2001) {
  auto* const object = new Date;
  object->seconds = secondsSince2001;
  return made(object);
}
CFTypeRef data(std::string_view bytes) {
  auto* const object = new Data;
  object->bytes = bytes;
  return made(object);
}
CFTypeRef array(std::vector<CFTypeRef> elements) {
  auto* const object = new Array;
  object->elements = std::move(elements);
  return made(object);
}
CFTypeRef dictionary(std::vector<std::pair<CFTypeRef, CFTypeRef>> entries) {
  auto* const object = new Dictionary;
  object->entries = std::move(entries);
  return made(object);
}
CFTypeRef other() { return made(new Other); }
CFTypeRef nameless() {
  auto* const object = new Other;
  object->hasDescription = false;
  return made(object);
}

}  // namespace stand_in

using namespace stand_in;  // NOLINT(google-build-using-namespace): the definitions below are C's

// Comments name the place in Core Foundation's published source (apple/swift-corelibs-foundation)
// where a behaviour was read: the file and, if it has another name, the function. «Documentation»
// means that there is no such source.
extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFStringRef kCFURLVolumeAvailableCapacityKey = reinterpret_cast<CFStringRef>(u"capacity");
const CFStringRef kCFGregorianCalendar = reinterpret_cast<CFStringRef>(u"gregorian");
const CFStringRef kCFDateFormatterCalendar = reinterpret_cast<CFStringRef>(u"calendar");
const CFStringRef kCFDateFormatterTimeZone = reinterpret_cast<CFStringRef>(u"zone");
const CFStringRef kCFRunLoopDefaultMode = reinterpret_cast<CFStringRef>(u"default");

// CFRuntime.c, _CFRelease: the last release destroys.
CFTypeRef CFRetain(CFTypeRef object) {
  const auto other = others.find(object);
  ++(other == others.end() ? objectOf(object)->references : other->second.first);
  return object;
}
void CFRelease(CFTypeRef object) {
  if (const auto other = others.find(object); other != others.end()) {
    if (--other->second.first == 0) {
      const auto end = other->second.second;
      others.erase(other);
      end(object);
    }
    return;
  }
  if (--objectOf(object)->references == 0) {
    delete objectOf(object);
  }
}

enum : CFTypeID { kText = 1, kFlag, kNumber, kDate, kData, kArray, kDictionary, kOther };
CFTypeID CFStringGetTypeID() { return kText; }
CFTypeID CFBooleanGetTypeID() { return kFlag; }
CFTypeID CFNumberGetTypeID() { return kNumber; }
CFTypeID CFDateGetTypeID() { return kDate; }
CFTypeID CFDataGetTypeID() { return kData; }
CFTypeID CFArrayGetTypeID() { return kArray; }
CFTypeID CFDictionaryGetTypeID() { return kDictionary; }
CFTypeID CFGetTypeID(CFTypeRef object) {
  return as<Text>(object) != nullptr         ? kText
         : as<Flag>(object) != nullptr       ? kFlag
         : as<Number>(object) != nullptr     ? kNumber
         : as<Date>(object) != nullptr       ? kDate
         : as<Data>(object) != nullptr       ? kData
         : as<Array>(object) != nullptr      ? kArray
         : as<Dictionary>(object) != nullptr ? kDictionary
                                             : kOther;
}
// CFRuntime.c: null for null; the header allows it for other objects, too.
CFStringRef CFCopyDescription(CFTypeRef object) {
  const auto* const odd = object == nullptr ? nullptr : as<Other>(object);
  return object == nullptr || (odd != nullptr && !odd->hasDescription)
             ? nullptr
             : referenceTo<CFStringRef>(new Text(u"<described>"));
}

// CFBuiltinConverters.c, __CFFromUTF8: a byte A9 in the wrong place becomes a replacement
// character. Null for other bytes that aren't UTF-8, which no test gives; nor characters other than
// ASCII's.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef /*allocator*/, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean /*isExternal*/) {
  std::u16string units(bytes, bytes + count);
  std::ranges::replace(units, u'\u00A9', u'\uFFFD');
  return encoding == kCFStringEncodingUTF8 ? referenceTo<CFStringRef>(new Text(units)) : nullptr;
}
// CFString.c, __CFStrLength: in UTF-16 units.
CFIndex CFStringGetLength(CFStringRef text) {
  return static_cast<CFIndex>(as<Text>(text)->units.size());
}
// CFString.c, __CFStringGetCharactersGuts: the units as they are stored, unpaired surrogates
// included.
void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer) {
  as<Text>(text)->units.copy(reinterpret_cast<char16_t*>(buffer),
                             static_cast<std::size_t>(range.length),
                             static_cast<std::size_t>(range.location));
}

// CFNumber.c.
Boolean CFBooleanGetValue(CFBooleanRef flag) { return static_cast<Boolean>(as<Flag>(flag)->value); }
Boolean CFNumberIsFloatType(CFNumberRef number) {
  return static_cast<Boolean>(as<Number>(number)->isReal);
}
// CFNumber.c, __CFNumberGetValueCompat: of an integer beyond 64 bits the low half, and no loss
// reported; of a real its whole part (arm64: the nearest that fits), and whether as a real that is
// the same.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
  const auto& object = *as<Number>(number);
  if (type == kCFNumberFloat64Type) {
    *static_cast<double*>(value) = object.broken;
    return 1;
  }
  auto& integer = *static_cast<std::int64_t*>(value);
  integer = object.isReal ? nearestInteger(object.broken) : static_cast<std::int64_t>(object.low);
  return static_cast<Boolean>(!object.isReal || static_cast<double>(integer) == object.broken);
}
// CFNumber.c.
CFNumberRef CFNumberCreate(CFAllocatorRef /*allocator*/, CFNumberType type, const void* value) {
  return type != kCFNumberSInt64Type
             ? nullptr
             : referenceTo<CFNumberRef>(integer(*static_cast<const std::int64_t*>(value)));
}
// CFNumber.c, CFNumberCompare_new: all 128 bits of integers; a real and an integer without
// rounding.
CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void* /*context*/) {
  const auto& one = *as<Number>(number);
  const auto& two = *as<Number>(other);
  const auto integer = static_cast<std::int64_t>(two.low);
  const bool isEqual = one.isReal
                           ? one.broken < kTwoTo63 && nearestInteger(one.broken) == integer &&
                                 static_cast<double>(integer) == one.broken
                           : one.high == two.high && one.low == two.low;
  return isEqual ? kCFCompareEqualTo : kCFCompareEqualTo - 1;
}
// CFDate.c.
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) { return as<Date>(date)->seconds; }
CFIndex CFDataGetLength(CFDataRef data) {
  return static_cast<CFIndex>(as<Data>(data)->bytes.size());
}
// CFData.c: for an NSData its `bytes`, which may be null if there are none.
const UInt8* CFDataGetBytePtr(CFDataRef data) {
  const std::string& bytes = as<Data>(data)->bytes;
  return bytes.empty() ? nullptr : reinterpret_cast<const UInt8*>(bytes.data());
}
// CFArray.c: not retained; an index beyond the end ends the process.
CFIndex CFArrayGetCount(CFArrayRef array) {
  return static_cast<CFIndex>(as<Array>(array)->elements.size());
}
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  return as<Array>(array)->elements.at(static_cast<std::size_t>(index));
}
// CFDictionary.c: not retained, in no particular order.
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  return static_cast<CFIndex>(as<Dictionary>(dictionary)->entries.size());
}
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
  for (const auto& [key, value] : as<Dictionary>(dictionary)->entries) {
    *keys++ = key;
    *values++ = value;
  }
}

// IOKit, System Configuration: documentation.
CFTypeRef IOPSCopyPowerSourcesInfo() { return retainedIfAny(machine.powerInformation); }
CFArrayRef IOPSCopyPowerSourcesList(CFTypeRef information) {
  return information != machine.powerInformation
             ? nullptr
             : referenceTo<CFArrayRef>(retainedIfAny(machine.powerSources));
}
CFDictionaryRef IOPSGetPowerSourceDescription(CFTypeRef /*information*/, CFTypeRef source) {
  return machine.describesPowerSources ? referenceTo<CFDictionaryRef>(source) : nullptr;
}
CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef /*store*/, uid_t* /*uid*/,
                                          gid_t* /*gid*/) {
  return referenceTo<CFStringRef>(retainedIfAny(machine.consoleUser));
}
// CFLocale.c, _CFLocaleCopyPreferredLanguagesFromPrefs.
CFArrayRef CFLocaleCopyPreferredLanguages() {
  return referenceTo<CFArrayRef>(retainedIfAny(machine.languages));
}

// CFURL.c, _CFURLCreateWithFileSystemRepresentation: null for an empty path; the file need not
// exist.
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef /*allocator*/, const UInt8* path,
                                                 CFIndex length, Boolean isDirectory) {
  machine.volume.assign(reinterpret_cast<const char*>(path), static_cast<std::size_t>(length));
  machine.volumeIsDirectory = isDirectory != 0;
  return length == 0 ? nullptr : referenceTo<CFURLRef>(new Url);
}
// Documentation: true and null if the volume has no such property.
Boolean CFURLCopyResourcePropertyForKey(CFURLRef /*url*/, CFStringRef key, void* value,
                                        CFErrorRef* error) {
  if (machine.capacityError || key != kCFURLVolumeAvailableCapacityKey) {
    auto* const made = new Error;
    made->reason = machine.capacityError.value_or(u"another key");
    *error = referenceTo<CFErrorRef>(made);
    return 0;
  }
  *static_cast<CFTypeRef*>(value) = retainedIfAny(machine.capacity);
  return 1;
}
// CFError.c: null if an NSError has no description.
CFStringRef CFErrorCopyDescription(CFErrorRef error) {
  const std::u16string& reason = as<Error>(error)->reason;
  return reason.empty() ? nullptr : referenceTo<CFStringRef>(new Text(reason));
}

// Documentation, sysctl(3): a buffer that is too small is an error.
int sysctlbyname(const char* name, void* answer, size_t* size, void* /*wanted*/,
                 size_t /*wantedSize*/) {
  const auto found = machine.kernel.find(name);
  if (found == machine.kernel.end() || found->second.size() > *size) {
    return -1;
  }
  *size = found->second.copy(static_cast<char*>(answer), *size);
  return 0;
}

// CFLocale.c: never null.
CFLocaleRef CFLocaleCopyCurrent() { return referenceTo<CFLocaleRef>(new Locale); }
// CFCalendar.c, _CFCalendarInitialize: null for an unknown identifier.
CFCalendarRef CFCalendarCreateWithIdentifier(CFAllocatorRef /*allocator*/, CFStringRef identifier) {
  return identifier == kCFGregorianCalendar ? referenceTo<CFCalendarRef>(new Calendar) : nullptr;
}
// CFTimeZone.c: null beyond 18 hours.
CFTimeZoneRef CFTimeZoneCreateWithTimeIntervalFromGMT(CFAllocatorRef /*allocator*/,
                                                      CFTimeInterval seconds) {
  return seconds == 0 ? referenceTo<CFTimeZoneRef>(new Zone) : nullptr;
}
// CFDateFormatter.c, __CreateCFDateFormatter: has the default time zone and the locale's calendar;
// null if ICU has none for the locale.
CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef /*allocator*/, CFLocaleRef /*locale*/,
                                         CFDateFormatterStyle /*date*/,
                                         CFDateFormatterStyle /*time*/) {
  return machine.formats ? referenceTo<CFDateFormatterRef>(new Formatter) : nullptr;
}
void CFDateFormatterSetFormat(CFDateFormatterRef formatter, CFStringRef format) {
  const std::u16string& units = as<Text>(format)->units;
  as<Formatter>(formatter)->pattern.assign(units.begin(), units.end());
}
void CFDateFormatterSetProperty(CFDateFormatterRef formatter, CFStringRef key, CFTypeRef value) {
  auto& object = *as<Formatter>(formatter);
  object.isGregorian =
      object.isGregorian || (key == kCFDateFormatterCalendar && as<Calendar>(value) != nullptr);
  object.isInUTC =
      object.isInUTC || (key == kCFDateFormatterTimeZone && as<Zone>(value) != nullptr);
}
// CFDateFormatter.c, but for the two patterns in use, with a month name that isn't English. ICU's
// Gregorian calendar is the Julian one before 15 October 1582, which this isn't.
CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef /*allocator*/,
                                                        CFDateFormatterRef formatter,
                                                        CFAbsoluteTime moment) {
  const auto& object = *as<Formatter>(formatter);
  moment += object.isInUTC ? 0 : 3600 * machine.hoursAhead;
  const std::chrono::year_month_day day(std::chrono::floor<std::chrono::days>(
      std::chrono::sys_days(std::chrono::year(2001) / 1 / 1) +
      std::chrono::seconds(static_cast<std::int64_t>(moment))));
  const int year = static_cast<int>(day.year()) + (object.isGregorian ? 0 : machine.yearsAhead);
  std::array<char, 64> out{};
  if (object.pattern == "yyyy-MMM-dd") {
    std::snprintf(out.data(), out.size(), "%04d-M%u-%02u", year, static_cast<unsigned>(day.month()),
                  static_cast<unsigned>(day.day()));
  } else if (object.pattern == "dd-MM-yyyy") {
    std::snprintf(out.data(), out.size(), "%02u-%02u-%04d", static_cast<unsigned>(day.day()),
                  static_cast<unsigned>(day.month()), year);
  }
  const std::string_view text = out.data();
  return referenceTo<CFStringRef>(new Text(std::u16string(text.begin(), text.end())));
}

}  // extern "C"

// Run loops: one per thread, with the sources of its default mode. CFRunLoop.c.
namespace {

struct Source;
struct Loop final : Object {
  std::vector<Source*> sources;
};
struct Source final : Object {
  explicit Source(const CFRunLoopSourceContext& given) : context(given) {
    context.info = const_cast<void*>(context.retain(given.info));
  }
  ~Source() override { context.release(context.info); }
  CFRunLoopSourceContext context;
  bool isSignalled = false;
  Loop* loop = nullptr;  // valid: the code that added the source retains it
};
// __CFRunLoopModeIsEmpty: the main thread's common modes, of which the default mode is one, are
// never empty, because they carry the main dispatch queue; except in a block that this queue runs.
const std::thread::id mainThread = std::this_thread::get_id();
std::mutex loopsMutex;
std::condition_variable loopsWoken;

Loop* currentLoop() {
  thread_local const std::unique_ptr<Loop, void (*)(Loop*)> loop(
      new Loop, [](Loop* ended) { CFRelease(static_cast<Object*>(ended)); });
  return loop.get();
}
}  // namespace

extern "C" {

CFRunLoopRef CFRunLoopGetCurrent() { return referenceTo<CFRunLoopRef>(currentLoop()); }
// Retains the context's info.
CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef /*allocator*/, CFIndex /*order*/,
                                         CFRunLoopSourceContext* context) {
  return referenceTo<CFRunLoopSourceRef>(new Source(*context));
}
// Retains the source, which retains the loop.
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
  if (mode == kCFRunLoopDefaultMode) {
    const std::scoped_lock lock(loopsMutex);
    CFRetain(source);
    as<Source>(source)->loop = as<Loop>(loop);
    as<Loop>(loop)->sources.push_back(as<Source>(source));
  }
}
// Removes the source from its loop. Releases the info only with the source.
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
  Loop* loop = nullptr;
  {
    const std::scoped_lock lock(loopsMutex);
    loop = std::exchange(as<Source>(source)->loop, nullptr);
    if (loop != nullptr) {
      std::erase(loop->sources, as<Source>(source));
    }
  }
  if (loop != nullptr) {
    CFRelease(source);
  }
}
// Doesn't wake the loop.
void CFRunLoopSourceSignal(CFRunLoopSourceRef source) {
  const std::scoped_lock lock(loopsMutex);
  as<Source>(source)->isSignalled = true;
}
// Ends no run: the loop looks for signalled sources and waits again.
void CFRunLoopWakeUp(CFRunLoopRef /*loop*/) { loopsWoken.notify_all(); }
// CFRunLoopRunSpecific: an empty mode is finished at once. __CFRunLoopRun: signalled sources are
// looked for before the first wait, even if no time is given. __CFRunLoopDoSources0: one of them is
// performed, unlocked, retained and no longer signalled; those of the same order in no particular
// one.
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
  Loop& loop = *currentLoop();
  std::unique_lock lock(loopsMutex);
  const bool isEmpty = loop.sources.empty() && std::this_thread::get_id() != mainThread;
  if (mode != kCFRunLoopDefaultMode || isEmpty || returnAfterSourceHandled == 0) {
    return kCFRunLoopRunFinished;
  }
  const auto signalled = [&] {
    return std::ranges::find_if(loop.sources, [](Source* source) { return source->isSignalled; });
  };
  const auto until = std::chrono::duration<double>(std::min(seconds, 3600.0));
  if (!loopsWoken.wait_for(lock, until, [&] { return signalled() != loop.sources.end(); })) {
    return kCFRunLoopRunTimedOut;
  }
  Source* const source = *signalled();
  source->isSignalled = false;
  CFRetain(static_cast<Object*>(source));
  lock.unlock();
  source->context.perform(source->context.info);
  CFRelease(static_cast<Object*>(source));
  return kCFRunLoopRunHandledSource;
}

}  // extern "C"
