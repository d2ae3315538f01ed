#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cctype>

#include "discovery/PlacementPolicy.h"

namespace tarvolo {
namespace {

namespace P = PlacementPolicy;
using Zone = PlacementZone;
using Tier = std::optional<std::string>;

// hidden divider 600…616 | folded | normal separator 700…716 | visible | toggle 800…830
constexpr PlacementAnchors kAnchors{.toggleMinX = 800,
                                    .toggleMaxX = 830,
                                    .normalMinX = 700,
                                    .normalMaxX = 716,
                                    .normalWidth = 16,
                                    .hiddenMinX = 600,
                                    .hiddenMaxX = 616,
                                    .hiddenWidth = 16};
constexpr double kExpanded = 16;

std::optional<Zone> zoneAtMid(double mid, PlacementAnchors anchors = kAnchors) {
  return P::zone({.minX = mid - 10, .maxX = mid + 10, .anchors = anchors, .expandedLength = kExpanded});
}

ForeignMenuBarWindow window(std::string owner, double mid, double width = 24, double height = 24) {
  return {.ownerName = std::move(owner), .minX = mid - width / 2, .maxX = mid + width / 2, .width = width, .height = height};
}

TEST(PlacementZones, MidpointOnAnEdgeBelongsToTheZoneRightOfIt) {
  EXPECT_EQ(zoneAtMid(800), Zone::systemSide);
  EXPECT_EQ(zoneAtMid(799.5), Zone::alwaysVisible);
  EXPECT_EQ(zoneAtMid(716), Zone::alwaysVisible);
  EXPECT_EQ(zoneAtMid(616), Zone::folded);
  EXPECT_EQ(zoneAtMid(599.5), Zone::alwaysHidden);
}

TEST(PlacementZones, MidpointOnASeparatorItselfCountsTowardsItsSide) {
  EXPECT_EQ(zoneAtMid(708), Zone::alwaysVisible);
  EXPECT_EQ(zoneAtMid(700), Zone::alwaysVisible);
  EXPECT_EQ(zoneAtMid(699.5), Zone::folded);
  EXPECT_EQ(zoneAtMid(608), Zone::folded);
  EXPECT_EQ(zoneAtMid(600), Zone::folded);
}

TEST(PlacementZones, UnusableAnchorsGiveNoZone) {
  PlacementAnchors offScreen = kAnchors;
  offScreen.hiddenMaxX = 0;
  EXPECT_EQ(zoneAtMid(750, offScreen), std::nullopt);
}

TEST(PlacementAnchorGate, SeparatorWidthLimitIsFourExpandedLengthsButAtLeast64) {
  PlacementAnchors a = kAnchors;
  a.normalWidth = 500;
  EXPECT_FALSE(P::anchorsUsable(a, 10));
  a.normalWidth = 64;
  EXPECT_TRUE(P::anchorsUsable(a, 10));
  a.normalWidth = 64.5;
  EXPECT_FALSE(P::anchorsUsable(a, 10));
  a.normalWidth = 80;
  EXPECT_TRUE(P::anchorsUsable(a, 20));
  a.normalWidth = 16;
  a.hiddenWidth = 81;
  EXPECT_FALSE(P::anchorsUsable(a, 20));
}

TEST(PlacementAnchorGate, OffScreenCoincidingOrMisplacedItemsAreRejected) {
  EXPECT_TRUE(P::anchorsUsable(kAnchors, kExpanded));
  for (double PlacementAnchors::*edge : {&PlacementAnchors::toggleMaxX, &PlacementAnchors::normalMaxX,
                                         &PlacementAnchors::hiddenMaxX}) {
    PlacementAnchors a = kAnchors;
    a.*edge = 0;
    EXPECT_FALSE(P::anchorsUsable(a, kExpanded));
  }
  // All right edges within a point of each other: the items have not been laid out yet, even
  // though both separators are still (barely) left of the toggle.
  PlacementAnchors piled = kAnchors;
  piled.normalMaxX = 829.5;
  piled.hiddenMaxX = 829.5;
  EXPECT_FALSE(P::anchorsUsable(piled, kExpanded));
  piled.normalMaxX = 829;
  EXPECT_TRUE(P::anchorsUsable(piled, kExpanded));

  PlacementAnchors rightOfToggle = kAnchors;
  rightOfToggle.normalMaxX = 830;
  EXPECT_FALSE(P::anchorsUsable(rightOfToggle, kExpanded));

  PlacementAnchors swapped = kAnchors;
  std::swap(swapped.normalMinX, swapped.hiddenMinX);
  std::swap(swapped.normalMaxX, swapped.hiddenMaxX);
  EXPECT_TRUE(P::anchorsUsable(swapped, kExpanded));
}

TEST(PlacementOwners, SystemOwnersNeverMatchWhateverTheSpelling) {
  EXPECT_FALSE(P::ownerMatches("Window Server ", "Window Server", "window server"));
  for (const auto& owner : P::systemOwners()) EXPECT_FALSE(P::ownerMatches(owner, owner, owner)) << owner;
  EXPECT_FALSE(P::ownerMatches("Tarvolo", "Tarvolo", "com.ostrand.tarvolo"));
  EXPECT_FALSE(P::ownerMatches("", "", ""));
}

TEST(PlacementOwners, MatchesByNameIdentifierOrLastComponentAfterTrimmingAndCase) {
  EXPECT_TRUE(P::ownerMatches(" Clipboard Pro\n", "clipboard pro", ""));
  EXPECT_TRUE(P::ownerMatches("COM.example.Tool", "Other", "com.example.tool"));
  EXPECT_TRUE(P::ownerMatches("notes", "Scratchpad", "org.sample.notes"));
  EXPECT_TRUE(P::ownerMatches("Notes\u00A0", "Scratchpad", "org.sample.Notes."));
  EXPECT_TRUE(P::ownerMatches("\u5fae\u4fe1", "\u5fae\u4fe1", "com.example.chat"));
  EXPECT_FALSE(P::ownerMatches("notes", "Scratchpad", "org.sample.notebook"));
  EXPECT_FALSE(P::ownerMatches("scratchpad", "Other", ""));
}

TEST(PlacementOwners, OneCharacterNamesAndComponentsNeverMatch) {
  EXPECT_FALSE(P::ownerMatches("n", "N", "com.example.tool"));
  EXPECT_FALSE(P::ownerMatches("n", "Other", "org.sample.n"));
  // One character of three bytes is still one character.
  EXPECT_FALSE(P::ownerMatches("\u5fae", "\u5fae", "com.example.chat"));
  EXPECT_FALSE(P::ownerMatches("\u5fae", "Other", "com.example.\u5fae"));
}

TEST(PlacementWindows, ScreenFilterKeepsStrictOverlapsInOrder) {
  const std::vector<ForeignMenuBarWindow> windows = {
      {"a", -30, 0, 30, 24}, {"b", -10, 10, 20, 24}, {"c", 1500, 1520, 20, 24}, {"d", 1490, 1510, 20, 24}};
  EXPECT_EQ(P::windowsOnStatusItemScreen(windows, std::nullopt, 1500), windows);
  const auto kept = P::windowsOnStatusItemScreen(windows, 0, 1500);
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].ownerName, "b");
  EXPECT_EQ(kept[1].ownerName, "d");
}

