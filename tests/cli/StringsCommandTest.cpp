#include <gtest/gtest.h>

#include "cli/StringsCommand.h"
#include "localization/StringTable.h"

namespace tarvolo::scenario {
namespace {

TEST(StringsCommand, OneLanguageMapsEveryKeyToItsText) {
  auto ja = stringsAsJson(std::string("ja"));
  ASSERT_TRUE(ja);
  EXPECT_EQ(ja->size(), StringTable::entries().size());
  EXPECT_EQ((*ja)["menu_quit"], std::string(*StringTable::text("menu_quit", "ja")));
}

TEST(StringsCommand, WithoutALanguageListsAllNineAndRejectsUnknownCodes) {
  auto all = stringsAsJson(std::nullopt);
  ASSERT_TRUE(all);
  EXPECT_EQ(all->size(), 9u);
  EXPECT_TRUE(all->contains("zh-Hant"));
  EXPECT_FALSE(stringsAsJson(std::string("it")).has_value());
  EXPECT_FALSE(stringsAsJson(std::string("system")).has_value());
}

}  // namespace
}  // namespace tarvolo::scenario
