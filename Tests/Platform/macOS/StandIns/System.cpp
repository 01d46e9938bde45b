#include "Tests/Platform/macOS/StandIns/System.h"

#include <IOKit/ps/IOPowerSources.h>
#include <SystemConfiguration/SystemConfiguration.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <limits>
#include <mutex>
#include <thread>
#include <typeinfo>

namespace stand_in {
namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)

std::atomic<int> alive = 0;
std::map<CFTypeRef, int> others;  // objects of another kind, with their reference counts
void (*endOther)(CFTypeRef object) = nullptr;

using Array = std::vector<Owned<CFTypeRef>>;
using Dictionary = std::vector<std::pair<Owned<CFTypeRef>, Owned<CFTypeRef>>>;
struct Error {
  std::u16string reason;
};
struct Formatter {
  std::string pattern;
  bool isGregorian = false;
  bool isInUTC = false;
};
enum class Plain : std::uint8_t { url, locale, calendar, zone, loop };

Object* objectOf(CFTypeRef object) { return static_cast<Object*>(const_cast<void*>(object)); }
template <typename Value>
Value& valueOf(CFTypeRef object) {
  return dynamic_cast<Of<Value>&>(*objectOf(object)).value;
}
template <typename Reference>
Reference retained(const Owned<CFTypeRef>& object) {
  return static_cast<Reference>(object == nullptr ? nullptr : CFRetain(object.get()));
}
template <typename Value>
CFTypeID typeOf() {
  return typeid(Of<Value>).hash_code();
}

std::int64_t nearestInteger(double real) {
  using Limits = std::numeric_limits<std::int64_t>;
  return static_cast<std::int64_t>(
      std::clamp(static_cast<Integer>(real), Integer{Limits::min()}, Integer{Limits::max()}));
}
int& referencesOf(CFTypeRef object) {
  const auto other = others.find(object);
  return other == others.end() ? objectOf(object)->references : other->second;
}

}  // namespace

Machine machine;

Object::Object() { ++alive; }
Object::~Object() { --alive; }
int objectsAlive() { return alive + static_cast<int>(others.size()); }
void countReferences(CFTypeRef object, void (*end)(CFTypeRef object)) {
  others[object] = 1;
  endOther = end;
}

std::string bytesOf(const void* text) {
  const auto& units = valueOf<std::u16string>(text);
  return {units.begin(), units.end()};
}

CFTypeRef array(const std::vector<CFTypeRef>& elements) {
  return made(Array(elements.begin(), elements.end()));
}
CFTypeRef dictionary(const std::vector<std::pair<CFTypeRef, CFTypeRef>>& entries) {
  return made(Dictionary(entries.begin(), entries.end()));
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
  ++referencesOf(object);
  return object;
}
void CFRelease(CFTypeRef object) {
  if (--referencesOf(object) > 0) {
    return;
  }
  if (others.erase(object) > 0) {
    endOther(object);
  } else {
    delete objectOf(object);
  }
}

CFTypeID CFStringGetTypeID() { return typeOf<std::u16string>(); }
CFTypeID CFBooleanGetTypeID() { return typeOf<bool>(); }
CFTypeID CFNumberGetTypeID() { return typeOf<Number>(); }
CFTypeID CFDateGetTypeID() { return typeOf<Date>(); }
CFTypeID CFDataGetTypeID() { return typeOf<Data>(); }
CFTypeID CFArrayGetTypeID() { return typeOf<Array>(); }
CFTypeID CFDictionaryGetTypeID() { return typeOf<Dictionary>(); }
CFTypeID CFGetTypeID(CFTypeRef object) {
  const Object& known = *objectOf(object);
  return typeid(known).hash_code();
}
// CFRuntime.c: null for null; the header allows it for other objects, too.
CFStringRef CFCopyDescription(CFTypeRef object) {
  const auto* const odd = dynamic_cast<Of<Other>*>(objectOf(object));
  return object == nullptr || (odd != nullptr && !odd->value.hasDescription)
             ? nullptr
             : made<CFStringRef>(u"<described>"s);
}

