// Stand-ins for what Platform/macOS calls of macOS: objects that count their references, and a
// machine whose answers tests prepare.
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

/// The base of every object. Born with one reference; the last release ends it.
class Object {
 public:
  Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object();
  int references = 1;
};

/// Has CFRetain and CFRelease count an object of another kind, born with one reference; `end` ends
/// it.
void countReferences(CFTypeRef object, void (*end)(CFTypeRef object));

/// Objects that have not ended. The same before and after a call: nothing was kept, nothing lost.
[[nodiscard]] int objectsAlive();

/// The text, which is ASCII.
[[nodiscard]] std::string bytesOf(const void* text);

// Makers; the caller owns the result. Containers take their elements over, null included.
[[nodiscard]] CFTypeRef text(std::u16string_view units);
[[nodiscard]] CFTypeRef integer(std::int64_t number);
[[nodiscard]] CFTypeRef wideInteger();  ///< A number that 64 bits don't hold.
[[nodiscard]] CFTypeRef real(double number);
[[nodiscard]] CFTypeRef flag(bool value);
[[nodiscard]] CFTypeRef date(double secondsSince2001);
[[nodiscard]] CFTypeRef data(std::string_view bytes);
[[nodiscard]] CFTypeRef array(std::vector<CFTypeRef> elements);
[[nodiscard]] CFTypeRef dictionary(std::vector<std::pair<CFTypeRef, CFTypeRef>> entries);
[[nodiscard]] CFTypeRef other();     ///< Of a type that no property list has.
[[nodiscard]] CFTypeRef nameless();  ///< The same, without a description.

/// An application that runs.
struct Instance {
  std::optional<std::u16string> identifier;  ///< Of its bundle.
  std::optional<std::u16string> name;
  std::optional<std::u16string> path;  ///< Of its executable, whose address may lack one.
  bool hasExecutable = true;
  int processIdentifier = 0;
  bool canBeKilled = true;
};

/// What the machine answers. A null answer is given as null. Tests own the objects.
struct Machine {
  CFTypeRef powerInformation = nullptr;
  CFTypeRef powerSources = nullptr;
  bool describesPowerSources = true;
  CFTypeRef consoleUser = nullptr;
  CFTypeRef languages = nullptr;
  CFTypeRef capacity = nullptr;
  std::optional<std::u16string> capacityError;  ///< An error without a text when empty.
  std::string volume;                           ///< The path that was asked for.
  bool volumeIsDirectory = false;
  std::map<std::string, std::string> kernel;  ///< Answers by name, as bytes.
  bool formats = true;                        ///< False: no date formatter can be made.
  int yearsAhead = 0;                         ///< Of the user's calendar.
  std::vector<Instance> applications;
  std::string identifier;  ///< Of the bundle whose applications were asked for.
};
extern Machine machine;

}  // namespace stand_in
