#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

#include "visibility/CollapseLengthCache.h"
#include "visibility/ScreenKeys.h"

namespace tarvolo {
namespace {

using MenuBarVisibilityPolicy::CollapseLengthCache;

const ScreenKey laptop("1440x900@0,0");
const ScreenKey tiny("60x40@0,0");

PerAppKey pair(const ScreenKey& screen, std::string_view bundleID) { return PerAppKey(screen, BundleID(bundleID)); }

TEST(ScreenKeys, WholePointsTruncatedTowardZeroAndJoinedInScreenOrder) {
  const Rect main{0, 0, 1512.9, 982.4};
  const Rect left{-1440.7, 0, 1440, 900};
  EXPECT_EQ(screenKey(main).text(), "1512x982@0,0");
  EXPECT_EQ(screenKey(left).text(), "1440x900@-1440,0");
  EXPECT_EQ(screenConfigKey({main, left}).text(), "1512x982@0,0|1440x900@-1440,0");
  EXPECT_EQ(collapseScreenKey(left, {main, left}).text(), "1440x900@-1440,0");
  EXPECT_EQ(collapseScreenKey(std::nullopt, {main, left}).text(), "1512x982@0,0|1440x900@-1440,0");
  EXPECT_EQ(connectedScreenKeys({main}), std::vector<ScreenKey>{ScreenKey("1512x982@0,0")});
  EXPECT_EQ(connectedScreenKeys({main, left}).size(), 3u);
}

TEST(CollapseLengthCacheKeys, BundlePartIsCaseInsensitiveAndTheTextSplitsAtTheTab) {
  const PerAppKey key = pair(laptop, "Com.Example.App");
  EXPECT_EQ(key.text(), laptop.text() + "\tcom.example.app");
  EXPECT_EQ(key, pair(laptop, "com.example.app"));
  EXPECT_EQ(PerAppKey::parse(key.text()), key);
  EXPECT_EQ(PerAppKey::parse(laptop.text()), std::nullopt);
  // No app and an empty identifier file alike, under nothing after the tab.
  EXPECT_EQ(PerAppKey(laptop, std::nullopt).text(), laptop.text() + "\t");
  EXPECT_EQ(pair(laptop, ""), PerAppKey(laptop, std::nullopt));
  EXPECT_EQ(PerAppKey::parse(laptop.text() + "\t"), PerAppKey(laptop, std::nullopt));
  EXPECT_EQ(ScreenKey::parse(key.text()), std::nullopt);

  CollapseLengthCache cache;
  cache.record({.key = pair(laptop, "Com.Example.App"), .length = 300});
  EXPECT_EQ(cache.length(pair(laptop, "com.example.app")), 300);
}

TEST(CollapseLengthCacheKeys, WidthComesFromTheFirstScreenOnly) {
  EXPECT_EQ(ScreenKey("1440x900@0,0|1920x1080@1440,0").firstScreenWidth(), 1440);
  EXPECT_EQ(pair(laptop, "a").screen().firstScreenWidth(), 1440);
  EXPECT_FALSE(ScreenKey("x900@0,0").firstScreenWidth().has_value());
  EXPECT_FALSE(ScreenKey("-1440x900@0,0").firstScreenWidth().has_value());
  EXPECT_FALSE(ScreenKey("wide").firstScreenWidth().has_value());
}

TEST(CollapseLengthCache, RecordKeepsTheVerifiedExtremesAndIgnoresLengthsThatHideNothing) {
  CollapseLengthCache cache;
  cache.record({.key = pair(laptop, "a"), .length = 32, .knownGood = true});
  EXPECT_EQ(cache, CollapseLengthCache{});

  cache.record({.key = pair(laptop, "a"), .length = 300, .knownGood = true});
  cache.record({.key = pair(laptop, "a"), .length = 250, .knownGood = true});
  cache.record({.key = pair(laptop, "b"), .length = 400, .knownGood = false});
  EXPECT_EQ(cache.length(pair(laptop, "a")), 250);
  EXPECT_EQ(cache.knownGoodMin(laptop), 250);
  EXPECT_EQ(cache.knownGoodMax(pair(laptop, "a")), 300);
  EXPECT_FALSE(cache.knownGoodMax(pair(laptop, "b")).has_value());

  // A stored minimum that hides nothing is replaced rather than kept as the minimum.
  cache.knownGoodMinByScreen[tiny] = 20;
  EXPECT_FALSE(cache.knownGoodMin(tiny).has_value());
  cache.record({.key = pair(tiny, "a"), .length = 33, .knownGood = true});
  EXPECT_EQ(cache.knownGoodMin(tiny), 33);
}

TEST(CollapseLengthCache, CollapseLengthFallsBackFromAppToScreenToLowerBound) {
  CollapseLengthCache cache;
  EXPECT_EQ(cache.lengthForCollapse(pair(laptop, "a"), 600), 600);
  cache.record({.key = pair(laptop, "b"), .length = 500, .knownGood = true});
  EXPECT_EQ(cache.lengthForCollapse(pair(laptop, "a"), 600), 500);
  cache.record({.key = pair(laptop, "a"), .length = 550});
  EXPECT_EQ(cache.lengthForCollapse(pair(laptop, "A"), 600), 550);
  cache.forget(pair(laptop, "b"));
  EXPECT_FALSE(cache.length(pair(laptop, "b")).has_value());
  EXPECT_FALSE(cache.knownGoodMax(pair(laptop, "b")).has_value());
  EXPECT_EQ(cache.knownGoodMin(laptop), 500);  // the screen's minimum outlives one app
}

TEST(CollapseLengthCache, OnlyPositiveGapsAndLengthsThatHideSurviveDiscardAndPrune) {
  CollapseLengthCache cache;
  cache.recordGap(laptop, 0);
  EXPECT_FALSE(cache.knownGoodGap(laptop).has_value());
  // A search's reading keeps a gap of 0, not one that was never read; forgetting the screen's gap
  // forgets both.
  cache.recordSearchGap(laptop, -1);
  EXPECT_FALSE(cache.searchGap(laptop).has_value());
  cache.recordSearchGap(laptop, 0);
  EXPECT_EQ(cache.searchGap(laptop), 0);
  cache.recordGap(laptop, 12);
  cache.forgetGap(laptop);
  EXPECT_FALSE(cache.searchGap(laptop).has_value());
  EXPECT_FALSE(cache.knownGoodGap(laptop).has_value());
  cache.recordSearchGap(tiny, 0);

  cache.perApp = {{pair(laptop, "a"), 20}, {pair(laptop, "b"), 200}};
  cache.knownGoodMaxByApp = {{pair(laptop, "a"), 32}};
  cache.discardLengthsThatHideNothing();
  EXPECT_EQ(cache.perApp.size(), 1u);
  EXPECT_TRUE(cache.knownGoodMaxByApp.empty());

  cache.record({.key = pair(tiny, "a"), .length = 33, .knownGood = true});
  cache.recordGap(tiny, 5);
  cache.prune({laptop});
  EXPECT_EQ(cache.perApp.size(), 1u);
  EXPECT_FALSE(cache.knownGoodMin(tiny).has_value());
  EXPECT_FALSE(cache.knownGoodGap(tiny).has_value());
  EXPECT_FALSE(cache.searchGap(tiny).has_value());
}

TEST(ScreenCliffAfterSearch, MenuLimitNeitherCreatesNorReplacesTheRecord) {
  const CliffRecord old{.screenKey = laptop, .length = 650, .gap = 8};
  const CliffRecord settled{.screenKey = laptop, .length = 500, .gap = -1};
  using MenuBarVisibilityPolicy::screenCliffAfterSearch;
  EXPECT_FALSE(screenCliffAfterSearch(std::nullopt, settled, true).has_value());
  EXPECT_EQ(screenCliffAfterSearch(old, settled, true), old);
  EXPECT_EQ(screenCliffAfterSearch(old, settled, false), settled);
}

DefaultsReader readerOf(const DefaultsWrites& writes) {
  return [writes](const std::string& key) -> std::optional<DefaultsValue> {
    auto it = writes.find(key);
    if (it == writes.end()) return std::nullopt;
    return it->second;
  };
}

TEST(CollapseLengthDefaults, EmptyOptionalMapsAreRemovedAndTheListIsSorted) {
  PersistedCollapseLengths state;
  state.menuLimitedKeys = {pair(laptop, "b"), pair(laptop, "a")};
  const auto writes = encodeCollapseLengths(state);
  EXPECT_EQ(writes.size(), 11u);
  for (const char* removed : {cliffScreenDefaultsKey, cliffMinGoodDefaultsKey, cliffMaxGoodDefaultsKey,
                              cliffGoodGapDefaultsKey, cliffSearchGapDefaultsKey, cliffFoldTailDefaultsKey}) {
    EXPECT_FALSE(writes.at(removed).has_value()) << removed;
  }
  EXPECT_EQ(writes.at(cliffPerAppDefaultsKey), DefaultsValue(DefaultsValue::Dictionary{}));
  EXPECT_EQ(writes.at(cliffMenuLimitedDefaultsKey),
            DefaultsValue::fromStrings({pair(laptop, "a").text(), pair(laptop, "b").text()}));
}

TEST(CollapseLengthDefaults, RestoredPerAppLengthsMustFitTheirScreen) {
  const std::map<PerAppKey, double> stored = {
      {pair(tiny, "kept"), 33},  // ceiling on 60 points is 33
      {pair(tiny, "toolong"), 34},
      {pair(laptop, "edge"), 704.5},  // ceiling 704, half a point of rounding
      {pair(laptop, "over"), 704.6},
      {pair(laptop, "nothing"), 32},
      {pair(ScreenKey("unknown"), "a"), 300}};
  const auto restored = restoredPerAppLengths(stored);
  EXPECT_EQ(restored, (std::map<PerAppKey, double>{{pair(tiny, "kept"), 33}, {pair(laptop, "edge"), 704.5}}));
}

TEST(CollapseLengthDefaults, CorruptEntriesAreSkippedWithoutLosingTheirNeighbours) {
  const PerAppKey good = pair(laptop, "good");
  DefaultsWrites stored = {
      {cliffScreenDefaultsKey, DefaultsValue(laptop.text())},
      {cliffLengthDefaultsKey, DefaultsValue(600)},  // an integer is still a number
      {cliffGapDefaultsKey, DefaultsValue("wide")},
      {cliffPerAppDefaultsKey,
       DefaultsValue(DefaultsValue::Dictionary{
           {good.text(), DefaultsValue(300.0)},
           {pair(laptop, "text").text(), DefaultsValue("300")},
           {pair(laptop, "flag").text(), DefaultsValue(true)},
           {pair(laptop, "nan").text(), DefaultsValue(std::numeric_limits<double>::quiet_NaN())}})},
      {cliffMinGoodDefaultsKey, DefaultsValue("not a dictionary")},
      {cliffMenuLimitedDefaultsKey, DefaultsValue(DefaultsValue::Array{DefaultsValue(good.text()), DefaultsValue(7)})}};
  UnreadableCollapseKeys unreadable;
  const auto state = decodeCollapseLengths(readerOf(stored), unreadable);
  EXPECT_EQ(state.cliffRecord, (CliffRecord{.screenKey = laptop, .length = 600, .gap = -1}));
  EXPECT_EQ(state.perAppLengths.perApp, (std::map<PerAppKey, double>{{good, 300}}));
  EXPECT_TRUE(state.perAppLengths.knownGoodMinByScreen.empty());
  EXPECT_EQ(state.menuLimitedKeys, std::set<PerAppKey>{good});
  EXPECT_TRUE(unreadable.empty());

  stored[cliffLengthDefaultsKey] = DefaultsValue(32.0);
  EXPECT_FALSE(decodeCollapseLengths(readerOf(stored), unreadable).cliffRecord.has_value());
  stored[cliffLengthDefaultsKey] = DefaultsValue("600");
  EXPECT_FALSE(decodeCollapseLengths(readerOf(stored), unreadable).cliffRecord.has_value());
}

TEST(CollapseLengthDefaults, KeysThatDoNotReadBackAreNamedAndTheirNeighboursKept) {
  const PerAppKey good = pair(laptop, "good");
  const DefaultsWrites stored = {
      {cliffPerAppDefaultsKey, DefaultsValue(DefaultsValue::Dictionary{{good.text(), DefaultsValue(300.0)},
                                                                        {laptop.text(), DefaultsValue(300.0)}})},
      {cliffGoodGapDefaultsKey, DefaultsValue(DefaultsValue::Dictionary{{laptop.text(), DefaultsValue(8.0)},
                                                                         {good.text(), DefaultsValue(9.0)}})},
      {cliffMenuLimitedDefaultsKey, DefaultsValue::fromStrings({good.text(), "no tab"})}};
  UnreadableCollapseKeys unreadable;
  const auto state = decodeCollapseLengths(readerOf(stored), unreadable);
  EXPECT_EQ(state.perAppLengths.perApp, (std::map<PerAppKey, double>{{good, 300}}));
  EXPECT_EQ(state.perAppLengths.knownGoodGapByScreen, (std::map<ScreenKey, double>{{laptop, 8}}));
  EXPECT_EQ(state.menuLimitedKeys, std::set<PerAppKey>{good});
  EXPECT_EQ(unreadable, (UnreadableCollapseKeys{{cliffPerAppDefaultsKey, laptop.text()},
                                                {cliffGoodGapDefaultsKey, good.text()},
                                                {cliffMenuLimitedDefaultsKey, "no tab"}}));
}

TEST(CollapseLengthDefaults, PruningKeepsTheRecordButDropsOtherScreensEverywhere) {
  PersistedCollapseLengths state;
  state.cliffRecord = CliffRecord{.screenKey = tiny, .length = 33};
  state.menuLimitedKeys = {pair(laptop, "a"), pair(tiny, "a")};
  state.foldTailByPair = {{pair(tiny, "a"), 40}};
  state.prune({laptop});
  EXPECT_TRUE(state.cliffRecord.has_value());
  EXPECT_EQ(state.menuLimitedKeys, std::set<PerAppKey>{pair(laptop, "a")});
  EXPECT_TRUE(state.foldTailByPair.empty());
}

// ---- Properties over whole persisted states

rc::Gen<ScreenKey> genScreen() {
  return rc::gen::map(rc::gen::tuple(rc::gen::inRange(60, 6000), rc::gen::inRange(-3000, 3000)),
                      [](const std::tuple<int, int>& t) {
                        return screenKey(Rect{double(std::get<1>(t)), 0, double(std::get<0>(t)), 900});
                      });
}

rc::Gen<PerAppKey> genPairKey() {
  return rc::gen::map(rc::gen::tuple(genScreen(), rc::gen::element<std::string>("com.a", "Com.B", "org.c", "")),
                      [](const std::tuple<ScreenKey, std::string>& t) { return pair(std::get<0>(t), std::get<1>(t)); });
}

rc::Gen<double> genLength() {
  return rc::gen::map(rc::gen::inRange(33 * 4, 10000 * 4), [](int quarters) { return quarters / 4.0; });
}

// A state that a running controller could have written: restorable per-app lengths only.
rc::Gen<PersistedCollapseLengths> genState() {
  return rc::gen::exec([] {
    PersistedCollapseLengths state;
    if (*rc::gen::arbitrary<bool>()) {
      state.cliffRecord = CliffRecord{.screenKey = *genScreen(), .length = *genLength(),
                                      .gap = *rc::gen::element(-1.0, 0.0, 6.5, 30.0)};
    }
    for (const auto& key : *rc::gen::container<std::vector<PerAppKey>>(genPairKey())) {
      const double ceiling = std::clamp(std::floor(*key.screen().firstScreenWidth() / 2) - 16, 33.0, 10000.0);
      state.perAppLengths.perApp[key] = std::min(*genLength(), ceiling);
    }
    for (const auto& key : *rc::gen::container<std::vector<ScreenKey>>(genScreen())) {
      state.perAppLengths.knownGoodMinByScreen[key] = *genLength();
      state.perAppLengths.knownGoodGapByScreen[key] = *genLength();
      if (*rc::gen::arbitrary<bool>()) state.perAppLengths.searchGapByScreen[key] = *rc::gen::element(0.0, 6.5);
    }
    for (const auto& key : *rc::gen::container<std::vector<PerAppKey>>(genPairKey())) {
      state.perAppLengths.knownGoodMaxByApp[key] = *genLength();
      state.foldTailByPair[key] = *genLength();
      state.foldTailBaseByPair[key] = *genLength();
      if (*rc::gen::arbitrary<bool>()) state.menuLimitedKeys.insert(key);
    }
    return state;
  });
}

RC_GTEST_PROP(CollapseLengthDefaultsProperty, EncodedStateReadsBackUnchanged, ()) {
  const auto state = *genState();
  UnreadableCollapseKeys unreadable;
  RC_ASSERT(decodeCollapseLengths(readerOf(encodeCollapseLengths(state)), unreadable) == state);
  RC_ASSERT(unreadable.empty());
}

RC_GTEST_PROP(CollapseLengthDefaultsProperty, CorruptEntriesNeverDestroyValidOnes, ()) {
  const auto state = *genState();
  auto writes = encodeCollapseLengths(state);
  const auto junk = rc::gen::element(DefaultsValue("12"), DefaultsValue(true), DefaultsValue(DefaultsValue::Array{}),
                                     DefaultsValue(std::numeric_limits<double>::infinity()),
                                     DefaultsValue(DefaultsValue::Dictionary{{"x", DefaultsValue(1.0)}}));
  for (auto& [key, value] : writes) {
    if (!value || !value->isDictionary()) continue;
    auto dict = *value->asDictionary();
    for (int i = 0, n = *rc::gen::inRange(1, 4); i < n; ++i) dict.emplace("corrupt" + std::to_string(i), *junk);
    value = DefaultsValue(std::move(dict));
  }
  UnreadableCollapseKeys unreadable;
  RC_ASSERT(decodeCollapseLengths(readerOf(writes), unreadable) == state);
}

}  // namespace
}  // namespace tarvolo