TEST(PlacementObservedZone, OnlyTheFirstStatusItemSizedWindowOfTheAppIsJudged) {
  const std::vector<ForeignMenuBarWindow> windows = {
      window("Other", 750),         window("Notes", 760, 7),  window("Notes", 760, 221),
      window("Notes", 760, 24, 41), window("Notes", 650),     window("Notes", 750),
  };
  auto observed = [&](std::optional<PlacementAnchors> anchors) {
    return P::observedZone({.appName = "Notes", .bundleID = "org.sample.notes", .windows = windows,
                            .anchors = anchors, .expandedLength = kExpanded});
  };
  EXPECT_EQ(observed(kAnchors), Tier("hidden"));
  EXPECT_EQ(observed(std::nullopt), std::nullopt);
}

TEST(PlacementObservedZone, SizeLimitsAreInclusiveAndEveryZoneMapsToATier) {
  auto observedFor = [](ForeignMenuBarWindow w) {
    std::vector<ForeignMenuBarWindow> windows = {std::move(w)};
    return P::observedZone(
        {.appName = "Notes", .bundleID = "", .windows = windows, .anchors = kAnchors, .expandedLength = kExpanded});
  };
  EXPECT_EQ(observedFor(window("Notes", 750, 8)), Tier("always_visible"));
  EXPECT_EQ(observedFor(window("Notes", 750, 220, 40)), Tier("always_visible"));
  EXPECT_EQ(observedFor(window("Notes", 500)), Tier("always_hidden"));
  EXPECT_EQ(observedFor(window("Notes", 850)), std::nullopt);
}

