#include "AgentLibraries/FileCodec/RawPlistManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

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

void write(const std::string& path, PropertyList::Dictionary dictionary) {
  const auto written = platform::writeFileAtomically(path, toXML(std::move(dictionary)));
  if (!written) {
    throw std::runtime_error(written.error().message);
  }
}

/// A second name for what is at `path`, so that replacing the file does not lose its bytes. The
/// name is taken back unless `keep` is called.
class SetAside {
 public:
  explicit SetAside(const std::string& path) {
    constexpr int kMostNames = 1000;
    for (int number = 1; number <= kMostNames; ++number) {
      name_ = text(path, ".damaged", number == 1 ? "" : text("-", number));
      if (linkat(AT_FDCWD, path.c_str(), AT_FDCWD, name_.c_str(), 0) == 0) {
        return;
      }
      if (errno != EEXIST) {
        break;
      }
    }
    throw std::system_error(errno, std::generic_category(), text("can't keep ", path, " aside"));
  }
  ~SetAside() {
    if (!kept_) {
      unlink(name_.c_str());
    }
  }
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;

  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  void keep() noexcept { kept_ = true; }

 private:
  std::string name_;
  bool kept_ = false;
};

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
  if (!path || *path == filePath_) {
    saveToOwnPath();
    return;
  }
  auto dictionary = readPropertyListFile(filePath_);
  if (!dictionary && dictionary.error().kind != Kind::missing) {
    throw std::move(dictionary.error().error);
  }
  write(*path, updated(std::move(dictionary).value_or(PropertyList::Dictionary{}), updates_));
}

void RawPlistManager::saveToOwnPath() {
  auto dictionary = readPropertyListFile(filePath_);
  if (dictionary || dictionary.error().kind == Kind::missing) {
    write(filePath_, updated(std::move(dictionary).value_or(PropertyList::Dictionary{}), updates_));
  } else if (dictionary.error().kind == Kind::damaged) {
    SetAside damaged(filePath_);
    write(filePath_, updated({}, updates_));
    damaged.keep();
    logError(LogCore::LogTag{"save(toFile:)"}, [&] {
      return text("Replaced a file that could not be used, it is kept as ", damaged.name(), ": ",
                  dictionary.error().error.what(), ".");
    });
  } else {
    throw std::move(dictionary.error().error);
  }
  updates_.clear();
}

}  // namespace FileCodec
