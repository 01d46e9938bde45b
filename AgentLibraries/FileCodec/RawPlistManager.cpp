#include "AgentLibraries/FileCodec/RawPlistManager.h"

#include <stdexcept>

#include "AgentLibraries/FileCodec/PropertyListFile.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Files.h"

namespace FileCodec {
namespace {

using LogCore::logError;
using LogCore::text;
using platform::PropertyList;
using Kind = PropertyListFileError::Kind;
using Updates = std::map<std::string, std::optional<PropertyList>>;

constexpr LogCore::LogTag kSaveTag{"save(toFile:)"};

PropertyList::Dictionary updated(PropertyList::Dictionary dictionary, const Updates& updates) {
  for (const auto& [key, value] : updates) {
    if (value) {
      dictionary.insert_or_assign(key, *value);
    } else {
      dictionary.erase(key);
    }
  }
  return dictionary;
}

/// XML, which people can read, or binary for what XML can't represent, such as control characters.
std::string encoded(const std::string& path, const PropertyList& list) {
  try {
    return toXML(list);
  } catch (const std::invalid_argument&) {
    try {
      return toBinary(list);
    } catch (const std::invalid_argument& error) {  // which doesn't name the file
      throw std::runtime_error(text(path, ": ", error.what()));
    }
  }
}

}  // namespace

std::optional<PropertyList> RawPlistManager::fetchValue(const std::string& key) const {
  if (const auto update = updates_.find(key); update != updates_.end()) {
    return update->second;
  }
  auto dictionary = readPropertyListFile(filePath_);
  if (!dictionary) {
    if (dictionary.error().kind != Kind::missing) {
      logError(LogCore::LogTag{"fetchValue(forKey:)"}, [&] {
        return text("Unable to read the property list: ", dictionary.error().error.what(), ".");
      });
    }
    return std::nullopt;
  }
  const auto entry = dictionary->find(key);
  return entry == dictionary->end() ? std::nullopt
                                    : std::optional<PropertyList>(std::move(entry->second));
}

void RawPlistManager::updateValue(std::optional<PropertyList> value, const std::string& key) {
  updates_.insert_or_assign(key, std::move(value));
}

void RawPlistManager::save(const std::optional<std::string>& path) {
  const std::string target = path.value_or(filePath_);
  const bool isOwnPath = target == filePath_;
  const auto lock = platform::FileLock::acquire(target);
  if (!lock) {
    throw std::runtime_error(lock.error().message);
  }
  if (!lock->setAside().empty()) {
    logError(kSaveTag, [&] {
      return text("Something other than a file was in the place of a lock file, it is kept as ",
                  lock->setAside(), ".");
    });
  }
  platform::removeLeftovers(target);
  auto dictionary = readPropertyListFile(filePath_);
  std::optional<std::string> damaged;  // the name of the file that could not be used
  if (!dictionary && dictionary.error().kind == Kind::damaged && isOwnPath) {
    auto name = platform::setFileAside(filePath_, ".damaged");
    if (!name) {
      throw std::runtime_error(text("can't keep aside ", name.error().message));
    }
    damaged = *std::move(name);
  } else if (!dictionary && dictionary.error().kind != Kind::missing) {
    throw std::move(dictionary.error().error);
  }
  try {
    const auto written = platform::writeFileAtomically(
        target,
        encoded(target, updated(dictionary.value_or(PropertyList::Dictionary{}), updates_)));
    if (!written) {
      throw std::runtime_error(written.error().message);
    }
  } catch (...) {
    if (damaged) {
      platform::undoSettingAside(filePath_, *damaged);
    }
    throw;
  }
  if (damaged) {
    logError(kSaveTag, [&] {
      return text("Replaced a file that could not be used, it is kept as ", *damaged, ": ",
                  dictionary.error().error.what(), ".");
    });
  }
  if (isOwnPath) {
    updates_.clear();
  }
}

}  // namespace FileCodec
