#include "VexloPatchDeployment/Common/TextSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace vexlo {
namespace {

TEST(TextSearchTest, AgreesWithANaiveSearch) {
  std::minstd_rand random(1);  // NOLINT(bugprone-random-generator-seed): reproducible cases
  const auto letter = [&] { return "ab"[random() % 2]; };
  for (int round = 0; round < 2000; ++round) {
    std::string text(random() % 30, ' ');
    std::string wanted(random() % 6, ' ');
    std::ranges::generate(text, letter);
    std::ranges::generate(wanted, letter);
    const TextSearch search(wanted);
    ASSERT_EQ(search.first(text).value_or(std::string::npos), text.find(wanted)) << wanted;
    ASSERT_EQ(search.last(text).value_or(std::string::npos), text.rfind(wanted)) << wanted;
  }
}

TEST(TextSearchTest, IgnoresCaseOfASCIILettersOnlyInLinearTime) {
  EXPECT_EQ(TextSearch("LaBel[", Letters::ignoringCase).first("a lAbEl["), 2U);
  EXPECT_EQ(TextSearch("É", Letters::ignoringCase).first("é"), std::nullopt);
  const std::string wanted = std::string(100'000, 'a') + 'b';
  EXPECT_EQ(TextSearch(wanted).first(std::string(8'000'000, 'a')),
            std::nullopt);  // 10^12 steps naively
}

}  // namespace
}  // namespace vexlo
