#include "VexloPatchDeployment/Common/TextSearch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace vexlo {
namespace {

TEST(TextSearchTest, FindsWhatASimpleSearchFinds) {
  std::minstd_rand random(1);  // NOLINT(bugprone-random-generator-seed): the same texts every time
  const auto textOf = [&](std::size_t length) {
    std::string text;
    while (text.size() < length) {
      text += "ab"[random() % 2];
    }
    return text;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::string text = textOf(random() % 30);
    const std::string wanted = textOf(random() % 6);
    const auto position = [](std::size_t found) {
      return found == std::string::npos ? std::nullopt : std::optional(found);
    };
    const TextSearch search(wanted);
    ASSERT_EQ(search.first(text), position(text.find(wanted))) << wanted << " in " << text;
    ASSERT_EQ(search.last(text), position(text.rfind(wanted))) << wanted << " in " << text;
  }
}

TEST(TextSearchTest, OnlyAsciiLettersHaveACase) {
  EXPECT_EQ(TextSearch("LaBel[", Letters::ignoringCase).first("a lAbEl["), 2U);
  EXPECT_EQ(TextSearch("label[", Letters::ignoringCase).first("label{"), std::nullopt);
  EXPECT_EQ(TextSearch("É", Letters::ignoringCase).first("é"), std::nullopt);
  EXPECT_EQ(TextSearch("Label").first("label"), std::nullopt);
}

TEST(TextSearchTest, ARepetitiveTextCostsNoMoreThanAnyOther) {
  const std::string text(8'000'000, 'a');
  const std::string wanted =
      std::string(100'000, 'a') + 'b';  // a naive search: nearly 10^12 comparisons
  EXPECT_EQ(TextSearch(wanted).first(text), std::nullopt);
  EXPECT_EQ(TextSearch(wanted, Letters::ignoringCase).last(text), std::nullopt);
}

}  // namespace
}  // namespace vexlo
