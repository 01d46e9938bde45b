#include "AgentTool/Facts/FactsTable.h"

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

#include "AgentTool/Console/PrintableText.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace agent_tool {

using FileCodec::DecodingError;
using FileCodec::JSONObject;
using LogCore::text;

std::string shown(const std::string& text) { return printable(text); }
std::string shown(const std::vector<std::string>& texts) { return joinedReadably(texts); }
std::string shown(platform::Moment time) { return platform::timestamp(time); }
std::string shown(const vexlo::PowerSource& source) {
  return std::visit(vexlo::Overloaded{[](const vexlo::AcPower&) { return std::string("mains"); },
                                      [](const vexlo::BatteryPower& battery) {
                                        return text("battery, ", battery.percentage, " %");
                                      }},
                    source);
}

std::string gigabytes(std::int64_t bytes) {
  constexpr std::int64_t kHundredth = 10'000'000;
  const std::int64_t hundredths = bytes / kHundredth;
  return text(hundredths / 100, '.', hundredths % 100 < 10 ? "0" : "", hundredths % 100, " GB (",
              bytes, " bytes)");
}

std::string factsAsJSON(const Facts& facts) { return asJSON(facts) + '\n'; }

std::string_view otherFormat(std::string_view beginning) {
  using namespace std::string_view_literals;
  struct Format {
    std::string_view beginning;
    std::string_view description;
  };
  static constexpr std::array kFormats{
      Format{"\x1f\x8b", "gzip data (try gzip -dc)"},
      Format{"BZh", "bzip2 data (try bzip2 -dc)"},
      Format{"\xfd\x37zXZ", "xz data (try xz -dc)"},
      Format{"\x28\xb5\x2f\xfd", "zstd data (try zstd -dc)"},
      Format{"PK\x03\x04", "a zip archive"},
      Format{"\xff\xfe", "UTF-16 text"},
      Format{"\xfe\xff", "UTF-16 text"},
      Format{"[", "a JSON array (try jq -c '.[]')"},
  };
  const auto* const format = std::ranges::find_if(
      kFormats, [&](const Format& each) { return beginning.starts_with(each.beginning); });
  if (format != kFormats.end()) {
    return format->description;
  }
  if (platform::trimmed(beginning) == "{") {
    return "a JSON object on several lines (try jq -c .)";
  }
  return beginning.contains('\0') ? "binary data" : "";
}

std::expected<const Facts*, DecodingError> FactsReader::read(std::string_view line) {
  if (auto error = readDocument(document_, line, facts_)) {
    return std::unexpected(*std::move(error));
  }
  return &facts_;
}

std::string factsSchema() {
  const std::string anyValue =
      JSONObject()
          .addString("description",
                     "Reals always have a fraction or an exponent. A date is {\"$date\": seconds "
                     "since 2001-01-01 00:00:00 UTC}, data {\"$data\": \"hexadecimal\"}, a real "
                     "that JSON can't represent {\"$real\": \"nan\"}.")
          .addJSON("type", R"(["string","boolean","number","array","object"])")
          .addJSON("items", R"({"$ref":"#/$defs/propertyListValue"})")
          .addJSON("additionalProperties", R"({"$ref":"#/$defs/propertyListValue"})")
          .done();
  JSONObject schema;
  schema.addString("$schema", "https://json-schema.org/draft/2020-12/schema")
      .addString("title", "Facts of a machine")
      .addString("description",
                 "One line of `vexlo-patch facts --json`. Members that aren't described here are "
                 "ignored.")
      .addString("type", "object");
  return indented(schemaOfFields<Facts>(std::move(schema))
                      .addJSON("$defs", JSONObject().addJSON("propertyListValue", anyValue).done())
                      .done());
}

std::string factsAsMarkdown() {
  std::string out = "| Member | Type | Meaning |\n| --- | --- | --- |\n";
  for (const FactsMember& fact : JSONFields<Facts>::list) {
    out += text("| `", fact.name, "` | ", fact.typeName(), " | ", fact.meaning, " |\n");
  }
  return out;
}

}  // namespace agent_tool
