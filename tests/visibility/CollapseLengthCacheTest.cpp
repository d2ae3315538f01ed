#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

#include "visibility/CollapseLengthCache.h"
#include "visibility/ScreenKeys.h"

namespace tarvolo {
namespace {

using MenuBarVisibilityPolicy::CollapseLengthCache;

constexpr const char* laptop = "1440x900@0,0";
constexpr const char* tiny = "60x40@0,0";

TEST(ScreenKeys, WholePointsTruncatedTowardZeroAndJoinedInScreenOrder) {
  const Rect main{0, 0, 1512.9, 982.4};
  const Rect left{-1440.7, 0, 1440, 900};
  EXPECT_EQ(screenKey(main), "1512x982@0,0");
  EXPECT_EQ(screenKey(left), "1440x900@-1440,0");
  EXPECT_EQ(screenConfigKey({main, left}), "1512x982@0,0|1440x900@-1440,0");
  EXPECT_EQ(collapseScreenKey(left, {main, left}), "1440x900@-1440,0");
  EXPECT_EQ(collapseScreenKey(std::nullopt, {main, left}), "1512x982@0,0|1440x900@-1440,0");
  EXPECT_EQ(connectedScreenKeys({main}), std::vector<std::string>{"1512x982@0,0"});
  EXPECT_EQ(connectedScreenKeys({main, left}).size(), 3u);
}

TEST(CollapseLengthCacheKeys, BundlePartIsCaseInsensitiveAndSplitsAtTheTab) {
  const std::string key = CollapseLengthCache::key(laptop, "Com.Example.App");
  EXPECT_EQ(key, std::string(laptop) + "\tcom.example.app");
  EXPECT_EQ(CollapseLengthCache::screenPart(key), laptop);
  EXPECT_EQ(CollapseLengthCache::bundlePart(key), "com.example.app");
  EXPECT_FALSE(CollapseLengthCache::bundlePart(laptop).has_value());

  CollapseLengthCache cache;
  cache.record({.screen = laptop, .bundleID = "Com.Example.App", .length = 300});
  EXPECT_EQ(cache.length(laptop, "com.example.app"), 300);
}

TEST(CollapseLengthCacheKeys, WidthComesFromTheFirstScreenOnly) {
  EXPECT_EQ(CollapseLengthCache::screenWidth("1440x900@0,0|1920x1080@1440,0"), 1440);
  EXPECT_EQ(CollapseLengthCache::screenWidth(CollapseLengthCache::key(laptop, "a")), 1440);
  EXPECT_FALSE(CollapseLengthCache::screenWidth("x900@0,0").has_value());
  EXPECT_FALSE(CollapseLengthCache::screenWidth("-1440x900@0,0").has_value());
  EXPECT_FALSE(CollapseLengthCache::screenWidth("wide").has_value());
}

TEST(CollapseLengthCache, RecordKeepsTheVerifiedExtremesAndIgnoresLengthsThatHideNothing) {
  CollapseLengthCache cache;
  cache.record({.screen = laptop, .bundleID = "a", .length = 32, .knownGood = true});
  EXPECT_EQ(cache, CollapseLengthCache{});

  cache.record({.screen = laptop, .bundleID = "a", .length = 300, .knownGood = true});
  cache.record({.screen = laptop, .bundleID = "a", .length = 250, .knownGood = true});
  cache.record({.screen = laptop, .bundleID = "b", .length = 400, .knownGood = false});
  EXPECT_EQ(cache.length(laptop, "a"), 250);
  EXPECT_EQ(cache.knownGoodMin(laptop), 250);
  EXPECT_EQ(cache.knownGoodMax(laptop, "a"), 300);
  EXPECT_FALSE(cache.knownGoodMax(laptop, "b").has_value());

  // A stored minimum that hides nothing is replaced rather than kept as the minimum.
  cache.knownGoodMinByScreen[tiny] = 20;
  EXPECT_FALSE(cache.knownGoodMin(tiny).has_value());
  cache.record({.screen = tiny, .bundleID = "a", .length = 33, .knownGood = true});
  EXPECT_EQ(cache.knownGoodMin(tiny), 33);
}

TEST(CollapseLengthCache, CollapseLengthFallsBackFromAppToScreenToLowerBound) {
  CollapseLengthCache cache;
  EXPECT_EQ(cache.lengthForCollapse(laptop, "a", 600), 600);
  cache.record({.screen = laptop, .bundleID = "b", .length = 500, .knownGood = true});
  EXPECT_EQ(cache.lengthForCollapse(laptop, "a", 600), 500);
  cache.record({.screen = laptop, .bundleID = "a", .length = 550});
  EXPECT_EQ(cache.lengthForCollapse(laptop, "A", 600), 550);
  cache.forget(laptop, "b");
  EXPECT_FALSE(cache.length(laptop, "b").has_value());
  EXPECT_FALSE(cache.knownGoodMax(laptop, "b").has_value());
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

  cache.perApp = {{CollapseLengthCache::key(laptop, "a"), 20}, {CollapseLengthCache::key(laptop, "b"), 200}};
  cache.knownGoodMaxByApp = {{CollapseLengthCache::key(laptop, "a"), 32}};
  cache.discardLengthsThatHideNothing();
  EXPECT_EQ(cache.perApp.size(), 1u);
  EXPECT_TRUE(cache.knownGoodMaxByApp.empty());

  cache.record({.screen = tiny, .bundleID = "a", .length = 33, .knownGood = true});
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
  state.menuLimitedKeys = {"b", "a"};
  const auto writes = encodeCollapseLengths(state);
  EXPECT_EQ(writes.size(), 11u);
  for (const char* removed : {cliffScreenDefaultsKey, cliffMinGoodDefaultsKey, cliffMaxGoodDefaultsKey,
                              cliffGoodGapDefaultsKey, cliffSearchGapDefaultsKey, cliffFoldTailDefaultsKey}) {
    EXPECT_FALSE(writes.at(removed).has_value()) << removed;
  }
  EXPECT_EQ(writes.at(cliffPerAppDefaultsKey), DefaultsValue(DefaultsValue::Dictionary{}));
  EXPECT_EQ(writes.at(cliffMenuLimitedDefaultsKey), DefaultsValue::fromStrings({"a", "b"}));
}

TEST(CollapseLengthDefaults, RestoredPerAppLengthsMustFitTheirScreen) {
  const std::map<std::string, double> stored = {
      {CollapseLengthCache::key(tiny, "kept"), 33},          // ceiling on 60 points is 33
      {CollapseLengthCache::key(tiny, "toolong"), 34},
      {CollapseLengthCache::key(laptop, "edge"), 704.5},     // ceiling 704, half a point of rounding
      {CollapseLengthCache::key(laptop, "over"), 704.6},
      {CollapseLengthCache::key(laptop, "nothing"), 32},
      {CollapseLengthCache::key("unknown", "a"), 300}};
  const auto restored = restoredPerAppLengths(stored);
  EXPECT_EQ(restored, (std::map<std::string, double>{{CollapseLengthCache::key(tiny, "kept"), 33},
                                                     {CollapseLengthCache::key(laptop, "edge"), 704.5}}));
}

TEST(CollapseLengthDefaults, CorruptEntriesAreSkippedWithoutLosingTheirNeighbours) {
  const std::string good = CollapseLengthCache::key(laptop, "good");
  DefaultsWrites stored = {
      {cliffScreenDefaultsKey, DefaultsValue(laptop)},
      {cliffLengthDefaultsKey, DefaultsValue(600)},  // an integer is still a number
      {cliffGapDefaultsKey, DefaultsValue("wide")},
      {cliffPerAppDefaultsKey, DefaultsValue(DefaultsValue::Dictionary{
                                   {good, DefaultsValue(300.0)},
                                   {CollapseLengthCache::key(laptop, "text"), DefaultsValue("300")},
                                   {CollapseLengthCache::key(laptop, "flag"), DefaultsValue(true)},
                                   {CollapseLengthCache::key(laptop, "nan"),
                                    DefaultsValue(std::numeric_limits<double>::quiet_NaN())}})},
      {cliffMinGoodDefaultsKey, DefaultsValue("not a dictionary")},
      {cliffMenuLimitedDefaultsKey, DefaultsValue(DefaultsValue::Array{DefaultsValue(good), DefaultsValue(7)})}};
  const auto state = decodeCollapseLengths(readerOf(stored));
  EXPECT_EQ(state.cliffRecord, (CliffRecord{.screenKey = laptop, .length = 600, .gap = -1}));
  EXPECT_EQ(state.perAppLengths.perApp, (std::map<std::string, double>{{good, 300}}));
  EXPECT_TRUE(state.perAppLengths.knownGoodMinByScreen.empty());
  EXPECT_EQ(state.menuLimitedKeys, std::set<std::string>{good});

  stored[cliffLengthDefaultsKey] = DefaultsValue(32.0);
  EXPECT_FALSE(decodeCollapseLengths(readerOf(stored)).cliffRecord.has_value());
  stored[cliffLengthDefaultsKey] = DefaultsValue("600");
  EXPECT_FALSE(decodeCollapseLengths(readerOf(stored)).cliffRecord.has_value());
}

TEST(CollapseLengthDefaults, PruningKeepsTheRecordButDropsOtherScreensEverywhere) {
  PersistedCollapseLengths state;
  state.cliffRecord = CliffRecord{.screenKey = tiny, .length = 33};
  state.menuLimitedKeys = {CollapseLengthCache::key(laptop, "a"), CollapseLengthCache::key(tiny, "a")};
  state.foldTailByPair = {{CollapseLengthCache::key(tiny, "a"), 40}};
  state.prune({laptop});
  EXPECT_TRUE(state.cliffRecord.has_value());
  EXPECT_EQ(state.menuLimitedKeys, std::set<std::string>{CollapseLengthCache::key(laptop, "a")});
  EXPECT_TRUE(state.foldTailByPair.empty());
}

// ---- Properties over whole persisted states

rc::Gen<std::string> genScreen() {
  return rc::gen::map(rc::gen::tuple(rc::gen::inRange(60, 6000), rc::gen::inRange(-3000, 3000)),
                      [](const std::tuple<int, int>& t) {
                        return screenKey(Rect{double(std::get<1>(t)), 0, double(std::get<0>(t)), 900});
                      });
}

rc::Gen<std::string> genPairKey() {
  return rc::gen::map(rc::gen::tuple(genScreen(), rc::gen::element<std::string>("com.a", "com.b", "org.c")),
                      [](const std::tuple<std::string, std::string>& t) {
                        return CollapseLengthCache::key(std::get<0>(t), std::get<1>(t));
                      });
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
    for (const auto& key : *rc::gen::container<std::vector<std::string>>(genPairKey())) {
      const double ceiling = std::clamp(std::floor(*CollapseLengthCache::screenWidth(key) / 2) - 16, 33.0, 10000.0);
      state.perAppLengths.perApp[key] = std::min(*genLength(), ceiling);
    }
    for (const auto& key : *rc::gen::container<std::vector<std::string>>(genScreen())) {
      state.perAppLengths.knownGoodMinByScreen[key] = *genLength();
      state.perAppLengths.knownGoodGapByScreen[key] = *genLength();
      if (*rc::gen::arbitrary<bool>()) state.perAppLengths.searchGapByScreen[key] = *rc::gen::element(0.0, 6.5);
    }
    for (const auto& key : *rc::gen::container<std::vector<std::string>>(genPairKey())) {
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
  RC_ASSERT(decodeCollapseLengths(readerOf(encodeCollapseLengths(state))) == state);
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
  RC_ASSERT(decodeCollapseLengths(readerOf(writes)) == state);
}

}  // namespace
}  // namespace tarvolo