// CFBuiltinConverters.c, __CFFromUTF8: a byte A9 in the wrong place becomes a replacement
// character. Null for other bytes that aren't UTF-8, which no test gives; nor characters other than
// ASCII's.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef /*allocator*/, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean /*isExternal*/) {
  std::u16string units(bytes, bytes + count);
  std::ranges::replace(units, u'\u00A9', u'\uFFFD');
  return encoding == kCFStringEncodingUTF8 ? made<CFStringRef>(std::move(units)) : nullptr;
}
// CFString.c, __CFStrLength: in UTF-16 units.
CFIndex CFStringGetLength(CFStringRef text) { return std::ssize(valueOf<std::u16string>(text)); }
// CFString.c, __CFStringGetCharactersGuts: the units as they are stored, unpaired surrogates
// included.
void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer) {
  valueOf<std::u16string>(text).copy(reinterpret_cast<char16_t*>(buffer),
                                     static_cast<std::size_t>(range.length),
                                     static_cast<std::size_t>(range.location));
}

// CFNumber.c.
Boolean CFBooleanGetValue(CFBooleanRef flag) { return static_cast<Boolean>(valueOf<bool>(flag)); }
Boolean CFNumberIsFloatType(CFNumberRef number) {
  return static_cast<Boolean>(valueOf<Number>(number).real.has_value());
}
// CFNumber.c, __CFNumberGetValueCompat: of an integer beyond 64 bits the low half, and no loss
// reported; of a real its whole part (arm64: the nearest that fits), and whether as a real that is
// the same.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
  const auto& [whole, real] = valueOf<Number>(number);
  if (type == kCFNumberFloat64Type) {
    *static_cast<double*>(value) = real.value();
    return 1;
  }
  auto& answer = *static_cast<std::int64_t*>(value);
  answer = real ? nearestInteger(*real) : static_cast<std::int64_t>(whole);
  return static_cast<Boolean>(!real || static_cast<double>(answer) == *real);
}
// CFNumber.c.
CFNumberRef CFNumberCreate(CFAllocatorRef /*allocator*/, CFNumberType type, const void* value) {
  return type != kCFNumberSInt64Type
             ? nullptr
             : made<CFNumberRef>(Number{.integer = *static_cast<const std::int64_t*>(value)});
}
// CFNumber.c, CFNumberCompare_new: all 128 bits of integers; a real and an integer without
// rounding.
CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void* /*context*/) {
  const auto& [whole, real] = valueOf<Number>(number);
  const Integer expected = valueOf<Number>(other).integer;
  const bool isEqual = real ? std::trunc(*real) == *real && static_cast<Integer>(*real) == expected
                            : whole == expected;
  return isEqual ? kCFCompareEqualTo : kCFCompareEqualTo - 1;
}
// CFDate.c.
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) {
  return valueOf<Date>(date).secondsSince2001;
}
CFIndex CFDataGetLength(CFDataRef data) { return std::ssize(valueOf<Data>(data).bytes); }
// CFData.c: for an NSData its `bytes`, which may be null if there are none.
const UInt8* CFDataGetBytePtr(CFDataRef data) {
  const std::string& bytes = valueOf<Data>(data).bytes;
  return bytes.empty() ? nullptr : reinterpret_cast<const UInt8*>(bytes.data());
}
// CFArray.c: not retained; an index beyond the end ends the process.
CFIndex CFArrayGetCount(CFArrayRef array) { return std::ssize(valueOf<Array>(array)); }
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  return valueOf<Array>(array).at(static_cast<std::size_t>(index)).get();
}
// CFDictionary.c: not retained, in no particular order.
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  return std::ssize(valueOf<Dictionary>(dictionary));
}
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
  for (const auto& [key, value] : valueOf<Dictionary>(dictionary)) {
    *keys++ = key.get();
    *values++ = value.get();
  }
}

// IOKit, System Configuration: documentation.
CFTypeRef IOPSCopyPowerSourcesInfo() { return retained<CFTypeRef>(machine.powerInformation); }
CFArrayRef IOPSCopyPowerSourcesList(CFTypeRef information) {
  return information != machine.powerInformation.get() ? nullptr
                                                       : retained<CFArrayRef>(machine.powerSources);
}
CFDictionaryRef IOPSGetPowerSourceDescription(CFTypeRef /*information*/, CFTypeRef source) {
  return machine.describesPowerSources ? static_cast<CFDictionaryRef>(source) : nullptr;
}
CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef /*store*/, uid_t* /*uid*/,
                                          gid_t* /*gid*/) {
  return retained<CFStringRef>(machine.consoleUser);
}
// CFLocale.c, _CFLocaleCopyPreferredLanguagesFromPrefs.
CFArrayRef CFLocaleCopyPreferredLanguages() { return retained<CFArrayRef>(machine.languages); }

