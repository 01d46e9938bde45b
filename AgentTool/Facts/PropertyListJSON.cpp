#include "AgentTool/Facts/PropertyListJSON.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/RealNumbers.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using platform::PropertyList;

/// Always with a fraction or an exponent, to distinguish it from an integer.
std::string jsonReal(double number) {
  if (!std::isfinite(number)) {
    return JSONObject()
        .addString("$real", std::isnan(number) ? "nan"
                            : number > 0       ? "+inf"
                                               : "-inf")
        .done();
  }
  std::string out = platform::shortestText(number);
  return out.find_first_of(".e") == std::string::npos ? out + ".0" : out;
}

std::string hexadecimal(const PropertyList::Data& data) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string out;
  for (const std::byte byte : data) {
    out += kDigits[std::to_integer<std::size_t>(byte >> 4)];
    out += kDigits[std::to_integer<std::size_t>(byte & std::byte{15})];
  }
  return out;
}

std::string arrayAsJSON(const PropertyList::Array& array) {
  std::vector<std::string> elements;
  elements.reserve(array.size());
  for (const PropertyList& element : array) {
    elements.push_back(asJSON(element));
  }
  return FileCodec::jsonArray(elements);
}

}  // namespace

std::string asJSON(const PropertyList::Dictionary& dictionary) {
  JSONObject object;
  for (const auto& [key, value] : dictionary) {
    object.addJSON(key, asJSON(value));
  }
  return object.done();
}

std::string asJSON(const PropertyList& value) {
  return std::visit(
      vexlo::Overloaded{
          [](const std::string& string) { return FileCodec::jsonString(string); },
          [](bool flag) { return std::string(flag ? "true" : "false"); },
          [](std::int64_t number) { return LogCore::text(number); },
          [](std::uint64_t number) { return LogCore::text(number); },
          [](double number) { return jsonReal(number); },
          [](const platform::PropertyListDate& date) {
            return JSONObject().addJSON("$date", jsonReal(date.secondsSince2001)).done();
          },
          [](const PropertyList::Data& data) {
            return JSONObject().addString("$data", hexadecimal(data)).done();
          },
          [](const PropertyList::Array& array) { return arrayAsJSON(array); },
          [](const PropertyList::Dictionary& dictionary) { return asJSON(dictionary); }},
      value.value());
}

}  // namespace agent_tool
