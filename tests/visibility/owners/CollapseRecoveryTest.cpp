// Collapse recovery end to end: what the app does when the system rejects a collapse length,
// judged by the log, the bar, the notices and the stored lengths.
//
// The desktop is the 14-inch laptop of SimFixture with the remembered cliff of an earlier run
// (718 on this screen). With 110 points of system items the separator's right edge stands at
// 1282, so a length L ends at 1282 - L: apps below are given menus that end just right of that.

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "harness/CollapseSettling.h"
#include "harness/Scenario.h"
#include "support/SimFixture.h"
#include "visibility/CollapseLengthCache.h"

namespace tarvolo::testing {
namespace {

constexpr const char* kScreen = "1512x982@0,0";
constexpr const char* kWide = "com.example.wide";
constexpr double kCliff = 718;
constexpr double kSeparatorRightEdge = 1282;

// An app whose menus end at `menusRight`, the last title `lastTitle` wide: a separator whose far
// edge stops less than `lastTitle` short of `menusRight` makes the system drop that one title.
sim::SimAppSetup appWithMenusEndingAt(const std::string& bundle, double menusRight, double lastTitle) {
  std::vector<double> titles = {36};
  double remaining = menusRight - 36 - lastTitle;
  for (; remaining > 45; remaining -= 40) titles.push_back(40);
  if (remaining > 0) titles.push_back(remaining);
  titles.push_back(lastTitle);
  return sim::SimAppSetup{.bundleId = bundle, .name = bundle, .path = "/Applications/" + bundle + ".app",
                         .menuTitleWidths = titles};
}

// The cliff's far edge would end 10 points among this app's menus, in its last title.
sim::SimAppSetup menusTenPastTheCliffsEdge() {
  return appWithMenusEndingAt(kWide, kSeparatorRightEdge - kCliff + 10, 30);
}

double storedEntry(sim::SimDesktop& desktop, const char* key, const std::string& entry) {
  auto value = desktop.defaults().object(key);
  if (!value || !value->asDictionary()) return -1;
  auto it = value->asDictionary()->find(entry);
  return it == value->asDictionary()->end() ? -1 : it->second.asDouble().value_or(-1);
}

class CollapseRecoveryTest : public SimAppTest {
 protected:
  // Boots on the laptop with the cliff, its gap and the screen's shortest verified length as an
  // earlier run stored them, plus `perApp` lengths of this screen.
  void bootRemembering(DesktopOptions options, std::vector<std::pair<std::string, double>> perApp = {},
                       double shortestGood = kCliff) {
    boot(std::move(options));
    auto& defaults = desktop().defaults();
    defaults.set(cliffScreenDefaultsKey, DefaultsValue(std::string(kScreen)));
    defaults.set(cliffLengthDefaultsKey, DefaultsValue(kCliff));
    defaults.set(cliffGapDefaultsKey, DefaultsValue(90.0));
    defaults.set(cliffMinGoodDefaultsKey,
                 DefaultsValue(DefaultsValue::Dictionary{{kScreen, DefaultsValue(shortestGood)}}));
    DefaultsValue::Dictionary lengths;
    for (const auto& [bundle, length] : perApp) lengths.emplace(pairKey(bundle), DefaultsValue(length));
    if (!lengths.empty()) defaults.set(cliffPerAppDefaultsKey, DefaultsValue(lengths));
  }
  static std::string pairKey(const std::string& bundle) { return std::string(kScreen) + "\t" + bundle; }

  // The user's two moves, through the toggle's context menu: show every icon, collapse.
  void showAll() { choose("menuShowAll"); }
  void collapse() { choose("menuCollapse"); }
  void choose(const char* action) {
    ASSERT_TRUE(desktop().events().clickOwnItem(scenario::autosaveName(scenario::OwnItem::toggle),
                                       sim::MouseButton::right));
    run(0.05);
    ASSERT_TRUE(desktop().menus().chooseMenuAction(action));
  }
  // Brings `bundle` to the front while every icon is shown, and lets the bar settle.
  void activateShowingAll(const std::string& bundle) {
    showAll();
    desktop().setFrontmost(bundle);
    run(1);
  }

