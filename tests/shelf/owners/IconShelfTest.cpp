#include <gtest/gtest.h>

#include "app/AppEnvironment.h"
#include "permissions/AccessibilityPermission.h"
#include "platform/sim/SimAccessibility.h"
#include "shelf/owners/ExternalMenuAccessSession.h"
#include "shelf/owners/MenuBarAccessController.h"
#include "shelf/owners/NativeStatusItemClick.h"
#include "support/SimFixture.h"

namespace tarvolo::testing {
namespace {

using sim::SimDesktop;

class IconShelfTest : public SimAppTest {
 protected:
  void start(std::vector<sim::SimAppSetup> apps, sim::SimSettings settings = {}) {
    boot({.apps = std::move(apps), .settings = std::move(settings)});
    launch();
    run(1);
  }
  MenuBarAccessController& shelf() { return *session().delegate()->environment()->iconShelf(); }
  const platform::IconShelfViewState& panel() { return *desktop().userInterface().iconShelfPanel().lastState(); }
  std::vector<std::string> rowNames() {
    std::vector<std::string> names;
    for (const auto& row : panel().rows) names.push_back(row.name);
    return names;
  }
  static sim::SimAppSetup app(std::string bundle, std::string name, double position) {
    return {.bundleId = std::move(bundle), .name = std::move(name), .items = {{.width = 30, .position = position}}};
  }
};

TEST_F(IconShelfTest, TypingFindsByNameAndPinyinAndTheTierPersists) {
  start({app("com.tencent.xinWeChat", "微信", 40), app("com.apple.Safari", "Safari", 45), app("com.example.c", "Cloud", 50)});
  shelf().showShelf(std::nullopt);
  run(0.1);
  EXPECT_EQ(rowNames().size(), 3u);
  shelf().setQuery("wx");
  EXPECT_EQ(rowNames(), std::vector<std::string>{"微信"});
  shelf().setQuery("saf");
  ASSERT_EQ(panel().rows.size(), 1u);
  EXPECT_TRUE(panel().rows.front().selected);  // Return opens the best match at once
  shelf().selectTier(MenuBarAccessTier::hidden);
  EXPECT_EQ(desktop().defaults().getString("iconShelfSelectedTier"), "hidden");
  EXPECT_TRUE(rowNames().empty());  // no saved zones: a zone tier lists nothing
  // Esc clears the query, then closes the field, then the shelf.
  shelf().escape();
  EXPECT_EQ(panel().query, "");
  shelf().escape();
  EXPECT_FALSE(panel().searchExpanded);
  shelf().escape();
  EXPECT_FALSE(shelf().isShelfShown());
}

// Typing selects the row that matches best, wherever it stands in the bar: Return opens "Sync"
// for "sync", not the "Notes Sync" scanned before it.
TEST_F(IconShelfTest, TypingListsTheBestMatchFirstAndSelectsIt) {
  for (double syncPosition : {40.0, 60.0}) {
    SCOPED_TRACE(syncPosition);
    start({app("com.example.notessync", "Notes Sync", 50), app("com.example.sync", "Sync", syncPosition)});
    shelf().showShelf(std::nullopt);
    run(0.1);
    shelf().setQuery("sync");
    EXPECT_EQ(rowNames(), (std::vector<std::string>{"Sync", "Notes Sync"}));
    ASSERT_FALSE(panel().rows.empty());
    EXPECT_TRUE(panel().rows.front().selected);
  }
}

// A keystroke only compares: the rows' search keys, saved zones and panel rows are derived when
// the rows or the zones change, never per keystroke, and a change of either is not missed.
TEST_F(IconShelfTest, TypingReusesWhatOnlyTheRowsDecide) {
  start({app("com.example.notes", "Notes Sync", 40), app("com.example.sync", "Sync", 45), app("com.example.c", "Cloud", 50)});
  shelf().showShelf(std::nullopt);
  run(0.1);
  ASSERT_EQ(rowNames().size(), 3u);
  const auto& model = shelf().model();
  const int derivations = model.rowDerivations();
  const int rowViewBuilds = shelf().rowViewBuilds();
  for (const char* query : {"s", "sy", "syn", "sync", "", "cl"}) shelf().setQuery(query);
  EXPECT_EQ(rowNames(), std::vector<std::string>{"Cloud"});
  shelf().selectTier(MenuBarAccessTier::hidden);
  shelf().setQuery("");
  shelf().setQuery("c");
  EXPECT_TRUE(rowNames().empty());
  EXPECT_EQ(model.rowDerivations(), derivations + 1);  // the zones, read once for the tier filter
  EXPECT_EQ(shelf().rowViewBuilds(), rowViewBuilds);

  // A zone saved while the shelf is open counts from the next keystroke on.
  session().delegate()->environment()->categoryStore().setCategory("com.example.c", ItemCategory::hidden);
  shelf().setQuery("");
  EXPECT_EQ(rowNames(), std::vector<std::string>{"Cloud"});
  shelf().selectTier(MenuBarAccessTier::all);

  // New rows are derived once, and typing finds them.
  desktop().addApp(app("com.example.d", "Drive", 55));
  shelf().model().refresh(MenuBarAccessModel::RetainMissing::yes, MenuBarAccessModel::Diagnostics::off);
  run(1);
  ASSERT_EQ(rowNames().size(), 4u);
  const int rescanned = model.rowDerivations();
  const int rebuilt = shelf().rowViewBuilds();
  EXPECT_GT(rebuilt, rowViewBuilds);
  for (const char* query : {"d", "dr", "drive"}) shelf().setQuery(query);
  EXPECT_EQ(rowNames(), std::vector<std::string>{"Drive"});
  ASSERT_EQ(panel().rows.size(), 1u);
  EXPECT_TRUE(panel().rows.front().selected);
  EXPECT_EQ(model.rowDerivations(), rescanned);
  EXPECT_EQ(shelf().rowViewBuilds(), rebuilt);
}

// An input method types the ideographic space; pasted text brings no-break and em spaces.
TEST_F(IconShelfTest, EveryUnicodeSpaceSeparatesSearchWords) {
  start({app("com.tencent.xinWeChat", "微信", 40), app("com.example.dw", "Deep Work", 45), app("com.example.c", "Cloud", 50)});
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().setQuery("微\u3000信");
  EXPECT_EQ(rowNames(), std::vector<std::string>{"微信"});
  for (const char* query : {"deep\u00A0work", "work\u2003deep", "\u3000deep  work\u3000"}) {
    shelf().setQuery(query);
    EXPECT_EQ(rowNames(), std::vector<std::string>{"Deep Work"}) << query;
  }
  // Only white space: nothing to narrow by.
  shelf().setQuery("\u3000\u00A0");
  EXPECT_EQ(rowNames().size(), 3u);
  // A malformed byte stays in its word and matches nothing, without harm.
  shelf().setQuery("deep \xFF");
  EXPECT_TRUE(rowNames().empty());
}

// The app's main menu carries the standard Edit and Window commands next to its own, so the
// keys every text field relies on reach the shelf's search field and the settings window.
TEST_F(IconShelfTest, TheMainMenusEditAndWindowCommandsReachTheKeyWindow) {
  start({app("com.apple.Safari", "Safari", 45), app("com.example.c", "Cloud", 50)});
  auto& input = desktop().events();
  auto& application = desktop().application();
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().find();  // ⌘F: the search field opens with the focus
  application.setPasteboard("saf");
  ASSERT_TRUE(input.pressMainMenuShortcut("v"));
  EXPECT_EQ(panel().query, "saf");
  EXPECT_EQ(rowNames(), std::vector<std::string>{"Safari"});
  // ⌘A then ⌘X takes the whole query; ⌘V puts it back.
  ASSERT_TRUE(input.pressMainMenuShortcut("a"));
  ASSERT_TRUE(input.pressMainMenuShortcut("x"));
  EXPECT_EQ(panel().query, "");
  EXPECT_EQ(application.pasteboard(), "saf");
  ASSERT_TRUE(input.pressMainMenuShortcut("v"));
  EXPECT_EQ(panel().query, "saf");
  ASSERT_TRUE(input.pressMainMenuShortcut("z", true));  // redo is there, though nothing answers it
  shelf().closeShelf();

  auto& settings = desktop().userInterface().preferences();
  ASSERT_TRUE(input.pressMainMenuShortcut(","));
  run(0.1);
  ASSERT_TRUE(settings.isShown());
  settings.controls().selectTab(platform::PreferencesTab::items);
  application.setPasteboard("Cloud");
  ASSERT_TRUE(input.pressMainMenuShortcut("v"));
  EXPECT_EQ(settings.showing()->items.searchText, "Cloud");
  ASSERT_TRUE(input.pressMainMenuShortcut("w"));
  EXPECT_FALSE(settings.isShown());
}

// The shelf's panel does not activate the app, so coming back from System Settings is never
// reported: while the panel asks for the permission, the answer is read again every few seconds.
TEST_F(IconShelfTest, ThePermissionIsReadAgainWhileTheShelfAsksForIt) {
  start({app("com.apple.Safari", "Safari", 45)});
  desktop().accessibility().setTrusted(false);
  session().delegate()->environment()->accessibilityPermission().recheck();
  shelf().showShelf(std::nullopt);
  run(0.1);
  ASSERT_TRUE(panel().permissionText.has_value());
  desktop().accessibility().setTrusted(true);  // granted in System Settings; Tarvolo stays inactive
  run(AccessibilityPermission::askingPollInterval + 0.5);
  EXPECT_FALSE(panel().permissionText.has_value());
  EXPECT_EQ(rowNames(), std::vector<std::string>{"Safari"});
}

TEST_F(IconShelfTest, ABlockingPressWithItsMenuOpenCountsAsOpened) {
  auto blocking = app("com.example.block", "Blocker", 40);
  blocking.pressBlocks = true;
  start({blocking});
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  run(3);
  ASSERT_NE(desktop().menus().foreignMenu(), nullptr);
  EXPECT_TRUE(logged("action=AXPress result=-25204 menuVisible=true accepted=true"));
  EXPECT_FALSE(logged("iconShelf attempt bundle=com.example.block action=AXShowMenu"));
  EXPECT_TRUE(shelf().menuSessionActive());
}

// Every Accessibility message waits on another process: the shelf's reads, its menu opening
// and the catalogue's scans send theirs from background queues, so a hung app never stalls
// the main thread, on macOS 26 and on 27 where the system engine also checks its effect.
TEST_F(IconShelfTest, TheMainThreadSendsNoAccessibilityMessage) {
  for (int osMajor : {26, 27}) {
    sim::SimSettings settings;
    settings.osMajor = osMajor;
    settings.accessibilityRoundTrip = 0.01;
    settings.assessmentMode = {.offered = true, .activation = sim::SimActivation::succeeds, .activationDelay = 0.1};
    start({app("com.apple.Safari", "Safari", 45), app("com.example.c", "Cloud", 50)}, settings);
    shelf().showShelf(std::nullopt);
    run(0.5);
    shelf().setQuery("saf");
    shelf().activateSelection();
    run(2);
    shelf().closeShelf();
    controller().toggleBar(ExpandDepth::normal);
    run(3);
    controller().toggleBar(ExpandDepth::normal);
    run(3);
    EXPECT_EQ(desktop().waits().mainThreadAccessibilityCalls(), std::vector<std::string>{}) << "macOS " << osMajor;
  }
}

TEST_F(IconShelfTest, AnItemWithoutPressGetsShowMenuFirst) {
  auto showOnly = app("com.example.show", "Shower", 40);
  showOnly.accessibilityActions = std::vector<std::string>{"AXShowMenu"};
  start({showOnly});
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  run(1);
  ASSERT_FALSE(desktop().accessibility().performed().empty());
  EXPECT_EQ(desktop().accessibility().performed().front().rfind("AXShowMenu", 0), 0u);
}

TEST_F(IconShelfTest, TheGuardedClickCarriesTheMarkerAndPutsTheCursorBack) {
  auto refusing = app("com.example.refuse", "Refuser", 40);
  refusing.refusesActions = true;
  start({refusing});
  const Point before = desktop().events().cursorTopLeft();
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  run(2);
  ASSERT_EQ(desktop().events().postedEvents().size(), 2u);
  for (const auto& posted : desktop().events().postedEvents()) {
    EXPECT_EQ(posted.event.userData, NativeStatusItemClick::eventMarker);
    EXPECT_EQ(posted.event.clickState, 1);
    EXPECT_EQ(posted.event.modifierFlags.raw, 0u);
  }
  EXPECT_NEAR(desktop().events().postedEvents()[1].time - desktop().events().postedEvents()[0].time, 0.04, 1e-9);
  EXPECT_EQ(desktop().events().cursorTopLeft(), before);
  ASSERT_NE(desktop().menus().foreignMenu(), nullptr);
  EXPECT_EQ(desktop().menus().foreignMenu()->openedBy, "click");
}

TEST_F(IconShelfTest, NoClickWithoutThePostEventPermission) {
  auto refusing = app("com.example.refuse", "Refuser", 40);
  refusing.refusesActions = true;
  start({refusing}, {.postEventAccess = false});
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  run(2);
  EXPECT_TRUE(desktop().events().postedEvents().empty());
  EXPECT_EQ(panel().errorText, "This menu could not be opened.");
  // The bar it expanded to reach the hidden icon folds again.
  EXPECT_TRUE(logged("collapse reason=icon-shelf-menu"));
  EXPECT_FALSE(controller().state().isExpanded);
}

TEST_F(IconShelfTest, TheSessionEndsOnlyWhenNoMenuIsLeftAndTheBarCollapsesAgain) {
  start({app("com.example.a", "Alpha", 40)});
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  run(1);
  ASSERT_TRUE(shelf().menuSessionActive());
  EXPECT_TRUE(controller().state().isExpanded);
  desktop().events().pressKey(49);  // Space: no check
  run(1);
  EXPECT_TRUE(shelf().menuSessionActive());
  desktop().events().pressKey(53);  // Escape closes the menu; the check 0.2 s later ends the session
  run(0.1);
  EXPECT_TRUE(shelf().menuSessionActive());
  run(0.3);
  EXPECT_FALSE(shelf().menuSessionActive());
  EXPECT_TRUE(logged("collapse reason=icon-shelf-menu"));
  EXPECT_FALSE(controller().state().isExpanded);
}

// A read of an app that does not answer takes its whole time-out (0.5 s) on the scan queue.
class IconShelfReadTest : public IconShelfTest {
 protected:
  void start() {
    auto slow = app("com.example.slow", "Slow", 45);
    slow.accessibilityUnresponsive = true;
    IconShelfTest::start({app("com.example.a", "Alpha", 40), slow});
  }
  int scans() { return loggedCount("iconShelf scan "); }
};

TEST_F(IconShelfReadTest, AReadStillRunningWhenTheShelfClosesNeverLands) {
  start();
  shelf().showShelf(std::nullopt);
  run(0.1);
  ASSERT_TRUE(shelf().model().isLoading.get());
  shelf().closeShelf();
  EXPECT_FALSE(shelf().model().isLoading.get());
  run(2);
  EXPECT_EQ(scans(), 0);
  EXPECT_TRUE(shelf().model().items.get().empty());
}

TEST_F(IconShelfReadTest, AStaleReadNeverEndsTheLoadingOfTheNewerOne) {
  start();
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().closeShelf();
  shelf().showShelf(std::nullopt);
  // The first read answers at 0.5 s, the second, queued behind it, at 1 s.
  run(0.6);
  EXPECT_TRUE(shelf().model().isLoading.get());
  EXPECT_EQ(scans(), 0);
  run(0.6);
  EXPECT_FALSE(shelf().model().isLoading.get());
  EXPECT_EQ(scans(), 1);
  EXPECT_EQ(rowNames(), std::vector<std::string>{"Alpha"});
}

TEST_F(IconShelfTest, ClosingTheShelfWhileAMenuIsOpeningOpensNothing) {
  start({app("com.example.a", "Alpha", 40)});
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  shelf().closeShelf();
  run(2);
  EXPECT_EQ(desktop().menus().foreignMenu(), nullptr);
  EXPECT_TRUE(desktop().accessibility().performed().empty());
  EXPECT_FALSE(shelf().menuSessionActive());
  EXPECT_FALSE(controller().state().isExpanded);
}

// The menu stays open and nothing says it closed: only the watchdog ends the session.
TEST_F(IconShelfTest, AMenuSessionNobodySeesEndEndsAtItsWatchdogWithItsMonitorsRemoved) {
  start({app("com.example.a", "Alpha", 40)});
  const std::size_t monitorsBefore = desktop().events().monitorCount();
  shelf().showShelf(std::nullopt);
  run(0.1);
  shelf().choose(panel().rows.front().id);
  run(1);
  ASSERT_TRUE(shelf().menuSessionActive());
  EXPECT_GT(desktop().events().monitorCount(), monitorsBefore);
  run(ExternalMenuAccessSession::watchdogDelay - 2);
  EXPECT_TRUE(shelf().menuSessionActive());
  run(2);
  EXPECT_FALSE(shelf().menuSessionActive());
  EXPECT_TRUE(logged("iconShelf menuSession ended"));
  EXPECT_EQ(desktop().events().monitorCount(), monitorsBefore);
  EXPECT_FALSE(controller().state().isExpanded);
}

TEST_F(IconShelfTest, StopIsIdempotentAndEndsOnce) {
  start({app("com.example.a", "Alpha", 40)});
  auto& accessibility = desktop().accessibility();
  const int pid = *desktop().processes().pidOf("com.example.a");
  auto bar = accessibility.attribute(accessibility.applicationElement(pid), "AXExtrasMenuBar");
  auto children = accessibility.attribute(*bar.value->element(), "AXChildren");
  int ended = 0;
  ExternalMenuAccessSession session(desktop(), *children.value->list()->front().element(), [&] { ++ended; });
  EXPECT_TRUE(session.observing());
  session.stop();
  session.stop();
  EXPECT_EQ(ended, 1);
}

TEST_F(IconShelfTest, ATargetAcrossTheHousingIsNeverClicked) {
  start({});
  const std::vector<platform::ScreenInfo> screens = desktop().screens().screens();
  const auto strips = NativeStatusItemClick::menuBarStrips(screens, 22);
  ASSERT_EQ(strips.size(), 1u);
  ASSERT_TRUE(strips.front().blocked.has_value());
  const Rect housing = *strips.front().blocked;
  EXPECT_FALSE(NativeStatusItemClick::qualifies(Rect{housing.minX() - 10, 0, 30, 30}, strips));
  EXPECT_TRUE(NativeStatusItemClick::qualifies(Rect{housing.maxX() + 10, 0, 30, 30}, strips));
  EXPECT_FALSE(NativeStatusItemClick::qualifies(Rect{housing.maxX() + 10, 0, 0, 30}, strips));
  EXPECT_FALSE(NativeStatusItemClick::qualifies(Rect{housing.maxX() + 10, 30, 30, 30}, strips));  // below the bar
}

}  // namespace
}  // namespace tarvolo::testing
