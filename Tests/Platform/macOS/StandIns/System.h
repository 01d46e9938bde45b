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

namespace stand_in {

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

/// Makes CFRetain and CFRelease work for an object of another kind, created with one reference;
/// `end` destroys any such object.
void countReferences(CFTypeRef object, void (*end)(CFTypeRef object));

/// The number of live objects, to detect leaks and excess releases.
[[nodiscard]] int objectsAlive();

/// The text, which is ASCII.
[[nodiscard]] std::string bytesOf(const void* text);

// Factories; the caller owns the result. Containers take ownership of their elements, which may be
// null.
[[nodiscard]] CFTypeRef text(std::u16string_view units);
[[nodiscard]] CFTypeRef integer(Integer number);
[[nodiscard]] CFTypeRef real(double number);
[[nodiscard]] CFTypeRef flag(bool value);
[[nodiscard]] CFTypeRef date(double secondsSince2001);
[[nodiscard]] CFTypeRef data(std::string_view bytes);
[[nodiscard]] CFTypeRef array(const std::vector<CFTypeRef>& elements);
[[nodiscard]] CFTypeRef dictionary(const std::vector<std::pair<CFTypeRef, CFTypeRef>>& entries);
/// Of a type that no property list has.
[[nodiscard]] CFTypeRef other(bool hasDescription = true);

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

/// The machine's state. Objects, which may be null, are owned by the test.
struct Machine {
  CFTypeRef powerInformation = nullptr;
  CFTypeRef powerSources = nullptr;
  bool describesPowerSources = true;
  CFTypeRef consoleUser = nullptr;
  CFTypeRef languages = nullptr;
  CFTypeRef capacity = nullptr;
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