  std::size_t mark() const { return session_->desktop().logSink().lines().size(); }
  int linesSince(std::size_t from, const std::string& needle) const {
    return scenario::countLogLines(session_->desktop(), needle, from);
  }
  // The action of every recovery step logged since `from`.
  std::vector<std::string> recoveryActionsSince(std::size_t from) const {
    std::vector<std::string> actions;
    const auto& lines = session_->desktop().logSink().lines();
    for (std::size_t i = from; i < lines.size(); ++i) {
      const std::string& text = lines[i].message;
      if (text.find("collapse recovery verdict=") == std::string::npos) continue;
      const auto at = text.find("action=") + 7;
      actions.push_back(text.substr(at, text.find(' ', at) - at));
    }
    return actions;
  }
  std::vector<std::string> problems() { return scenario::collapseProblems(desktop()); }
  void moveSystemItemsEdgeLeft(double points) { desktop().mutableSettings().systemItemsWidth += points; }
};

// ---- The app menus

TEST_F(CollapseRecoveryTest, MenusThatMeetTheSeparatorMakeItStepDownOnceAndTheShorterLengthHolds) {
  DesktopOptions options;
  options.apps.push_back(menusTenPastTheCliffsEdge());
  bootRemembering(options);
  launch();
  run(2);
  activateShowingAll(kWide);

  const auto from = mark();
  collapse();
  run(0.45);
  EXPECT_EQ(linesSince(from, "collapse verify length=718 verdict=menus-evicted"), 1);
  EXPECT_EQ(linesSince(from, "collapse recovery verdict=menus-evicted phase=stepped action=stepDown length=718 "
                             "next=702"),
            1);
  run(1);
  EXPECT_EQ(linesSince(from, "collapse length verified length=702 frontmost=com.example.wide"), 1);
  EXPECT_EQ(recoveryActionsSince(from), std::vector<std::string>{"stepDown"});
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_EQ(desktop().bar().menuTitlesDropped(), 0);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_EQ(storedEntry(desktop(), cliffPerAppDefaultsKey, pairKey(kWide)), 702);
}

// Each collapse may step down once; a screen/app pair that keeps needing it gets six steps,
// then the search. The user opens the bar again before every shorter length is judged, so no
// collapse of the pair succeeds in between; system items appearing on the right keep the far
// edge among the menus. An app that quits and comes back starts afresh.
TEST_F(CollapseRecoveryTest, StepDownsStopAfterSixPerScreenAndAppUntilTheAppRelaunches) {
  DesktopOptions options;
  options.apps.push_back(menusTenPastTheCliffsEdge());
  bootRemembering(options);
  launch();
  run(2);
  activateShowingAll(kWide);

  double length = kCliff;
  for (int round = 1; round <= 7; ++round) {
    const auto from = mark();
    collapse();
    run(0.45);
    ASSERT_EQ(linesSince(from, "collapse reason=menu length=" + numberText(length)), 1) << "round " << round;
    const std::vector<std::string> expected = {round <= 6 ? "stepDown" : "search"};
    EXPECT_EQ(recoveryActionsSince(from), expected) << "round " << round;
    length -= 16;
    moveSystemItemsEdgeLeft(16);
    showAll();
    run(1);
  }

  desktop().terminateApp(kWide);
  desktop().launchApp(kWide);
  desktop().mutableSettings().systemItemsWidth = 110;
  activateShowingAll(kWide);
  const auto from = mark();
  collapse();
  run(0.45);
  EXPECT_EQ(linesSince(from, "collapse reason=menu length=718"), 1);
  EXPECT_EQ(recoveryActionsSince(from), std::vector<std::string>{"stepDown"});
}

// The step, and the screen's shorter verified length, still run into this app's menus: the user
// is told once, and the bar drops to the normal expanded presentation, showing the app's folded
// icons rather than fighting its menus.
TEST_F(CollapseRecoveryTest, WhenNothingClearsTheMenusTheNoticeComesWithTheNormalExpandedBar) {
  DesktopOptions options;
  options.apps.push_back(appWithMenusEndingAt(kWide, kSeparatorRightEdge - 680 + 35, 40));
  bootRemembering(options, {{kWide, 680}}, 650);
  launch();
  run(2);
  activateShowingAll(kWide);

  const auto from = mark();
  collapse();
  run(2);
  EXPECT_EQ(recoveryActionsSince(from), (std::vector<std::string>{"stepDown", "applyKnownGood", "noticeMenus"}));
  EXPECT_EQ(linesSince(from, "collapse recovery verdict=menus-evicted phase=capped action=noticeMenus length=650"), 1);
  EXPECT_EQ(linesSince(from, "collapse notice kind=collapseMenus message=collapse_menus_made_room"), 1);
  EXPECT_EQ(linesSince(from, "collapse dropped to shelf frontmost=com.example.wide"), 1);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_FALSE(controller().state().isDeepExpanded);
  ASSERT_EQ(desktop().userInterface().notices().size(), 1u);
  EXPECT_EQ(desktop().userInterface().notices()[0].request.kind, "collapseMenus");
  EXPECT_EQ(desktop().bar().menuTitlesDropped(), 0);
}

// ---- Ejection

TEST_F(CollapseRecoveryTest, ACachedLengthTheSystemNowEjectsIsForgottenAndSearchedAgain) {
  bootRemembering({});
  launch();
  run(2);
  desktop().mutableSettings().ejectionLength = 500;
  showAll();
  run(1);

  const auto from = mark();
  collapse();
  run(0.45);
  EXPECT_EQ(linesSince(from, "collapse verify length=718 verdict=ejected"), 1);
  EXPECT_EQ(linesSince(from, "cliff forgotten length=718 screen=1512x982@0,0"), 1);
  EXPECT_EQ(recoveryActionsSince(from), std::vector<std::string>{"search"});
  EXPECT_EQ(linesSince(from, "search begin"), 1);
  run(5);
  EXPECT_EQ(linesSince(from, "cliff settled"), 1);
  const double cliff = desktop().defaults().getDouble(cliffLengthDefaultsKey).value_or(-1);
  EXPECT_GT(cliff, 450);
  EXPECT_LE(cliff, 500);
  EXPECT_EQ(linesSince(from, "collapse length verified length=" + numberText(cliff)), 1);
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_TRUE(desktop().userInterface().notices().empty());
  EXPECT_EQ(problems(), std::vector<std::string>{});
}

// The user opens the bar while the new search still probes. The next collapse must not try the
// length the system just threw out.
TEST_F(CollapseRecoveryTest, ARejectedLengthIsNotTriedAgainWithinTheCooldown) {
  bootRemembering({});
  launch();
  run(2);
  desktop().mutableSettings().ejectionLength = 500;
  showAll();
  run(1);
  collapse();
  run(0.6);
  ASSERT_TRUE(logged("search begin"));
  showAll();
  run(1);

  const auto from = mark();
  collapse();
  EXPECT_EQ(linesSince(from, "collapse reason=menu length=702"), 1);
}

// ---- Budgets and screens

// A screen that goes and comes back is a new arrangement: its budgets went with it.
TEST_F(CollapseRecoveryTest, AScreenThatComesBackStartsWithFreshBudgets) {
  DesktopOptions options;
  options.apps.push_back(menusTenPastTheCliffsEdge());
  bootRemembering(options);
  launch();
  run(2);
  activateShowingAll(kWide);
  collapse();
  run(1.5);
  ASSERT_TRUE(logged("collapse length verified length=702 frontmost=com.example.wide"));

  showAll();
  desktop().setScreens({plainDisplay()});
  run(1);
  desktop().setScreens({notchedLaptop()});
  run(1);
  const auto from = mark();
  collapse();
  run(0.45);
  EXPECT_EQ(linesSince(from, "collapse reason=menu length=718 frontmost=com.example.wide"), 1);
  EXPECT_EQ(recoveryActionsSince(from), std::vector<std::string>{"stepDown"});
}

// ---- Verification

// A window server slower than the verification: read again, up to three times.
TEST_F(CollapseRecoveryTest, AnUnreadableVerificationIsRetriedThreeTimesThenLeft) {
  DesktopOptions options;
  options.settings.frameLatency = 0.5;
  bootRemembering(options);
  launch();
  run(2);
  EXPECT_EQ(loggedCount("collapse verify length=718 verdict=unread"), 1);
  EXPECT_EQ(loggedCount("collapse verify length=718 verdict=laidOut"), 1);

  desktop().mutableSettings().framesReadable = false;
  showAll();
  run(1);
  const auto from = mark();
  collapse();
  run(3);
  EXPECT_EQ(linesSince(from, "collapse verify length=718 verdict=unread"), 4);
  EXPECT_EQ(linesSince(from, "collapse verify unread attempts=4"), 1);
  EXPECT_EQ(session().queue().pendingCount(), 0u);
}

}  // namespace
}  // namespace tarvolo::testing
