#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <set>

#include "visibility/CollapseReasons.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {
namespace {

namespace P = MenuBarVisibilityPolicy;
using Engine = MenuBarHidingEngine;
using Presentation = MenuBarPresentation;
using Sizing = P::PublicCollapseSizing;
using Strings = std::vector<std::string>;

std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

// Ids built from pieces that collide ignoring case, carry role endings and stray blanks.
rc::Gen<std::string> genBundleID() {
  return rc::gen::map(
      rc::gen::tuple(rc::gen::container<Strings>(rc::gen::elementOf(Strings{"com", "Com", "x", "App", "app", "AppHelper",
                                                                            "Helper", "agent", "login", "corvanta"})),
                     rc::gen::elementOf(Strings{"", " ", "\t"})),
      [](const std::tuple<Strings, std::string>& parts) {
        std::string id;
        for (const std::string& piece : std::get<0>(parts)) id += (id.empty() ? "" : ".") + piece;
        return std::get<1>(parts) + id + std::get<1>(parts);
      });
}

// ---- Separator lengths and plans ------------------------------------------------------------

TEST(SeparatorLengths, NativeEngineGivesSeparatorsNothingInEveryPresentation) {
  for (auto presentation : {Presentation::collapsed, Presentation::shelfExpanded, Presentation::deepExpanded}) {
    for (auto sizing : {Sizing::legacy, Sizing::statusRegion}) {
      auto lengths = P::separatorLengths({.engine = Engine::nativeAllowList, .presentation = presentation,
                                          .expandedLength = 16, .collapsedLength = 700, .publicCollapseSizing = sizing,
                                          .hiddenDividerDistance = 100});
      EXPECT_EQ(lengths, (P::SeparatorLengths{0, 0, "", ""})) << rawValue(presentation);
    }
  }
}

TEST(SeparatorLengths, PublicSpacerFollowsPresentationAndSizing) {
  auto lengths = [](Presentation p, Sizing s, std::optional<double> distance = std::nullopt) {
    return P::separatorLengths({.engine = Engine::publicSpacer, .presentation = p, .expandedLength = 16,
                                .collapsedLength = 700, .publicCollapseSizing = s, .hiddenDividerDistance = distance});
  };
  EXPECT_EQ(lengths(Presentation::collapsed, Sizing::legacy), (P::SeparatorLengths{700, 700, "", ""}));
  // Under the status-region cliff only the normal separator collapses.
  EXPECT_EQ(lengths(Presentation::collapsed, Sizing::statusRegion), (P::SeparatorLengths{700, 16, "", ""}));
  // The always-hidden separator stands left of the hidden zone: it stops short of the menus
  // by the distance between the dividers, on either sizing.
  EXPECT_EQ(lengths(Presentation::shelfExpanded, Sizing::legacy, 100), (P::SeparatorLengths{16, 576, "｜", ""}));
  EXPECT_EQ(lengths(Presentation::shelfExpanded, Sizing::statusRegion, 100), (P::SeparatorLengths{16, 576, "｜", ""}));
  EXPECT_EQ(lengths(Presentation::shelfExpanded, Sizing::legacy, 690), (P::SeparatorLengths{16, 16, "｜", ""}));
  // Unmeasured: before the status-region cliff the collapse length keeps that zone off screen.
  EXPECT_EQ(lengths(Presentation::shelfExpanded, Sizing::legacy), (P::SeparatorLengths{16, 700, "｜", ""}));
  EXPECT_EQ(lengths(Presentation::shelfExpanded, Sizing::statusRegion), (P::SeparatorLengths{16, 16, "｜", ""}));
  EXPECT_EQ(lengths(Presentation::deepExpanded, Sizing::statusRegion), (P::SeparatorLengths{16, 16, "｜", "eye.slash"}));
}

TEST(SeparatorLengths, StatusRegionShelfSizesAlwaysHiddenFromDividerDistance) {
  auto alwaysHidden = [](std::optional<double> distance) {
    return P::separatorLengths({.engine = Engine::publicSpacer, .presentation = Presentation::shelfExpanded,
                                .expandedLength = 16, .collapsedLength = 700,
                                .publicCollapseSizing = Sizing::statusRegion, .hiddenDividerDistance = distance})
        .alwaysHidden;
  };
  EXPECT_EQ(alwaysHidden(100), 576);
  EXPECT_EQ(alwaysHidden(660), 16);  // 700 - 660 - 24 = 16: still the expanded length
  EXPECT_EQ(alwaysHidden(670), 16);  // would be 6: floored at the expanded length
  EXPECT_EQ(alwaysHidden(0), 16);
  EXPECT_EQ(alwaysHidden(std::nullopt), 16);
}

P::PlanInput nativeInput(Presentation presentation) {
  return {.apps = {{"com.a.Visible", ItemCategory::alwaysVisible},
                   {"com.b.Hidden", ItemCategory::hidden},
                   {"com.c.Deep", ItemCategory::alwaysHidden},
                   {"com.d.Second", ItemCategory::alwaysVisible}},
          .engine = Engine::nativeAllowList,
          .presentation = presentation,
          .expandedLength = 16,
          .collapsedLength = 700,
          .ownBundleIDs = {"com.ostrand.tarvolo"},
          .runningBundleIDs = {"com.b.Hidden.agent", "com.c.Deep.agent"}};
}

TEST(Plan, NativeCollapsedAllowsOnlyAlwaysVisibleTierInInputOrder) {
  MenuBarVisibilityPlan result = P::plan(nativeInput(Presentation::collapsed));
  EXPECT_EQ(result.allowedBundleIDs, (Strings{"com.a.Visible", "com.d.Second", "com.ostrand.tarvolo"}));
  EXPECT_TRUE(result.menuBarUsesAlwaysVisibleBundleIDs);
  EXPECT_EQ(result.normalSeparatorLength, 0);
  EXPECT_EQ(result.alwaysHiddenSeparatorLength, 0);
}

TEST(Plan, NativeShelfAddsHiddenTierAndItsRunningHelpers) {
  MenuBarVisibilityPlan result = P::plan(nativeInput(Presentation::shelfExpanded));
  EXPECT_EQ(result.allowedBundleIDs,
            (Strings{"com.a.Visible", "com.b.Hidden", "com.d.Second", "com.ostrand.tarvolo", "com.b.Hidden.agent"}));
  EXPECT_FALSE(result.menuBarUsesAlwaysVisibleBundleIDs);
}

TEST(Plan, NativeDeepExpandRestrictsNothing) {
  MenuBarVisibilityPlan result = P::plan(nativeInput(Presentation::deepExpanded));
  EXPECT_FALSE(result.allowedBundleIDs.has_value());
  EXPECT_FALSE(result.menuBarUsesAlwaysVisibleBundleIDs);
}

TEST(Plan, PublicSpacerCarriesSeparatorLengthsWithoutAllowList) {
  P::PlanInput input = nativeInput(Presentation::shelfExpanded);
  input.engine = Engine::publicSpacer;
  MenuBarVisibilityPlan result = P::plan(input);
  EXPECT_EQ(result, (MenuBarVisibilityPlan{Engine::publicSpacer, Presentation::shelfExpanded, std::nullopt, 16, 700,
                                           "｜", "", false}));
}

// ---- Allow-list expansion and related bundles -----------------------------------------------

TEST(ExpandAllowedBundleIDs, TrimsAndKeepsFirstSpellingOfCaseDuplicates) {
  EXPECT_EQ(P::expandAllowedBundleIDs({" com.a.One ", "COM.A.ONE", "", "  "}, {"com.a.one", "com.me.Own"}, {}),
            (Strings{"com.a.One", "com.me.Own"}));
}

TEST(ExpandAllowedBundleIDs, AddsFamilyParentAndRunningChildrenButNotLookalikes) {
  Strings running = {"com.x.App.LoginItem", "com.x.AppHelper", "com.x.Application", "com.y.App.agent"};
  EXPECT_EQ(P::expandAllowedBundleIDs({"com.x.App", "com.z.Tool.status"}, {}, running),
            (Strings{"com.x.App", "com.z.Tool.status", "com.x.App.LoginItem", "com.x.AppHelper", "com.z.Tool"}));
  EXPECT_EQ(P::expandAllowedBundleIDs({"im.rime.inputmethod.Squirrel"}, {}, {}),
            (Strings{"im.rime.inputmethod.Squirrel", "com.tencent.inputmethod.wetype", "com.apple.TextInputMenuAgent",
                     "com.apple.TextInputSwitcher", "com.apple.HIToolbox", "im.rime.inputmethod"}));
}

RC_GTEST_PROP(ExpandAllowedBundleIDs, ResultIsBlankFreeUniqueIgnoringCaseAndCoversInputs, ()) {
  const auto ids = *rc::gen::container<Strings>(genBundleID());
  const auto own = *rc::gen::container<Strings>(genBundleID());
  const auto running = *rc::gen::container<Strings>(genBundleID());
  const Strings result = P::expandAllowedBundleIDs(ids, own, running);
  std::set<std::string> seen;
  for (const std::string& id : result) {
    RC_ASSERT(!id.empty());
    RC_ASSERT(id.find_first_of(" \t") == std::string::npos);
    RC_ASSERT(seen.insert(lower(id)).second);
  }
  for (const Strings* source : {&ids, &own}) {
    for (const std::string& id : *source) {
      const std::size_t first = id.find_first_not_of(" \t");
      if (first == std::string::npos) continue;
      RC_ASSERT(seen.count(lower(id.substr(first, id.find_last_not_of(" \t") + 1 - first))) == 1u);
    }
  }
}

TEST(RelatedBundles, FamiliesAreCheckedIndependentlyInOrder) {
  EXPECT_TRUE(P::relatedBundleIDs("com.example.App").empty());
  Strings both = P::relatedBundleIDs("com.Corvanta.iShot");
  ASSERT_EQ(both.size(), 5u);
  EXPECT_EQ(both.front(), "com.ostrand.zt-corvanta");
  EXPECT_EQ(both.back(), "cn.better365.iShotProHelper");
}

TEST(RelatedBundles, ParentStripsRoleEndingOrDropsComponentWhileThreeRemain) {
  EXPECT_EQ(P::immediateParent("com.x.AppHelper"), "com.x.App");
  EXPECT_EQ(P::immediateParent("com.x.AppHelperApp"), "com.x.App");  // longest ending first
  EXPECT_EQ(P::immediateParent("com.x.App-agent"), "com.x.App");
  EXPECT_EQ(P::immediateParent("com.x.App.login"), "com.x.App");
  EXPECT_EQ(P::immediateParent("com.x.App.Helper"), "com.x.App");
  EXPECT_EQ(P::immediateParent("com.x.App"), std::nullopt);
  EXPECT_EQ(P::immediateParent("com.x.Helper"), std::nullopt);  // an ending alone names no app
  EXPECT_EQ(P::immediateParent("App"), std::nullopt);
}

TEST(RelatedBundles, ChildIsDotExtensionOrParentWalkIgnoringCase) {
  EXPECT_TRUE(P::isChildBundle("COM.X.APP.login.item", "com.x.App"));
  EXPECT_TRUE(P::isChildBundle("com.x.AppHelper", "com.x.app"));
  EXPECT_TRUE(P::isChildBundle("com.x.AppHelper.sub", "com.x.App"));  // reached through two parents
  EXPECT_FALSE(P::isChildBundle("com.x.Application", "com.x.App"));
  EXPECT_FALSE(P::isChildBundle("com.x.App", "com.x.App"));
  EXPECT_FALSE(P::isChildBundle("com.x.App", "com.x.App.login"));
  EXPECT_FALSE(P::isChildBundle("com.x.App", ""));
}

RC_GTEST_PROP(RelatedBundles, EveryParentOnTheWalkIsAShorterAncestor, ()) {
  std::string id = *genBundleID();
  for (auto parent = P::immediateParent(id); parent; parent = P::immediateParent(*parent)) {
    RC_ASSERT(parent->size() < id.size());
    RC_ASSERT(P::isChildBundle(id, *parent));
    RC_ASSERT(!P::isChildBundle(*parent, id));
  }
}

// ---- Tier lookup ----------------------------------------------------------------------------

TEST(ResolveTier, LooksUpExactThenCaseThenRelatedThenParents) {
  std::map<std::string, std::string> saved = {{"com.x.app", "hidden"},
                                              {"com.x.App", "always_visible"},
                                              {"com.ostrand.zt-corvanta-pro", "always_hidden"},
                                              {"COM.Y.TOOL", "hidden"}};
  EXPECT_EQ(P::resolveTier("com.x.App", saved), ItemCategory::alwaysVisible);
  EXPECT_EQ(P::resolveTier("com.y.tool", saved), ItemCategory::hidden);
  EXPECT_EQ(P::resolveTier("com.ostrand.zt-corvanta-swift", saved), ItemCategory::alwaysHidden);
  EXPECT_EQ(P::resolveTier("com.y.Tool.login.Helper", saved), ItemCategory::hidden);
  EXPECT_EQ(P::resolveTier("com.z.Other", saved), std::nullopt);
}

TEST(ResolveTier, FirstFoundUnknownStringIsNoTierEvenIfParentHasOne) {
  std::map<std::string, std::string> saved = {{"com.x.AppHelper", "pinned"}, {"com.x.App", "hidden"}};
  EXPECT_EQ(P::resolveTier("com.x.AppHelper", saved), std::nullopt);
  EXPECT_EQ(P::resolveTier("com.x.AppAgent", saved), std::nullopt);  // "agent" ending is case-sensitive
  EXPECT_EQ(P::resolveTier("com.x.Appagent", saved), ItemCategory::hidden);
}

// ---- Length bounds --------------------------------------------------------------------------

TEST(LengthBounds, TypicalAndTinyScreens) {
  EXPECT_EQ(P::collapseSearchUpperBound(1440), 688);
  EXPECT_EQ(P::collapseTailCeiling(1440), 704);
  EXPECT_EQ(P::collapseUnmeasuredLength(1440), 600);
  EXPECT_EQ(P::legacyCollapsedSeparatorLength(1440), 2880);
  EXPECT_EQ(P::legacyCollapsedSeparatorLength(200), 600);
  EXPECT_EQ(P::legacyCollapsedSeparatorLength(9000), 10000);
  EXPECT_EQ(P::collapseSearchUpperBound(60), 33);
  EXPECT_EQ(P::collapseTailCeiling(60), 33);
  EXPECT_EQ(P::collapseUnmeasuredLength(1001), 468);  // floor of the half width
}

TEST(LengthBounds, ProbeCeilingUsesRoomOnlyBetween41AndBase) {
  // base 688; room = edge - minX - 8
  EXPECT_EQ(P::collapseProbeCeiling(1440, 149, 100), 41);
  EXPECT_EQ(P::collapseProbeCeiling(1440, 148.9, 100), 688);
  EXPECT_EQ(P::collapseProbeCeiling(1440, 795, 100), 687);
  EXPECT_EQ(P::collapseProbeCeiling(1440, 796, 100), 688);
}

RC_GTEST_PROP(LengthBounds, ClampedAndMonotonicInScreenWidth, ()) {
  const double a = *rc::gen::inRange(0, 30000);
  const double b = a + *rc::gen::inRange(0, 30000);
  for (auto bound : {&P::collapseSearchUpperBound, &P::collapseTailCeiling, &P::collapseUnmeasuredLength}) {
    RC_ASSERT(bound(a) <= bound(b));
    RC_ASSERT(bound(a) >= 33);
    RC_ASSERT(bound(b) <= 10000);
    RC_ASSERT(P::collapseLengthHidesIcons(bound(a)));
  }
  RC_ASSERT(P::collapseUnmeasuredLength(a) <= P::collapseSearchUpperBound(a));
  RC_ASSERT(P::legacyCollapsedSeparatorLength(a) <= P::legacyCollapsedSeparatorLength(b));
  const double ceiling = P::collapseProbeCeiling(a, *rc::gen::inRange(-5000, 5000), 0);
  RC_ASSERT(ceiling <= P::collapseSearchUpperBound(a));
  RC_ASSERT(ceiling >= std::min(41.0, P::collapseSearchUpperBound(a)));
}

// ---- Engine, mode and click predicates -----------------------------------------------------

TEST(ModePredicates, FoldingFollowsNativeEngineUntilAnchorAndCliffAllowLength) {
  EXPECT_TRUE(P::foldingIsEffective({.nativeEngineAvailable = true, .anchorReady = true, .collapseLength = 0}));
  EXPECT_FALSE(P::foldingIsEffective({.anchorReady = false, .collapseLength = 700}));
  EXPECT_FALSE(P::foldingIsEffective({.anchorReady = true, .cliffGaveUp = true, .collapseLength = 700}));
  EXPECT_FALSE(P::foldingIsEffective({.anchorReady = true, .collapseLength = 32}));
  EXPECT_TRUE(P::foldingIsEffective({.anchorReady = true, .collapseLength = 33}));
}

TEST(CollapseReasons, UserReasonsReopenRepairAndStartupAlsoResetsNotice) {
  for (auto reason : {CollapseReason::explicitToggle, CollapseReason::menu, CollapseReason::appIntent,
                      CollapseReason::hotkey}) {
    EXPECT_TRUE(P::collapseAttemptReopensRepair(reason)) << rawValue(reason);
    EXPECT_TRUE(P::collapseResetsMenusNotice(reason)) << rawValue(reason);
  }
  EXPECT_FALSE(P::collapseAttemptReopensRepair(CollapseReason::startup));
  EXPECT_TRUE(P::collapseResetsMenusNotice(CollapseReason::startup));
  for (auto reason : {CollapseReason::cliffRetry, CollapseReason::shelfTimeout, CollapseReason::iconShelfDiscovery,
                      CollapseReason::nativeFallback, CollapseReason::iconShelfMenu, CollapseReason::placementGuide}) {
    EXPECT_FALSE(P::collapseAttemptReopensRepair(reason)) << rawValue(reason);
    EXPECT_FALSE(P::collapseResetsMenusNotice(reason)) << rawValue(reason);
  }
}

TEST(ModePredicates, PhysicalDividersWhileArrangingOrWithoutTheSystemEngine) {
  using P::NativeEngine;
  using P::PlacementHighlight;
  using P::PlacementMode;
  EXPECT_FALSE(P::usesPhysicalDividers(NativeEngine::available, PlacementMode::automatic, PlacementHighlight::hidden));
  EXPECT_TRUE(P::usesPhysicalDividers(NativeEngine::available, PlacementMode::manual, PlacementHighlight::hidden));
  EXPECT_TRUE(P::usesPhysicalDividers(NativeEngine::available, PlacementMode::automatic, PlacementHighlight::shown));
  EXPECT_TRUE(P::usesPhysicalDividers(NativeEngine::unavailable, PlacementMode::automatic, PlacementHighlight::hidden));
}

// ---- Geometry predicates --------------------------------------------------------------------

TEST(GeometryPredicates, RectOnConnectedScreen) {
  std::vector<Rect> screens = {{0, 0, 1440, 900}, {1440, 0, 1920, 1080}};
  EXPECT_TRUE(P::rectLiesOnConnectedScreen({1500, 1050, 20, 22}, screens));
  EXPECT_FALSE(P::rectLiesOnConnectedScreen({3400, 0, 20, 22}, screens));
  EXPECT_FALSE(P::rectLiesOnConnectedScreen({10, 10, 0, 22}, screens));
  EXPECT_TRUE(P::rectLiesOnConnectedScreen({-9000, 0, 20, 22}, {}));
}

}  // namespace
}  // namespace tarvolo
