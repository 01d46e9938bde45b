// Decodes a JSON file into a record.
#pragma once
#include <string>
#include <utility>

#include "AgentLibraries/FileCodec/DecodingError.h"

namespace FileCodec {

/// Interface of file managers: access to the decoded record.
template <typename Record>
class CodableFileManager {
 public:
  [[nodiscard]] const Record& data() const& noexcept { return data_; }
  [[nodiscard]] Record&& data() && noexcept { return std::move(data_); }

 protected:
  explicit CodableFileManager(Record data) : data_(std::move(data)) {}

 private:
  Record data_;
};

/// Reads a regular file of at most 1 GiB; throws `DecodingError`.
[[nodiscard]] std::string readTextFile(const std::string& path);
/// Reads an open file of any kind to its end, likewise.
[[nodiscard]] std::string readText(int descriptor, const std::string& name);

/// Decodes a JSON file. `Record` has `static Record decode(std::string text, const std::string&
/// file)`, which throws `DecodingError` and may keep the text.
template <typename Record>
class JSONManager : public CodableFileManager<Record> {
 public:
  /// Throws `DecodingError` when the file can't be read, isn't JSON or doesn't decode.
  explicit JSONManager(const std::string& forFile)
      : CodableFileManager<Record>(Record::decode(readTextFile(forFile), forFile)) {}
};

}  // namespace FileCodec