// CFURL.c, _CFURLCreateWithFileSystemRepresentation: null for an empty path; the file need not
// exist.
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef /*allocator*/, const UInt8* path,
                                                 CFIndex length, Boolean isDirectory) {
  machine.volume.assign(reinterpret_cast<const char*>(path), static_cast<std::size_t>(length));
  machine.volumeIsDirectory = isDirectory != 0;
  return length == 0 ? nullptr : made<CFURLRef>(Plain::url);
}
// Documentation: true and null if the volume has no such property.
Boolean CFURLCopyResourcePropertyForKey(CFURLRef /*url*/, CFStringRef key, void* value,
                                        CFErrorRef* error) {
  if (machine.capacityError || key != kCFURLVolumeAvailableCapacityKey) {
    *error = made<CFErrorRef>(Error{machine.capacityError.value_or(u"another key")});
    return 0;
  }
  *static_cast<CFTypeRef*>(value) = retained<CFTypeRef>(machine.capacity);
  return 1;
}
// CFError.c: null if an NSError has no description.
CFStringRef CFErrorCopyDescription(CFErrorRef error) {
  const std::u16string& reason = valueOf<Error>(error).reason;
  return reason.empty() ? nullptr : made<CFStringRef>(reason);
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
CFLocaleRef CFLocaleCopyCurrent() { return made<CFLocaleRef>(Plain::locale); }
// CFCalendar.c, _CFCalendarInitialize: null for an unknown identifier.
CFCalendarRef CFCalendarCreateWithIdentifier(CFAllocatorRef /*allocator*/, CFStringRef identifier) {
  return identifier == kCFGregorianCalendar ? made<CFCalendarRef>(Plain::calendar) : nullptr;
}
// CFTimeZone.c: null beyond 18 hours.
CFTimeZoneRef CFTimeZoneCreateWithTimeIntervalFromGMT(CFAllocatorRef /*allocator*/,
                                                      CFTimeInterval seconds) {
  return seconds == 0 ? made<CFTimeZoneRef>(Plain::zone) : nullptr;
}
// CFDateFormatter.c, __CreateCFDateFormatter: has the default time zone and the locale's calendar;
// null if ICU has none for the locale.
CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef /*allocator*/, CFLocaleRef /*locale*/,
                                         CFDateFormatterStyle /*date*/,
                                         CFDateFormatterStyle /*time*/) {
  return machine.formats ? made<CFDateFormatterRef>(Formatter{}) : nullptr;
}
void CFDateFormatterSetFormat(CFDateFormatterRef formatter, CFStringRef format) {
  valueOf<Formatter>(formatter).pattern = bytesOf(format);
}
void CFDateFormatterSetProperty(CFDateFormatterRef formatter, CFStringRef key, CFTypeRef value) {
  auto& [pattern, isGregorian, isInUTC] = valueOf<Formatter>(formatter);
  const Plain kind = valueOf<Plain>(value);
  isGregorian = isGregorian || (key == kCFDateFormatterCalendar && kind == Plain::calendar);
  isInUTC = isInUTC || (key == kCFDateFormatterTimeZone && kind == Plain::zone);
}
// CFDateFormatter.c, but for the two patterns in use, with a month name that isn't English. ICU's
// Gregorian calendar is the Julian one before 15 October 1582, which this isn't.
CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef /*allocator*/,
                                                        CFDateFormatterRef formatter,
                                                        CFAbsoluteTime moment) {
  const auto& [pattern, isGregorian, isInUTC] = valueOf<Formatter>(formatter);
  moment += isInUTC ? 0 : 3600 * machine.hoursAhead;
  const std::chrono::year_month_day day(std::chrono::floor<std::chrono::days>(
      std::chrono::sys_days(std::chrono::year(2001) / 1 / 1) +
      std::chrono::seconds(static_cast<std::int64_t>(moment))));
  const int year = static_cast<int>(day.year()) + (isGregorian ? 0 : machine.yearsAhead);
  const auto month = static_cast<unsigned>(day.month());
  const auto dayOfMonth = static_cast<unsigned>(day.day());
  std::array<char, 64> out{};
  if (pattern == "yyyy-MMM-dd") {
    std::snprintf(out.data(), out.size(), "%04d-M%u-%02u", year, month, dayOfMonth);
  } else if (pattern == "dd-MM-yyyy") {
    std::snprintf(out.data(), out.size(), "%02u-%02u-%04d", dayOfMonth, month, year);
  }
  const std::string_view text = out.data();
  return made<CFStringRef>(std::u16string(text.begin(), text.end()));
}

}  // extern "C"

