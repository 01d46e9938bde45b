// A patch action file that uses everything the format has.
#pragma once
#include <string_view>

namespace vexlo {

inline constexpr std::string_view kExamplePatchActions = R"({
  "ProductServicePackActions": {
    "ExclusionPatchIDs": ["310872"],
    "1201": {
      "2301": {"2001": ["30"], "2002": ["30"], "2003": [], "2005": ["20"]},
      "2302": {}
    }
  },
  "PatchActions": {
    "310872": {"2005": ["25"], "2008": ["com.apple.Safari", "com.apple.Preview"]},
    "310990": {"2005": ["40"], "3001": ["x"]}
  }
}
)";

}  // namespace vexlo
