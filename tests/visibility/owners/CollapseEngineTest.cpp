#include "app/AppEnvironment.h"
#include "visibility/owners/FoldPlaceholderController.h"
#include "harness/CollapseSettling.h"
#include "support/SimFixture.h"
#include "visibility/CollapseLengthCache.h"

namespace tarvolo::testing {
namespace {

using scenario::collapseProblems;
using scenario::countLogLines;

using MouseButton = sim::MouseButton;
using Verdict = MenuBarVisibilityPolicy::SeparatorLayoutVerdict;

constexpr const char* kScreen = "1512x982@0,0";
const std::string kEditorKey = std::string(kScreen) + "\tcom.example.editor";

// What the engine files under a stored per-app key.
PerAppKey filed(const std::string& storedKey) { return PerAppKey::parse(storedKey).value(); }

sim::SimAppSetup menusApp(const std::string& bundle, double menusWidth) {
  return sim::SimAppSetup{.bundleId = bundle, .name = bundle, .path = "/Applications/" + bundle + ".app",
                         .menusWidth = menusWidth};
}

double storedNumber(sim::SimDesktop& desktop, const std::string& key) {
  return desktop.defaults().getDouble(key).value_or(-1);
}

double storedEntry(sim::SimDesktop& desktop, const std::string& key, const std::string& entry) {
  auto value = desktop.defaults().object(key);
  if (!value || !value->asDictionary()) return -1;
  auto it = value->asDictionary()->find(entry);
  return it == value->asDictionary()->end() ? -1 : it->second.asDouble().value_or(-1);
}

// The screen-wide cliff, its tails and the shelf's always-hidden length are what the system
// from macOS 27 imposes (an item past half the display's width is dropped); before 27 the
// search runs to the menus and records no screen cliff.
DesktopOptions statusRegionLaptop() {
  DesktopOptions options;
  options.settings.osMajor = 27;
  return options;
}

class CollapseEngineTest : public SimAppTest {
 protected:
  void boot(DesktopOptions options = statusRegionLaptop()) { SimAppTest::boot(std::move(options)); }
  std::vector<std::string> problems() { return collapseProblems(desktop()); }
  std::size_t logMark() const { return session_->desktop().logSink().lines().size(); }
  int linesSince(std::size_t mark, const std::string& needle) { return countLogLines(desktop(), needle, mark); }
  // Runs until nothing is scheduled any more; a procedure that loops never gets there.
  void expectQuiescent(double within) {
    auto& queue = session().queue();
    std::size_t before = queue.executedCount();
    run(within);
    EXPECT_EQ(queue.pendingCount(), 0u) << "still scheduled after " << within << " s";
    EXPECT_LT(queue.executedCount() - before, 400u);
    std::size_t settled = queue.executedCount();
    run(120);
    EXPECT_EQ(queue.executedCount(), settled) << "work kept running while idle";
  }
  void settleFirstCollapse() {
    launch();
    run(3);
    ASSERT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
  }
};

TEST_F(CollapseEngineTest, FirstCollapseSearchesTheCliffThenVerifiesAndRemembersIt) {
  boot();
  launch();
  EXPECT_TRUE(logged("search begin low=32 high=724 readBack=16 screen=1512x982@0,0"));
  run(3);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_LE(controller().collapseEngine().cliff().cliffProbesMade(), 7);
  EXPECT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
  ASSERT_TRUE(controller().collapseEngine().verifier().collapseVerifiedAt());
  EXPECT_LE(*controller().collapseEngine().verifier().collapseVerifiedAt(), 3.0);
  EXPECT_TRUE(controller().state().foldingEffective);

  auto& d = desktop();
  ASSERT_TRUE(controller().collapseEngine().lengths().cliffCache());
  double cliff = controller().collapseEngine().lengths().cliffCache()->length;
  EXPECT_GT(cliff, 700);
  EXPECT_LE(cliff, 724);
  EXPECT_EQ(d.defaults().getString("com.ostrand.tarvolo.cliff.screen"), std::string(kScreen));
  EXPECT_EQ(storedNumber(d, "com.ostrand.tarvolo.cliff.length"), cliff);
  EXPECT_EQ(storedNumber(d, "com.ostrand.tarvolo.cliff.gap"), 90);  // three 30-pt icons
  EXPECT_EQ(storedEntry(d, "com.ostrand.tarvolo.cliff.perApp", kEditorKey), cliff);
  EXPECT_EQ(storedEntry(d, "com.ostrand.tarvolo.cliff.minGood", kScreen), cliff);
  EXPECT_EQ(storedEntry(d, "com.ostrand.tarvolo.cliff.maxGood", kEditorKey), cliff);
  EXPECT_EQ(storedEntry(d, "com.ostrand.tarvolo.cliff.goodGap", kScreen), 90);
  expectQuiescent(1);
}

TEST_F(CollapseEngineTest, SecondLaunchUsesTheRememberedLengthWithoutProbingAndVerifiesAtOnce) {
  boot();
  settleFirstCollapse();
  double cliff = controller().collapseEngine().lengths().cliffCache()->length;
  session().relaunch();
  const double launchedAt = session().now();
  auto mark = logMark();
  run(3);
  EXPECT_EQ(controller().collapseEngine().cliff().cliffProbesMade(), 0);
  EXPECT_EQ(linesSince(mark, "search begin"), 0);
  EXPECT_EQ(controller().collapseEngine().presentedBar().lastAppliedNormalLength, cliff);
  ASSERT_TRUE(controller().collapseEngine().verifier().collapseVerifiedAt());
  EXPECT_LE(*controller().collapseEngine().verifier().collapseVerifiedAt() - launchedAt, 0.5);
  EXPECT_EQ(problems(), std::vector<std::string>{});
}

TEST_F(CollapseEngineTest, RestoredLengthsAreFilteredByTheirScreenAndPrunedToConnectedScreens) {
  boot();
  auto& defaults = desktop().defaults();
  const std::string here = std::string(kScreen) + "\t";
  const std::string elsewhere = "2560x1440@1512,0";
  DefaultsValue::Dictionary perApp{{here + "com.example.fits", DefaultsValue(740.0)},
                                   {here + "com.example.toolong", DefaultsValue(741.0)},
                                   {here + "com.example.hidesnothing", DefaultsValue(30.0)},
                                   {elsewhere + "\tcom.example.fits", DefaultsValue(900.0)}};
  defaults.set("com.ostrand.tarvolo.cliff.perApp", DefaultsValue(perApp));
  defaults.set("com.ostrand.tarvolo.cliff.minGood",
               DefaultsValue(DefaultsValue::Dictionary{{kScreen, DefaultsValue(650.0)},
                                                       {elsewhere, DefaultsValue(800.0)}}));
  defaults.set("com.ostrand.tarvolo.cliff.screen", DefaultsValue(std::string(kScreen)));
  defaults.set("com.ostrand.tarvolo.cliff.length", DefaultsValue(700.0));
  defaults.set("com.ostrand.tarvolo.cliff.gap", DefaultsValue(90.0));
  launch();

  const auto& lengths = controller().collapseEngine().lengths().perAppLengths();
  // The tail ceiling of a 1512-wide screen is 740.
  EXPECT_EQ(lengths.perApp.count(filed(here + "com.example.fits")), 1u);
  EXPECT_EQ(lengths.perApp.count(filed(here + "com.example.toolong")), 0u);
  EXPECT_EQ(lengths.perApp.count(filed(here + "com.example.hidesnothing")), 0u);
  EXPECT_EQ(lengths.perApp.count(filed(elsewhere + "\tcom.example.fits")), 0u);
  EXPECT_EQ(lengths.knownGoodMinByScreen.count(ScreenKey(elsewhere)), 0u);
  EXPECT_EQ(storedEntry(desktop(), "com.ostrand.tarvolo.cliff.perApp", elsewhere + "\tcom.example.fits"), -1);
  // The cliff record and the pinned gap it carries are in force: no search.
  ASSERT_TRUE(controller().collapseEngine().lengths().cliffCache());
  EXPECT_EQ(controller().collapseEngine().lengths().cliffCache()->length, 700);
  EXPECT_EQ(storedEntry(desktop(), "com.ostrand.tarvolo.cliff.goodGap", kScreen), 90);
  run(2);
  EXPECT_EQ(controller().collapseEngine().cliff().cliffProbesMade(), 0);
  EXPECT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
}

// The frontmost app's menus reach far right of the notch: the remembered length would run
// into them. The collapse must settle shorter, with every menu title kept.
TEST_F(CollapseEngineTest, AFrontmostAppWithWiderMenusGetsItsOwnShorterLength) {
  DesktopOptions options = statusRegionLaptop();
  options.apps.push_back(menusApp("com.example.studio", 820));
  boot(options);
  settleFirstCollapse();
  double cliff = controller().collapseEngine().lengths().cliffCache()->length;

  controller().expandBar(ExpandDepth::deep, Initiator::user);
  desktop().setFrontmost("com.example.studio");
  run(1);
  int probesBefore = controller().collapseEngine().cliff().cliffProbesMade();
  controller().collapseBar(CollapseReason::menu);
  run(4);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_LE(controller().collapseEngine().cliff().cliffProbesMade() - probesBefore, 24);
  const std::string studio = std::string(kScreen) + "\tcom.example.studio";
  auto length = controller().collapseEngine().lengths().perAppLengths().length(filed(studio));
  ASSERT_TRUE(length);
  EXPECT_LT(*length, cliff);
  EXPECT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
  expectQuiescent(1);

  // The editor keeps its own, longer length.
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  desktop().setFrontmost("com.example.editor");
  run(1);
  controller().collapseBar(CollapseReason::menu);
  run(1);
  EXPECT_EQ(controller().collapseEngine().presentedBar().lastAppliedNormalLength, cliff);
  EXPECT_EQ(problems(), std::vector<std::string>{});
}

// One collapse reads the frontmost app and chooses its length once; what it applies, what the
// recovery keeps and what a verification files under all come from that one attempt.
TEST_F(CollapseEngineTest, OneCollapseMakesOneAttemptThatTheRecoveryKeeps) {
  DesktopOptions options = statusRegionLaptop();
  options.apps.push_back(menusApp("com.example.studio", 300));
  boot(options);
  settleFirstCollapse();
  const CollapseEngine& engine = controller().collapseEngine();
  const auto before = engine.collapseAttempts();
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(0.5);
  controller().collapseBar(CollapseReason::menu);
  EXPECT_EQ(engine.collapseAttempts(), before + 1);
  ASSERT_TRUE(engine.recovery().attempt());
  const CollapseAttempt attempt = *engine.recovery().attempt();
  EXPECT_EQ(attempt.reason, CollapseReason::menu);
  EXPECT_EQ(attempt.frontmostBundleID, BundleID("com.example.editor"));
  EXPECT_EQ(attempt.screenKey.text(), kScreen);
  EXPECT_EQ(attempt.generation, before + 1);
  EXPECT_EQ(engine.presentedBar().lastAppliedNormalLength, attempt.length);

  // Another app comes to the front before the verification: the collapse stays the editor's.
  desktop().setFrontmost("com.example.studio");
  ASSERT_EQ(desktop().processes().frontmostBundleId(), "com.example.studio");
  run(0.5);
  EXPECT_EQ(engine.recovery().collapseRecoveryTrigger(), BundleID("com.example.editor"));
  EXPECT_EQ(engine.recovery().currentPair().text(), kEditorKey);
  EXPECT_EQ(engine.collapseAttempts(), before + 1);
}

TEST_F(CollapseEngineTest, ChangingScreensMidSearchRestartsTheSearchOnTheNewScreens) {
  boot();
  launch();
  run(0.3);
  ASSERT_TRUE(controller().collapseEngine().cliff().cliffSearchInFlight());
  desktop().setScreens({sim::SimScreenSetup{.width = 1728, .height = 1117, .notchWidth = 185}});
  run(4);
  EXPECT_TRUE(logged("cliff abort reason=screens"));
  EXPECT_TRUE(logged("search begin low=32 high=832 readBack=16 screen=1728x1117@0,0"));
  EXPECT_EQ(problems(), std::vector<std::string>{});
  ASSERT_TRUE(controller().collapseEngine().lengths().cliffCache());
  EXPECT_EQ(controller().collapseEngine().lengths().cliffCache()->screenKey.text(), "1728x1117@0,0");
  EXPECT_LE(controller().collapseEngine().cliff().cliffProbesMade(), 2 * 24);
  expectQuiescent(1);
}

// The user expands while the first search still probes: the bar expands (no repair banner), and
// the search is owed to the next collapse.
TEST_F(CollapseEngineTest, ExpandingDuringTheSearchAbortsItAndTheNextCollapseSearchesAgain) {
  boot();
  launch();
  run(0.3);
  ASSERT_TRUE(controller().collapseEngine().cliff().cliffSearchInFlight());
  controller().toggleBar(ExpandDepth::normal);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(desktop().userInterface().notices().empty());
  EXPECT_TRUE(logged("cliff abort reason=expanded"));
  EXPECT_TRUE(controller().collapseEngine().cliff().cliffSearchOwed());
  run(1);
  EXPECT_TRUE(iconOnScreen("com.example.icon3"));
  controller().collapseBar(CollapseReason::menu);
  run(3);
  EXPECT_EQ(controller().collapseEngine().cliff().cliffSearchesStarted(), 2);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  expectQuiescent(1);
}

TEST_F(CollapseEngineTest, UnreadableFramesEndInOneStayExpandedNoticeNotALoop) {
  DesktopOptions options;
  options.settings.framesReadable = false;
  boot(options);
  launch();
  run(5);
  EXPECT_TRUE(logged("cliff gave up reason=baseline-no-window"));
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_FALSE(controller().state().foldingEffective);
  ASSERT_EQ(desktop().userInterface().notices().size(), 1u);
  EXPECT_EQ(desktop().userInterface().notices()[0].request.kind, "collapseStayExpanded");
  EXPECT_EQ(controller().collapseEngine().cliff().cliffProbesMade(), 0);
  EXPECT_EQ(session().queue().pendingCount(), 0u);

  // Failing again within a minute shows nothing new; after a minute it does.
  session().runUntil(30);
  controller().collapseBar(CollapseReason::menu);
  run(5);
  EXPECT_EQ(desktop().userInterface().notices().size(), 1u);
  session().runUntil(70);
  controller().collapseBar(CollapseReason::menu);
  run(5);
  EXPECT_EQ(desktop().userInterface().notices().size(), 2u);
  // Three give-ups start at most four retry campaigns, each bounded.
  expectQuiescent(30);
  EXPECT_LE(controller().collapseEngine().cliff().cliffCampaigns(), 4);
  EXPECT_TRUE(controller().state().isExpanded);
}

TEST_F(CollapseEngineTest, LateFramesAreReadAgainAndStillSettle) {
  DesktopOptions options;
  options.settings.frameLatency = 0.3;  // a probe read after 0.2 s still sees the previous layout
  boot(options);
  launch();
  run(5);
  EXPECT_TRUE(logged("reason=unread"));
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
  expectQuiescent(1);
}

TEST_F(CollapseEngineTest, ASharedWindowIsJudgedByTheButton) {
  DesktopOptions options;
  options.settings.sharedWindowItems = {OwnStatusItems::separatorAutosaveName};
  boot(options);
  settleFirstCollapse();
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_TRUE(logged("verdict=shared-host"));
}

// No notch and narrow menus before macOS 27: the system takes far longer items than half the
// width, so the search may use the room up to the screen's edge and reaches the menus without
// a tail.
TEST_F(CollapseEngineTest, BeforeMacOS27TheSearchReachesNarrowMenusOnAWideBar) {
  DesktopOptions options;
  options.screens = {plainDisplay()};
  options.settings.osMajor = 14;
  boot(options);
  launch();
  run(4);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
  EXPECT_GT(*controller().collapseEngine().presentedBar().lastAppliedNormalLength, 1920 / 2);
  EXPECT_EQ(loggedCount("fold tail noted"), 0);
  EXPECT_EQ(loggedCount("collapse underfold"), 0);
  EXPECT_EQ(controller().collapseEngine().cliff().cliffSearchesStarted(), 1);
  EXPECT_FALSE(controller().state().isExpanded);
  expectQuiescent(1);
}

TEST_F(CollapseEngineTest, OnMacOS27ThePlaceholderFillsTheRoomOneItemCannot) {
  DesktopOptions options;
  options.screens = {sim::SimScreenSetup{.width = 3008, .height = 1692}};
  options.settings.osMajor = 27;
  boot(options);
  launch();
  ASSERT_TRUE(controller().collapseEngine().fold().foldPlaceholder());
  run(3);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_EQ(controller().collapseEngine().fold().foldPlaceholder()->placedBesideFold(), true);
  // Up to the menus, less room for the overflow chevron.
  auto placeholder = controller().collapseEngine().fold().foldPlaceholder()->frame();
  ASSERT_TRUE(placeholder);
  EXPECT_EQ(placeholder->minX(), desktop().bar().menusRightEdge() + 52);
  EXPECT_LT(*controller().collapseEngine().presentedBar().lastAppliedNormalLength, 3008 / 2 - 16);

  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(1);
  EXPECT_EQ(controller().collapseEngine().fold().foldPlaceholder()->appliedLength(), 4);
}

TEST_F(CollapseEngineTest, AMisplacedPlaceholderIsPlacedAgainBesideTheFold) {
  DesktopOptions options;
  options.settings.osMajor = 27;
  // An icon whose stored position lies between the fold's (35) and the placeholder's seed (36).
  options.apps.push_back(sim::SimAppSetup{.bundleId = "com.example.squeezed", .name = "Squeezed",
                                         .activation = platform::ActivationPolicy::accessory, .menusWidth = 0,
                                         .items = {sim::SimItemSetup{.width = 30, .position = 35.5}}});
  boot(options);
  launch();
  run(3);
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(2);
  EXPECT_TRUE(logged("fold placeholder replaced"));
  EXPECT_EQ(controller().collapseEngine().fold().foldPlaceholder()->placedBesideFold(), true);
  EXPECT_EQ(controller().collapseEngine().fold().foldPlaceholder()->replacements(), 1);
}

// The always-visible zone grows by one icon: the next collapse must be judged against the new
// gap, not the remembered one (which would read as the separator running into the menus).
TEST_F(CollapseEngineTest, AnIconDraggedAcrossTheSeparatorIsNoticedAndTheNextCollapseJudgedAfresh) {
  boot();
  settleFirstCollapse();
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(1);
  auto separator = *desktop().bar().ownItem(OwnStatusItems::separatorAutosaveName)->frame;
  ASSERT_TRUE(desktop().events().commandDragItem("com.example.icon3", separator.maxX() + 5));
  run(3);
  EXPECT_EQ(loggedCount("gap crossing=pinnedFolded"), 1);
  EXPECT_TRUE(logged("gap pinned remembered gap=120 was=90"));

  controller().collapseBar(CollapseReason::menu);
  run(1);
  EXPECT_EQ(controller().collapseEngine().verifier().lastCollapseVerdict(), Verdict::laidOut);
  EXPECT_EQ(problems(), std::vector<std::string>{});
  EXPECT_TRUE(iconOnScreen("com.example.icon3"));
}

// The normal expanded bar is measured like a collapse: an always-hidden length the system ejects
// is searched again, and what the search found is used from then on, after a relaunch too.
TEST_F(CollapseEngineTest, TheShelfsAlwaysHiddenLengthIsSearchedWhenRejectedAndRemembered) {
  boot(DesktopOptions{});
  settleFirstCollapse();
  // Both separators short: the distance between them is read.
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(1);
  desktop().mutableSettings().ejectionLength = 400;
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  run(3);
  EXPECT_TRUE(logged("shelf hidden search begin"));
  const auto* hidden = desktop().bar().ownItem(OwnStatusItems::alwaysHiddenAutosaveName);
  EXPECT_FALSE(hidden->rejected);
  EXPECT_EQ(desktop().bar().menuTitlesDropped(), 0);
  EXPECT_TRUE(iconOnScreen("com.example.icon3"));
  const double remembered = storedEntry(desktop(), "com.ostrand.tarvolo.shelf.hiddenLength", kEditorKey);
  EXPECT_GT(remembered, 16);
  EXPECT_LE(remembered, 400);
  EXPECT_EQ(controller().collapseEngine().presentedBar().lastAppliedHiddenLength, remembered);

  session().relaunch();
  run(3);
  auto mark = logMark();
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  run(2);
  EXPECT_EQ(linesSince(mark, "shelf hidden search begin"), 0);
  EXPECT_EQ(controller().collapseEngine().presentedBar().lastAppliedHiddenLength, remembered);
  EXPECT_FALSE(desktop().bar().ownItem(OwnStatusItems::alwaysHiddenAutosaveName)->rejected);
  // The auto-collapse timer of the expansion is not what this checks.
  controller().autoCollapse().scheduleAutoCollapseTimer(std::nullopt);
  expectQuiescent(1);
}

// Before macOS 27 the always-hidden separator stands left of the hidden zone: at the whole
// collapse length it would run into the menus by about that zone's width.
TEST_F(CollapseEngineTest, TheShelfKeepsTheMenusWholeAndTheAlwaysHiddenZoneHidden) {
  boot(DesktopOptions{});
  settleFirstCollapse();
  const double collapsed = *controller().collapseEngine().presentedBar().lastAppliedNormalLength;
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  run(3);
  EXPECT_LT(*controller().collapseEngine().presentedBar().lastAppliedHiddenLength, collapsed);
  EXPECT_EQ(desktop().bar().menuTitlesDropped(), 0);
  EXPECT_FALSE(iconOnScreen("com.example.icon5"));
  EXPECT_TRUE(iconOnScreen("com.example.icon3"));
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(1);
  EXPECT_TRUE(iconOnScreen("com.example.icon5"));
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  run(3);
  EXPECT_EQ(desktop().bar().menuTitlesDropped(), 0);
  EXPECT_FALSE(iconOnScreen("com.example.icon5"));
}

}  // namespace
}  // namespace tarvolo::testing
