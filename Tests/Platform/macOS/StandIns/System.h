// Stand-ins for the parts of macOS that Platform/macOS uses: reference-counted objects, and a
// machine whose state tests set.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/macOS/Owned.h"

namespace stand_in {

using platform::Owned;
__extension__ using Integer = __int128;

/// The base of all objects. Created with one reference and destroyed by the last release.
class Object {
 public:
  Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object();
  int references = 1;
};

/// An object that holds a value of this type, such as a string's UTF-16 units.
template <typename Value>
struct Of final : Object {
  explicit Of(Value given) : value(std::move(given)) {}
  Value value;
};
struct Number {
  Integer integer = 0;
  std::optional<double> real;
};
struct Date {
  double secondsSince2001;
};
struct Data {
  std::string bytes;
};
/// Of a type that no property list has.
struct Other {
  bool hasDescription = true;
};

// The caller owns what these functions return. Containers take ownership of their elements, which
// may be null.
template <typename Reference = CFTypeRef, typename Value>
[[nodiscard]] Reference made(Value value) {
  return reinterpret_cast<Reference>(static_cast<Object*>(new Of<Value>(std::move(value))));
}
[[nodiscard]] CFTypeRef array(const std::vector<CFTypeRef>& elements);
[[nodiscard]] CFTypeRef dictionary(const std::vector<std::pair<CFTypeRef, CFTypeRef>>& entries);

/// Makes CFRetain and CFRelease work for an object of another kind, created with one reference;
/// `end` destroys any such object.
void countReferences(CFTypeRef object, void (*end)(CFTypeRef object));

/// The number of live objects, to detect leaks and excess releases.
[[nodiscard]] int objectsAlive();

/// The text, which is ASCII.
[[nodiscard]] std::string bytesOf(const void* text);

/// A running application.
struct Instance {
  std::optional<std::u16string> identifier;  ///< Of its bundle.
  std::optional<std::u16string> name;
  std::optional<std::u16string> path;  ///< Of its executable; its URL may lack one.
  bool hasExecutable = true;
  int processIdentifier = 0;
  bool canBeKilled = true;
  bool terminated = false;
};

/// The machine's state.
struct Machine {
  Owned<CFTypeRef> powerInformation;
  Owned<CFTypeRef> powerSources;
  bool describesPowerSources = true;
  Owned<CFTypeRef> consoleUser;
  Owned<CFTypeRef> languages;
  Owned<CFTypeRef> capacity;
  std::optional<std::u16string> capacityError;  ///< If empty, the error has no message.
  std::string volume;                           ///< The requested path.
  bool volumeIsDirectory = false;
  std::map<std::string, std::string> kernel;  ///< Answers by name, as bytes.
  bool formats = true;                        ///< If false, creating a date formatter fails.
  int yearsAhead = 0;                         ///< Of the user's calendar.
  int hoursAhead = 0;                         ///< Of UTC, the user's time zone.
  std::vector<Instance> applications;
  std::string identifier;  ///< The requested bundle identifier.
};
extern Machine machine;

}  // namespace stand_in
