#include "support/SimFixture.h"

#include "statusbar/DisplayRuleStore.h"

namespace tarvolo::testing {
namespace {

sim::SimScreenSetup external() {
  return sim::SimScreenSetup{.width = 2560, .height = 1440, .name = "Studio Display", .id = "studio"};
}
sim::SimScreenSetup laptopBeside() {
  return sim::SimScreenSetup{.width = 1512, .height = 982, .x = -1512, .notchWidth = 185, .id = "built-in"};
}
sim::SimScreenSetup laptopAlone() { return sim::SimScreenSetup{.width = 1512, .height = 982, .notchWidth = 185, .id = "built-in"}; }

DefaultsValue keepShownOn(const std::string& displayID) {
  return DefaultsValue(DefaultsValue::Dictionary{
      {displayID, DefaultsValue(DefaultsValue::Dictionary{{"hideIcons", DefaultsValue(false)}})}});
}

class DisplayRulesTest : public SimAppTest {
 protected:
  // The external display holds the menu bar; its rule keeps every icon shown.
  void startOnExternal() {
    DesktopOptions options;
    options.screens = {external(), laptopBeside()};
    boot(options);
    desktop().defaults().set(DisplayRuleStore::storeKey, keepShownOn("studio"));
    launch();
    run(3);
  }
  bool expanded() { return controller().state().isExpanded; }
  bool deep() { return controller().state().isDeepExpanded; }
};

TEST_F(DisplayRulesTest, ADisplayWhoseRuleIsOffKeepsTheBarExpandedNotDeepAndSearchesNothing) {
  startOnExternal();
  EXPECT_TRUE(expanded());
  EXPECT_FALSE(deep());
  EXPECT_TRUE(controller().keptExpandedForDisplay());
  EXPECT_FALSE(logged("search begin low="));
  EXPECT_FALSE(controller().autoCollapse().armed());
  // A folding that was never tried is not reported as failing.
  EXPECT_TRUE(controller().state().foldingEffective);

  // A collapse asked for from a deep expansion lands in the expanded bar.
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  controller().collapseBar(CollapseReason::menu);
  EXPECT_TRUE(expanded());
  EXPECT_FALSE(deep());
  EXPECT_TRUE(logged("collapse skipped reason=display-rule trigger=menu display=studio"));
}

TEST_F(DisplayRulesTest, TheBarCollapsesOnADisplayThatHidesAndExpandsWhenItIsBackOnOneThatDoesNot) {
  startOnExternal();
  desktop().setScreens({laptopAlone()});
  run(3);
  EXPECT_FALSE(expanded());
  EXPECT_TRUE(logged("collapse reason=display-rule"));
  EXPECT_FALSE(controller().keptExpandedForDisplay());

  const int searches = loggedCount("search begin low=");
  desktop().setScreens({external(), laptopBeside()});
  run(3);
  EXPECT_TRUE(expanded());
  EXPECT_FALSE(deep());
  EXPECT_EQ(loggedCount("search begin low="), searches);
}

TEST_F(DisplayRulesTest, TurningTheRuleOnCollapsesAtOnceAndOffExpandsAtOnce) {
  startOnExternal();
  controller().displayRules().setRule("studio", DisplayRule{});
  EXPECT_FALSE(expanded());
  // A rule equal to the default is not kept.
  auto stored = desktop().defaults().object(DisplayRuleStore::storeKey);
  ASSERT_TRUE(stored && stored->asDictionary());
  EXPECT_FALSE(stored->asDictionary()->contains("studio"));

  controller().displayRules().setRule("studio", DisplayRule{.hideIcons = false});
  EXPECT_TRUE(expanded());
  EXPECT_FALSE(deep());
}

TEST_F(DisplayRulesTest, ADisplaysOwnDelayCollapsesAnExpansionThereSooner) {
  DesktopOptions options;
  options.screens = {laptopAlone()};
  boot(options);
  desktop().defaults().set(
      DisplayRuleStore::storeKey,
      DefaultsValue(DefaultsValue::Dictionary{
          {"built-in", DefaultsValue(DefaultsValue::Dictionary{{"hideIcons", DefaultsValue(true)},
                                                               {"autoCollapseDelay", DefaultsValue(3.0)}})},
          {"elsewhere", DefaultsValue("unreadable")}}));
  launch();
  run(3);
  ASSERT_FALSE(expanded());
  EXPECT_DOUBLE_EQ(controller().autoCollapseDelayHere(), 3);
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  desktop().events().movePointer({700, 400});
  run(2.9);
  EXPECT_TRUE(expanded());
  run(0.2);
  EXPECT_FALSE(expanded());

  // Setting another rule keeps the entry this version cannot read.
  controller().displayRules().setRule("built-in", DisplayRule{});
  auto stored = desktop().defaults().object(DisplayRuleStore::storeKey);
  ASSERT_TRUE(stored && stored->asDictionary());
  EXPECT_TRUE(stored->asDictionary()->contains("elsewhere"));
  EXPECT_DOUBLE_EQ(controller().autoCollapseDelayHere(), controller().autoCollapse().configuredAutoCollapseDelay());
}

}  // namespace
}  // namespace tarvolo::testing
