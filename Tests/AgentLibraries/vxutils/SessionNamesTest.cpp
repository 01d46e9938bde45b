#include <gtest/gtest.h>

#include "AgentLibraries/vxutils/SessionNames.h"

namespace vxutils {
namespace {

TEST(SessionNamesTest, SystemAccountsCountAsNobody) {
  for (const char* name : {"", "root", "loginwindow", "_mbsetupuser"}) {
    EXPECT_EQ(consoleUserOrNobody(name), "NOUSERNAME") << name;
  }
  EXPECT_EQ(consoleUserOrNobody("Root"), "Root");
}

}  // namespace
}  // namespace vxutils