TEST(PlacementTargetZone, AnyOfSeveralIconsInTheTargetCounts) {
  const std::vector<ForeignMenuBarWindow> windows = {window("Notes", 650), window("Notes", 750)};
  auto inTarget = [&](Zone target, PlacementAnchors anchors = kAnchors) {
    return P::foreignItemInTargetZone({.appName = "Notes", .bundleID = "", .windows = windows,
                                       .anchors = anchors, .target = target, .expandedLength = kExpanded});
  };
  EXPECT_EQ(inTarget(Zone::alwaysVisible), true);
  EXPECT_EQ(inTarget(Zone::folded), true);
  EXPECT_EQ(inTarget(Zone::alwaysHidden), false);
  PlacementAnchors collapsed = kAnchors;
  collapsed.normalWidth = 5000;
  EXPECT_EQ(inTarget(Zone::alwaysVisible, collapsed), std::nullopt);
  const std::vector<ForeignMenuBarWindow> tooWide = {window("Notes", 750, 221)};
  EXPECT_EQ(P::foreignItemInTargetZone({.appName = "Notes", .bundleID = "", .windows = tooWide,
                                        .anchors = kAnchors, .target = Zone::alwaysVisible,
                                        .expandedLength = kExpanded}),
            std::nullopt);
}

TEST(PlacementTiers, DisplayedTierTrustsAlwaysVisibleOnlyWhenSeenOrConfirmed) {
  struct Case { Tier saved, confirmed, observed; std::string expected; };
  const Case cases[] = {
      {"always_visible", {}, {}, "hidden"},
      {"hidden", "always_visible", "always_visible", "hidden"},
      {"always_visible", {}, "always_hidden", "always_hidden"},
      {{}, "always_visible", "always_hidden", "always_visible"},
      {{}, "always_hidden", "hidden", "hidden"},
      {"bogus", "always_hidden", {}, "always_hidden"},
      {"bogus", "bogus", "bogus", "hidden"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(P::displayedTier(c.saved, c.confirmed, c.observed), c.expected)
        << c.saved.value_or("-") << " " << c.confirmed.value_or("-") << " " << c.observed.value_or("-");
  }
}

TEST(PlacementTiers, OutOfPlaceRules) {
  auto out = [](std::string_view category, Tier confirmed, bool relaunched, Tier observed) {
    return P::isOutOfPlace(
        {.category = category, .confirmedCategory = confirmed, .relaunched = relaunched, .observedZone = observed});
  };
  EXPECT_TRUE(out("hidden", {}, false, "always_visible"));
  EXPECT_TRUE(out("hidden", "always_visible", false, "hidden"));
  EXPECT_FALSE(out("always_hidden", "hidden", true, "hidden"));
  EXPECT_FALSE(out("always_visible", {}, false, "always_visible"));
  EXPECT_TRUE(out("always_visible", "always_visible", true, "always_visible"));
  EXPECT_FALSE(out("always_visible", "always_visible", false, {}));
  EXPECT_TRUE(out("always_visible", "always_visible", true, "hidden"));
  EXPECT_TRUE(out("always_visible", {}, false, "hidden"));
}

TEST(PlacementTiers, UnknownOrMiscasedTiersFoldAndOnlyAChangedTierIsGuided) {
  EXPECT_EQ(P::targetZone("always_hidden"), Zone::alwaysHidden);
  EXPECT_EQ(P::targetZone("Always_Visible"), Zone::folded);
  EXPECT_FALSE(P::shouldGuide(true, "always_visible", std::nullopt));
  EXPECT_TRUE(P::shouldGuide(false, "hidden", std::nullopt));
  EXPECT_FALSE(P::shouldGuide(false, "hidden", "hidden"));
}

TEST(PlacementTiers, ConfirmedBundleIDsTrimOnlyTheNamedIdentifier) {
  EXPECT_EQ(P::confirmedBundleIDs(" com.x.app\n", false, {"ignored"}), (std::vector<std::string>{"com.x.app"}));
  EXPECT_TRUE(P::confirmedBundleIDs(" \t\n", false, {}).empty());
  EXPECT_TRUE(P::confirmedBundleIDs(std::nullopt, false, {}).empty());
  EXPECT_EQ(P::confirmedBundleIDs("com.x.app", true, {" a ", "b"}), (std::vector<std::string>{" a ", "b"}));
}

TEST(PlacementMigration, AlwaysVisibleSurvivesOnlyWhereConfirmed) {
  using Map = std::map<std::string, std::string>;
  EXPECT_EQ(P::migrateStoredCategories({{"Com.X.App", "always_visible"}}, {{"com.x.app", "always_visible"}}),
            (Map{{"Com.X.App", "always_visible"}}));
  EXPECT_EQ(P::migrateStoredCategories({{"a", "always_visible"}, {"b", "hidden"}, {"c", "always_hidden"},
                                        {"d", "bogus"}},
                                       {{"e", "always_visible"}, {"f", "hidden"}}),
            (Map{{"b", "hidden"}, {"c", "always_hidden"}, {"e", "always_visible"}}));
  // An exact key wins over a case-insensitive one, even when the latter would keep the entry.
  EXPECT_EQ(P::migrateStoredCategories({{"A.b", "always_visible"}}, {{"A.b", "hidden"}, {"a.b", "always_visible"}}),
            Map{});
}

RC_GTEST_PROP(PlacementMigration, ResultHoldsOnlyKnownTiersAndEveryAlwaysVisibleIsConfirmed, ()) {
  const auto key = rc::gen::elementOf(std::vector<std::string>{"a.x", "A.x", "a.X", "b.y", "B.Y", "c.z"});
  const auto tier = rc::gen::elementOf(std::vector<std::string>{"always_visible", "hidden", "always_hidden", "x", ""});
  // Drawn as pairs so that repeated keys collapse instead of exhausting the small key set.
  const auto entries = rc::gen::container<std::vector<std::pair<std::string, std::string>>>(rc::gen::pair(key, tier));
  const auto savedEntries = *entries;
  const auto confirmedEntries = *entries;
  const std::map<std::string, std::string> saved(savedEntries.begin(), savedEntries.end());
  const std::map<std::string, std::string> confirmed(confirmedEntries.begin(), confirmedEntries.end());
  const auto lower = [](std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
  };
  const auto result = P::migrateStoredCategories(saved, confirmed);
  for (const auto& [k, v] : saved) {
    if (v == "hidden" || v == "always_hidden") RC_ASSERT(result.at(k) == v);
  }
  for (const auto& [k, v] : result) {
    RC_ASSERT((v == "always_visible" || v == "hidden" || v == "always_hidden"));
    if (v != "always_visible") continue;
    const bool confirmedSomehow = std::any_of(confirmed.begin(), confirmed.end(), [&](const auto& entry) {
      return lower(entry.first) == lower(k) && entry.second == "always_visible";
    });
    RC_ASSERT(confirmedSomehow);
  }
}

TEST(PlacementLedgerTransitions, RelaunchMovesAConfirmedVisibleAppIntoAttention) {
  auto s = P::confirm({}, "Com.Example.Notes", "always_visible");
  EXPECT_EQ(s.confirmed.at("com.example.notes"), "always_visible");
  EXPECT_EQ(P::noteLaunched(s, "com.example.notes"), s);
  s = P::noteTerminated(s, "COM.EXAMPLE.NOTES");
  EXPECT_TRUE(s.awaitingRelaunch.contains("com.example.notes"));
  s = P::noteLaunched(s, "com.example.notes");
  EXPECT_FALSE(s.confirmed.contains("com.example.notes"));
  EXPECT_TRUE(s.awaitingRelaunch.empty());
  EXPECT_EQ(s.attention, std::set<std::string>{"com.example.notes"});
}

TEST(PlacementLedgerTransitions, OnlyAlwaysVisibleAwaitsRelaunchAndReconfirmKeepsAttention) {
  auto s = P::confirm({}, "a", "hidden");
  EXPECT_EQ(P::noteTerminated(s, "a"), s);
  s = P::confirmAlwaysVisible(s, {"A", "", "b"});
  EXPECT_EQ(s.confirmed, (std::map<std::string, std::string>{{"a", "always_visible"}, {"b", "always_visible"}}));
  s = P::noteLaunched(P::noteTerminated(s, "b"), "b");
  s = P::noteTerminated(s, "a");
  s = P::confirmAlwaysVisible(s, {"a", "b"});
  EXPECT_TRUE(s.awaitingRelaunch.empty());
  EXPECT_EQ(s.attention, std::set<std::string>{"b"});
  EXPECT_EQ(P::confirm(s, "", "hidden"), s);
  EXPECT_EQ(P::noteTerminated(s, std::nullopt), s);
  EXPECT_EQ(P::noteLaunched(s, ""), s);
}

}  // namespace
}  // namespace tarvolo
