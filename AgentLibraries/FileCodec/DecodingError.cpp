#include "AgentLibraries/FileCodec/DecodingError.h"

namespace FileCodec {
namespace {

std::string oneLine(const std::string& file, const std::string& place, const std::string& expected,
                    const std::string& found) {
  std::string line;
  for (const std::string& origin : {file, place}) {
    if (!origin.empty()) {
      line += origin + ": ";
    }
  }
  return line + "expected " + expected + ", found " + found;
}

}  // namespace

DecodingError::DecodingError(std::string file, std::string place, std::string expected,
                             std::string found)
    : std::runtime_error(oneLine(file, place, expected, found)),
      file_(std::move(file)),
      place_(std::move(place)),
      expected_(std::move(expected)),
      found_(std::move(found)) {}

}  // namespace FileCodec
