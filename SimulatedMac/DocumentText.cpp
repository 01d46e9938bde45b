#include "SimulatedMac/DocumentText.h"

#include <cstdint>

#include "Platform/Text.h"

namespace simulated_mac {
namespace {

bool isInteger(std::string_view text) {
  return platform::wholeNumber<std::int64_t>(text).has_value();
}

std::string plistValue(std::string_view value) {
  if (isInteger(value)) {
    return "<integer>" + std::string(value) + "</integer>";
  }
  if (value == "true" || value == "false") {
    return "<" + std::string(value) + "/>";
  }
  if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
    value = value.substr(1, value.size() - 2);
  }
  return "<string>" + escapedForXML(value) + "</string>";
}

}  // namespace

std::string escapedForXML(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string plistDictionary(const std::vector<Setting>& settings) {
  std::string out = "<dict>\n";
  for (const Setting& setting : settings) {
    out += "<key>" + escapedForXML(setting.key) + "</key>" + plistValue(setting.value) + "\n";
  }
  return out + "</dict>\n";
}

std::string plistDocument(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
         std::string(content) + "</plist>\n";
}

std::string plistFile(const Section& section) {
  for (const Setting& setting : section.settings) {
    if (setting.key == "content") {
      return setting.value;
    }
  }
  return plistDocument(plistDictionary(section.settings));
}

std::string quotedForJSON(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
    }
    out += c;
  }
  return out + '"';
}

}  // namespace simulated_mac