// Run loops: one per thread, with the sources of its default mode. CFRunLoop.c.
namespace {

struct Source final : Object {
  explicit Source(const CFRunLoopSourceContext& given) : context(given) {
    context.info = const_cast<void*>(context.retain(given.info));
  }
  ~Source() override { context.release(context.info); }
  CFRunLoopSourceContext context;
  bool isSignalled = false;
};
Source* sourceOf(CFRunLoopSourceRef source) { return static_cast<Source*>(objectOf(source)); }

// __CFRunLoopModeIsEmpty: the main thread's common modes, of which the default mode is one, are
// never empty, because they carry the main dispatch queue; except in a block that this queue runs.
const std::thread::id mainThread = std::this_thread::get_id();
std::mutex loopsMutex;
std::condition_variable loopsWoken;
std::vector<std::pair<CFRunLoopRef, CFRunLoopSourceRef>> added;

}  // namespace

extern "C" {

CFRunLoopRef CFRunLoopGetCurrent() {
  thread_local const Owned<CFRunLoopRef> loop(made<CFRunLoopRef>(Plain::loop));
  return loop.get();
}
// Retains the context's info.
CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef /*allocator*/, CFIndex /*order*/,
                                         CFRunLoopSourceContext* context) {
  return reinterpret_cast<CFRunLoopSourceRef>(static_cast<Object*>(new Source(*context)));
}
// Retains the source, which retains the loop.
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
  if (mode == kCFRunLoopDefaultMode) {
    const std::scoped_lock lock(loopsMutex);
    CFRetain(source);
    added.emplace_back(loop, source);
  }
}
// Removes the source from its loop. Releases the info only with the source.
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
  std::unique_lock lock(loopsMutex);
  const auto removed = std::erase_if(added, [&](auto& each) { return each.second == source; });
  lock.unlock();
  if (removed > 0) {
    CFRelease(source);
  }
}
// Doesn't wake the loop.
void CFRunLoopSourceSignal(CFRunLoopSourceRef source) {
  const std::scoped_lock lock(loopsMutex);
  sourceOf(source)->isSignalled = true;
}
// Ends no run: the loop looks for signalled sources and waits again.
void CFRunLoopWakeUp(CFRunLoopRef /*loop*/) { loopsWoken.notify_all(); }
// CFRunLoopRunSpecific: an empty mode is finished at once. __CFRunLoopRun: signalled sources are
// looked for before the first wait, even if no time is given. __CFRunLoopDoSources0: one of them is
// performed, unlocked, retained and no longer signalled; those of the same order in no particular
// one.
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
  CFRunLoopRef const loop = CFRunLoopGetCurrent();
  std::unique_lock lock(loopsMutex);
  const bool isEmpty = std::ranges::count(added, loop, [](auto& each) { return each.first; }) == 0;
  if (mode != kCFRunLoopDefaultMode || returnAfterSourceHandled == 0 ||
      (isEmpty && std::this_thread::get_id() != mainThread)) {
    return kCFRunLoopRunFinished;
  }
  const auto signalled = [&] {
    return std::ranges::find_if(added, [&](auto& each) {
      return each.first == loop && sourceOf(each.second)->isSignalled;
    });
  };
  const auto until = std::chrono::duration<double>(std::min(seconds, 3600.0));
  if (!loopsWoken.wait_for(lock, until, [&] { return signalled() != added.end(); })) {
    return kCFRunLoopRunTimedOut;
  }
  const Owned<CFRunLoopSourceRef> source(signalled()->second);
  CFRetain(source.get());
  sourceOf(source.get())->isSignalled = false;
  lock.unlock();
  const CFRunLoopSourceContext& context = sourceOf(source.get())->context;
  context.perform(context.info);
  return kCFRunLoopRunHandledSource;
}

}  // extern "C"
