#include "shelf/MenuBarAccessPolicy.h"

#include <gtest/gtest.h>

#include "discovery/MenuBarCatalogPolicy.h"
#include "shelf/MenuBarAccessEntry.h"

namespace tarvolo {
namespace {

using MenuBarAccessPolicy::matchingItemIndex;
using MenuBarAccessPolicy::nextSelection;

TEST(MenuBarAccessPolicy, SelectionMovesWithinTheListWithoutWrapping) {
  const std::vector<std::string> ids = {"a", "b"};
  EXPECT_EQ(nextSelection(std::nullopt, ids, -1), "b");
  EXPECT_EQ(nextSelection(std::nullopt, ids, 1), "a");
  EXPECT_EQ(nextSelection("b", ids, 1), "b");
  EXPECT_EQ(nextSelection("b", ids, -1), "a");
  EXPECT_EQ(nextSelection("gone", ids, 1), "a");
  EXPECT_EQ(nextSelection("a", {}, 1), std::nullopt);
}

TEST(MenuBarAccessPolicy, MatchesByIdentifierThenTitleThenTheOnlyItem) {
  std::vector<std::optional<std::string>> identifiers = {"x", "y"};
  std::vector<std::string> titles = {"One", "Two"};
  EXPECT_EQ(matchingItemIndex({.originalID = "y", .knownOwnerCount = 2, .identifiers = identifiers, .titles = titles}), 1u);
  EXPECT_EQ(matchingItemIndex({.originalID = "z", .originalTitle = "One", .knownOwnerCount = 2,
                               .identifiers = identifiers, .titles = titles}),
            0u);

  // Two items of one identifier are ambiguous, whatever their titles.
  std::vector<std::optional<std::string>> same = {"x", "x"};
  EXPECT_EQ(matchingItemIndex({.originalID = "x", .originalTitle = "One", .knownOwnerCount = 2,
                               .identifiers = same, .titles = titles}),
            std::nullopt);

  // A single-item owner that changed both identifier and title is still found.
  std::vector<std::optional<std::string>> one = {"new"};
  std::vector<std::string> oneTitle = {"Renamed"};
  EXPECT_EQ(matchingItemIndex({.originalID = "old", .originalTitle = "Old", .knownOwnerCount = 1,
                               .identifiers = one, .titles = oneTitle}),
            0u);
  EXPECT_EQ(matchingItemIndex({.originalID = "old", .originalTitle = "Old", .knownOwnerCount = 2,
                               .identifiers = one, .titles = oneTitle}),
            std::nullopt);

  std::vector<std::string> twoTitles = {"Dup", "Dup"};
  EXPECT_EQ(matchingItemIndex({.originalTitle = "Dup", .knownOwnerCount = 2, .identifiers = identifiers,
                               .titles = twoTitles}),
            std::nullopt);
  std::vector<std::string> shortTitles = {"One"};
  EXPECT_EQ(matchingItemIndex({.originalID = "x", .knownOwnerCount = 1, .identifiers = identifiers,
                               .titles = shortTitles}),
            std::nullopt);  // lists of unequal length
}

TEST(MenuBarAccessPolicy, RetainsRowsOfLiveOwnersTheScanDidNotSee) {
  const std::map<std::string, std::string> known = {{"a/1", "a"}, {"b/1", "b"}, {"c/1", "c"}};
  EXPECT_EQ(MenuBarAccessPolicy::retainedItemIDs(known, {"a"}, {"a", "b"}), (std::set<std::string>{"b/1"}));
}

TEST(MenuBarAccessPolicy, DiscoveryWaitsThreeTimes) {
  EXPECT_EQ(MenuBarAccessPolicy::discoveryScanDelays, (std::vector<double>{0.35, 0.9, 1.45}));
}

TEST(MenuBarCatalogPolicy, IncludesSavedTiersAndWhatTheReadyCatalogueFound) {
  using MenuBarCatalogPolicy::includesRule;
  EXPECT_TRUE(includesRule({.hasSavedTier = true}));
  EXPECT_FALSE(includesRule({.catalogReady = true, .nativeAvailable = true, .attributed = true}));
  EXPECT_TRUE(includesRule({.catalogReady = true, .detected = true}));
  EXPECT_TRUE(includesRule({.nativeAvailable = true}));
  EXPECT_TRUE(includesRule({.attributed = true}));
  EXPECT_FALSE(includesRule({}));
  EXPECT_TRUE(MenuBarCatalogPolicy::showsItemsEmptyState(0, 0, false));
  EXPECT_FALSE(MenuBarCatalogPolicy::showsItemsEmptyState(0, 0, true));
  EXPECT_FALSE(MenuBarCatalogPolicy::showsItemsEmptyState(0, 1, false));
}

TEST(MenuBarAccessEntry, LabelsOnlySystemItemsWithASymbol) {
  const SystemSymbolLookup symbol = [](std::string_view bundle, std::string_view, const std::optional<std::string>&)
      -> std::optional<std::string> {
    if (bundle == "com.apple.controlcenter") return std::string("network");
    if (bundle == "com.apple.TextInputMenuAgent") return std::string("keyboard");
    if (bundle == "com.example.app") return std::string("network");
    return std::nullopt;
  };
  EXPECT_EQ((MenuBarAccessEntry{.ownerBundleID = "com.apple.controlcenter"}.systemLabelKey(symbol)), "iconbar.vpn");
  EXPECT_EQ((MenuBarAccessEntry{.ownerBundleID = "com.apple.TextInputMenuAgent"}.systemLabelKey(symbol)),
            "iconbar.input");
  EXPECT_EQ((MenuBarAccessEntry{.ownerBundleID = "com.apple.Spotlight"}.systemLabelKey(symbol)), std::nullopt);
  EXPECT_EQ((MenuBarAccessEntry{.ownerBundleID = "com.example.app"}.systemLabelKey(symbol)), std::nullopt);
  EXPECT_EQ(MenuBarAccessEntry::labelKey("key.fill"), "iconbar.passwords");
  EXPECT_EQ(MenuBarAccessEntry::labelKey("magnifyingglass"), "iconbar.spotlight");
  EXPECT_EQ(MenuBarAccessEntry::labelKey("wifi"), "iconbar.system");
}

TEST(MenuBarAccessEntry, TheSystemOwnsItemsByItsIdentifierPrefixInAnyCase) {
  EXPECT_TRUE(MenuBarAccessEntry::ownedBySystem("com.apple."));
  EXPECT_TRUE(MenuBarAccessEntry::ownedBySystem("COM.Apple.Spotlight"));
  EXPECT_FALSE(MenuBarAccessEntry::ownedBySystem("com.apple"));
  EXPECT_FALSE(MenuBarAccessEntry::ownedBySystem("com.applesauce.app"));
  EXPECT_FALSE(MenuBarAccessEntry::ownedBySystem(" com.apple.Spotlight"));
  // A letter outside ASCII stays outside it when lower-cased: no look-alike passes.
  EXPECT_FALSE(MenuBarAccessEntry::ownedBySystem("\u0441om.apple.Spotlight"));
  EXPECT_FALSE(MenuBarAccessEntry::ownedBySystem(""));
}

}  // namespace
}  // namespace tarvolo
