// Compares the action file's decoder, for arbitrary bytes, with a straightforward implementation on
// a document tree.
#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONReader.h"
#include "AgentTool/ActionFiles/ActionFileCheck.h"
#include "Fuzz/Require.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace {

namespace json = boost::json;
using vexlo::PatchActionGroup;

constexpr std::string_view kExclusionPatchIDs = "ExclusionPatchIDs";

template <typename Test>
bool isObjectOf(const json::value& value, Test test) {
  return value.is_object() && std::ranges::all_of(value.get_object(), [&](const auto& member) {
           return test(std::string_view(member.key()), member.value());
         });
}

bool isListOfStrings(const json::value& value) {
  return value.is_array() && std::ranges::all_of(value.get_array(), &json::value::is_string);
}

bool isActions(std::string_view /*name*/, const json::value& value) {
  return isObjectOf(value, [](std::string_view, const json::value& arguments) {
    return isListOfStrings(arguments);
  });
}

bool isProductOrExclusions(std::string_view name, const json::value& value) {
  return name == kExclusionPatchIDs ? isListOfStrings(value) : isObjectOf(value, isActions);
}

bool isActionFile(const json::value& root) {
  return isObjectOf(root, [](std::string_view name, const json::value& value) {
    if (name == "ProductServicePackActions") {
      return value.is_null() || isObjectOf(value, isProductOrExclusions);
    }
    return name != "PatchActions" || value.is_null() || isObjectOf(value, isActions);
  });
}

bool equals(const vexlo::StringList& texts, const json::array& strings) {
  return std::ranges::equal(texts, strings, {}, {}, [](const json::value& string) {
    return std::string_view(string.get_string());
  });
}

bool equals(const std::optional<vexlo::ActionMap>& actions, const json::value& expected) {
  const json::object& members = expected.get_object();
  return actions && actions->size() == members.size() &&
         std::ranges::all_of(*actions, [&](const vexlo::ActionEntry& action) {
           const json::value* const arguments = members.if_contains(action.code);
           return arguments != nullptr && equals(action.arguments, arguments->get_array());
         });
}

/// The root's member; null if it is missing or null.
const json::object* memberOf(const json::value& root, std::string_view name) {
  const json::value* const value = root.get_object().if_contains(name);
  return value == nullptr ? nullptr : value->if_object();
}

void compare(const PatchActionGroup& group, const json::value& root) {
  const json::object* const patches = memberOf(root, "PatchActions");
  require((patches != nullptr) == group.patchActions().has_value(), "patches absent or not");
  if (patches != nullptr) {
    require(group.patchActions()->patches().size() == patches->size(), "number of patches");
    for (const auto& [patchID, actions] : *patches) {
      require(equals(group.patchActions()->actions(patchID), actions), "actions of a patch");
    }
  }
  const json::object* const products = memberOf(root, "ProductServicePackActions");
  const auto found = group.productServicePackActions();
  require((products != nullptr) == found.has_value(), "products absent or not");
  if (products == nullptr) {
    return;
  }
  const json::value* const exclusions = products->if_contains(kExclusionPatchIDs);
  require(equals(found->exclusionPatchIDs(),
                 exclusions == nullptr ? json::array() : exclusions->get_array()),
          "exempt patches");
  require(found->products().size() == products->size() - (exclusions == nullptr ? 0 : 1),
          "number of products");
  for (const auto& [productID, servicePacks] : *products) {
    if (productID == kExclusionPatchIDs) {
      std::ranges::for_each(servicePacks.get_array(), [&](const json::value& patchID) {
        require(found->isExempt(patchID.get_string()), "an exempt patch");
      });
      continue;
    }
    for (const auto& [servicePackID, actions] : servicePacks.get_object()) {
      require(equals(found->actions(productID, servicePackID), actions), "product-wide actions");
    }
    // A name that only another product has.
    for (const auto& [otherID, others] : *products) {
      for (const auto& [name, actions] :
           others.is_object() ? others.get_object() : json::object()) {
        require(
            found->actions(productID, name).has_value() == servicePacks.get_object().contains(name),
            "another product's service pack");
      }
    }
  }
}

/// Counts the members of all objects, including duplicates.
struct MemberCount final : FileCodec::JSONEvents {
  std::size_t members = 0;
  bool memberName(std::string_view /*name*/) override { return ++members > 0; }
};

// NOLINTNEXTLINE(misc-no-recursion): as deep as the parser allows
std::size_t membersOf(const json::value& value) {
  std::size_t count = 0;
  if (const json::object* const object = value.if_object()) {
    for (const auto& [name, member] : *object) {
      count += 1 + membersOf(member);
    }
  } else if (const json::array* const array = value.if_array()) {
    for (const json::value& element : *array) {
      count += membersOf(element);
    }
  }
  return count;
}

/// The tree of a text that may start with a byte order mark.
json::value treeOf(std::string_view text, boost::system::error_code& error) {
  json::parse_options options;
  options.max_depth = 512;
  return json::parse(FileCodec::withoutByteOrderMark(text), error, {}, options);
}

/// Whether the tool's check finds an error.
bool hasErrors(const std::string& file) {
  return std::ranges::any_of(
      agent_tool::checkActionFile(file),
      [](const agent_tool::Finding& finding) { return agent_tool::isError(finding.kind); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string file(reinterpret_cast<const char*>(data), size);
  boost::system::error_code error;
  std::string text = file;
  json::value tree = treeOf(text, error);
  if (error == json::error::exponent_overflow) {  // which only the decoder accepts
    text = FileCodec::withShortExponents(std::move(text));
    tree = treeOf(text, error);
  }
  try {
    const PatchActionGroup group = PatchActionGroup::decode(file, "actions.json");
    require(!error, "decoded invalid JSON");
    require(isActionFile(tree), "decoded a value of a wrong type");
    compare(group, tree);
    require(!hasErrors(file), "an error for the check, not for the decoder");
  } catch (const FileCodec::DecodingError& problem) {
    require(hasErrors(file), "no error for the check");
    // Only the root value has no path.
    require(!problem.place().empty() || problem.expected() == "an object", "no place");
    require(!problem.expected().empty() && !problem.found().empty(),
            "an error without expected and found");
    MemberCount count;
    const bool isJSON =
        FileCodec::readJSON(text, count).outcome == FileCodec::JSONOutcome::complete;
    require(isJSON == !error, "JSON for one, not for the other");
    // The tree has lost replaced members, one of which has a wrong type.
    require(!isJSON || !isActionFile(tree) || count.members > membersOf(tree),
            "refused what has the right types");
  }
  return 0;
}
