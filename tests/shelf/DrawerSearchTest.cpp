#include "shelf/DrawerSearch.h"

#include <gtest/gtest.h>

namespace tarvolo {
namespace {

using DrawerSearch::pinyinInitials;
using DrawerSearch::rank;

TEST(DrawerSearch, RanksExactPrefixSubstringBundleAndPinyinInThatOrder) {
  EXPECT_EQ(rank("SAFARI", "Safari", "com.apple.Safari"), 0);
  EXPECT_EQ(rank("saf", "Safari", "com.apple.Safari"), 1);
  EXPECT_EQ(rank("far", "Safari", "com.apple.Safari"), 2);
  EXPECT_EQ(rank("apple", "Safari", "com.apple.Safari"), 3);
  EXPECT_EQ(rank("wx", "微信", "com.tencent.mac"), 4);
  EXPECT_EQ(rank("w", "微信", "com.tencent.mac"), 4);  // a substring of the initials
  EXPECT_EQ(rank("zz", "Safari", "com.apple.Safari"), std::nullopt);
}

TEST(DrawerSearch, BlankQueryMatchesEverythingFirst) {
  EXPECT_EQ(rank("   ", "Anything", "com.example.x"), 0);
  EXPECT_EQ(rank("", "", ""), 0);
}

TEST(DrawerSearch, FoldsCaseAndAccentsWhateverTheLocale) {
  EXPECT_EQ(DrawerSearch::fold("Ärger "), "arger");
  EXPECT_EQ(rank("cafe", "Café", "com.example.cafe"), 0);
  EXPECT_EQ(rank("CAFÉ", "cafe", "x"), 0);
}

TEST(DrawerSearch, PinyinInitialsNeedTheTableAndNoUnknownScript) {
  EXPECT_EQ(pinyinInitials("微信 Beta"), "wxbeta");
  EXPECT_EQ(pinyinInitials("网易-云音乐"), std::nullopt);  // 云 is not in the table
  EXPECT_EQ(pinyinInitials("Safari"), std::nullopt);        // no Han character at all
  EXPECT_EQ(pinyinInitials("Café 日历"), "cafrl");           // é is skipped, not fatal
  EXPECT_EQ(pinyinInitials("微信 🙂"), std::nullopt);
  EXPECT_EQ(rank("wx", "微云", "com.example.cloud"), std::nullopt);
}

TEST(DrawerSearch, OrderedIsBestFirstAndStableWithinARank) {
  struct Row {
    std::string name;
    std::string bundle;
  };
  const std::vector<Row> rows = {{"Notes Sync", "com.a"}, {"Notes", "com.b"}, {"My Notes", "com.c"},
                                 {"Other", "com.notes.d"}, {"Nothing", "com.e"}, {"Notes Pro", "com.f"}};
  auto ordered = DrawerSearch::ordered(rows, "notes", &Row::name, &Row::bundle);
  std::vector<std::string> names;
  for (const auto& row : ordered) names.push_back(row.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Notes", "Notes Sync", "Notes Pro", "My Notes", "Other"}));
}

// Prepared rows must rank exactly as unprepared ones, or typing in the shelf would change results.
TEST(DrawerSearch, PreparedRowsRankAsTheTextsDo) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"Safari", "com.apple.Safari"}, {" Café Timer ", "org.cafe.Timer"}, {"微信", "com.tencent.xinWeChat"},
      {"微信 Beta", "com.tencent.beta"}, {"微X", "com.x"}, {"Straße", "de.strasse"}, {"ÜBER", "com.ueber"},
      {"网易云音乐", "com.netease.163music"}, {"", ""}};
  const std::vector<std::string> queries = {"", "  ", "SAFARI", "saf", "far", "apple", "cafe", "Café", "wx",
                                            "w",  "wxb", "strasse", "über", "uber", "wyyyy", "x", "zzq"};
  for (const auto& [name, bundle] : rows) {
    const auto key = DrawerSearch::searchKey(name, bundle);
    for (const auto& query : queries) {
      EXPECT_EQ(DrawerSearch::rankKey(DrawerSearch::fold(query), key), rank(query, name, bundle))
          << "name=" << name << " query=" << query;
    }
  }
}

TEST(DrawerSearch, OrderedOverPreparedRowsMatchesOrdered) {
  struct Row {
    std::string name;
    std::string bundle;
  };
  const std::vector<Row> rows = {{"Notes Sync", "com.a"}, {"Notes", "com.b"}, {"My Notes", "com.c"},
                                 {"Other", "com.notes.d"}, {"Nothing", "com.e"}, {"百度网盘", "com.baidu"}};
  std::vector<DrawerSearch::SearchKey> keys;
  for (const auto& row : rows) keys.push_back(DrawerSearch::searchKey(row.name, row.bundle));
  for (const char* query : {"notes", "bd", "com", ""}) {
    auto names = [](const std::vector<Row>& list) {
      std::vector<std::string> out;
      for (const auto& row : list) out.push_back(row.name);
      return out;
    };
    EXPECT_EQ(names(DrawerSearch::ordered(rows, keys, query)),
              names(DrawerSearch::ordered(rows, query, &Row::name, &Row::bundle)))
        << query;
  }
}

}  // namespace
}  // namespace tarvolo
