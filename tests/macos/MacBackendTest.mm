// Checks of the Mac backend beyond the platform contract: translation at the edge, AppKit's
// object lifetimes and the app's own windows.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "platform/macos/MacBackend.h"
#include "platform/macos/MacWindows.h"

using namespace tarvolo;
using namespace tarvolo::platform;
using namespace tarvolo::platform::mac;

namespace {

// Runs the main run loop (and with it the main dispatch queue) until `done` or the timeout.
void spinUntil(const std::function<bool()>& done, double timeoutSeconds) {
  NSDate* deadline = [NSDate dateWithTimeIntervalSinceNow:timeoutSeconds];
  while (!done() && deadline.timeIntervalSinceNow > 0) {
    [NSRunLoop.mainRunLoop runMode:NSDefaultRunLoopMode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
  }
}

void spinFor(double seconds) {
  spinUntil([] { return false; }, seconds);
}

bool holdsDouble(const DefaultsValue& value) { return std::holds_alternative<double>(value.storage()); }
bool holdsInteger(const DefaultsValue& value) { return std::holds_alternative<std::int64_t>(value.storage()); }
bool isCFBoolean(id object) { return CFGetTypeID((__bridge CFTypeRef)object) == CFBooleanGetTypeID(); }

int visiblePanels() {
  int count = 0;
  for (NSWindow* window in NSApplication.sharedApplication.windows) {
    if ([window isKindOfClass:[NSPanel class]] && window.visible) ++count;
  }
  return count;
}

template <typename View>
View* findView(NSView* root, const std::function<bool(View*)>& matches) {
  if ([root isKindOfClass:[View class]] && matches((View*)root)) return (View*)root;
  for (NSView* child in root.subviews) {
    if (View* found = findView<View>(child, matches)) return found;
  }
  return nil;
}

NSButton* firstButton(NSView* view) {
  if ([view isKindOfClass:[NSButton class]]) return (NSButton*)view;
  for (NSView* child in view.subviews) {
    if (NSButton* button = firstButton(child)) return button;
  }
  return nil;
}

// ---------------------------------------------------------------------------------------------

TEST(MacBackend, PropertyListNumbersKeepBooleanIntegerAndRealApart) {
  EXPECT_EQ(defaultsValueFrom(@YES), DefaultsValue(true));
  EXPECT_EQ(defaultsValueFrom(@NO), DefaultsValue(false));
  // A char-typed number reports objCType 'c' like BOOL does, but is not a Boolean.
  auto fromChar = defaultsValueFrom([NSNumber numberWithChar:1]);
  EXPECT_TRUE(fromChar && holdsInteger(*fromChar) && fromChar->asInteger() == 1);
  auto zero = defaultsValueFrom(@0);
  EXPECT_TRUE(zero && holdsInteger(*zero));
  auto whole = defaultsValueFrom(@1.0);
  EXPECT_TRUE(whole && holdsDouble(*whole));
  auto single = defaultsValueFrom([NSNumber numberWithFloat:1.5f]);
  EXPECT_TRUE(single && holdsDouble(*single) && single->asDouble() == 1.5);
  EXPECT_TRUE(isCFBoolean(propertyListFrom(DefaultsValue(true))));
  EXPECT_FALSE(isCFBoolean(propertyListFrom(DefaultsValue(1))));
}

TEST(MacBackend, PropertyListContainersSkipWhatTheStoreCannotHold) {
  EXPECT_FALSE(defaultsValueFrom([NSData data]));
  EXPECT_FALSE(defaultsValueFrom([NSDate date]));
  auto array = defaultsValueFrom(@[ @"a", [NSData data], @2 ]);
  EXPECT_TRUE(array && *array == DefaultsValue(DefaultsValue::Array{"a", 2}));
  auto dictionary = defaultsValueFrom(@{@"name" : @"x", @7 : @"numeric key", @"when" : [NSDate date]});
  EXPECT_TRUE(dictionary && *dictionary == DefaultsValue(DefaultsValue::Dictionary{{"name", "x"}}));
  DefaultsValue nested(DefaultsValue::Dictionary{
      {"flags", DefaultsValue::Array{true, false}}, {"length", 512.5}, {"count", 3}, {"title", "é…"}});
  EXPECT_EQ(defaultsValueFrom(propertyListFrom(nested)), nested);
}

TEST(MacBackend, MainQueueDropsTasksOfADestroyedQueue) {
  bool ran = false;
  auto queue = std::make_unique<MacMainQueue>();
  queue->post(0, [&] { ran = true; });
  queue->post(0.01, [&] { ran = true; });
  queue.reset();
  spinFor(0.1);
  EXPECT_FALSE(ran);
}

TEST(MacBackend, ClockSharesEventTimeBaseAndWallDate) {
  MacClock clock;
  double before = clock.now();
  usleep(20000);
  double after = clock.now();
  EXPECT_TRUE(after - before >= 0.015 && after - before < 1);
  // NSEvent timestamps count system uptime; Event::timestamp relies on the same base.
  EXPECT_TRUE(std::fabs(clock.now() - NSProcessInfo.processInfo.systemUptime) < 0.5);
  EXPECT_TRUE(std::fabs(clock.currentDate() - static_cast<double>(std::time(nullptr))) < 2);
}

TEST(MacBackend, EventTypesAndMasksTranslateBothWays) {
  const std::pair<EventType, NSEventType> pairs[] = {
      {EventType::leftMouseDown, NSEventTypeLeftMouseDown},   {EventType::leftMouseUp, NSEventTypeLeftMouseUp},
      {EventType::rightMouseDown, NSEventTypeRightMouseDown}, {EventType::rightMouseUp, NSEventTypeRightMouseUp},
      {EventType::otherMouseDown, NSEventTypeOtherMouseDown}, {EventType::otherMouseUp, NSEventTypeOtherMouseUp},
      {EventType::leftMouseDragged, NSEventTypeLeftMouseDragged}, {EventType::keyDown, NSEventTypeKeyDown},
  };
  for (const auto& [type, native] : pairs) {
    EXPECT_EQ(eventTypeFrom(native), type);
    EXPECT_EQ(nsEventMask(eventMask(type)), NSEventMaskFromType(native));
  }
  EXPECT_EQ(eventTypeFrom(NSEventTypeMouseMoved), EventType::other);
  EXPECT_EQ(nsEventMask(eventMask(EventType::other)), 0u);
  EXPECT_TRUE(nsEventMask(EventType::leftMouseUp | EventType::rightMouseUp) ==
        (NSEventMaskLeftMouseUp | NSEventMaskRightMouseUp));
  EXPECT_TRUE(modifierFlagsFrom(NSEventModifierFlagCommand | NSEventModifierFlagCapsLock | 0x8).has(Modifier::command));
  EXPECT_EQ(modifierFlagsFrom(0x8).raw, 0u);  // device-dependent bits are dropped
}

TEST(MacBackend, OSVersionSeesThroughCompatibilityNumbers) {
  EXPECT_EQ(effectiveOSMajorVersion(16, 25), 26);
  EXPECT_EQ(effectiveOSMajorVersion(16, 26), 27);
  EXPECT_EQ(effectiveOSMajorVersion(26, 25), 26);
  EXPECT_EQ(effectiveOSMajorVersion(15, 24), 15);
  EXPECT_EQ(effectiveOSMajorVersion(13, 22), 13);
  EXPECT_EQ(effectiveOSMajorVersion(16, 0), 16);
  EXPECT_TRUE(MacSystemInfo().osMajorVersion() >= 13);
}

TEST(MacBackend, MenuBarHeightComesFromTheVisibleFrameGap) {
  EXPECT_EQ(menuBarHeight(NSMakeRect(0, 0, 1512, 982), NSMakeRect(0, 0, 1512, 944), 22), 37);
  EXPECT_EQ(menuBarHeight(NSMakeRect(0, 0, 1920, 1080), NSMakeRect(0, 70, 1920, 985), 22), 24);
  EXPECT_EQ(menuBarHeight(NSMakeRect(0, 0, 1920, 1080), NSMakeRect(0, 0, 1920, 1080), 24), 24);
}

TEST(MacBackend, StatusItemsTakeSystemSymbolsAndRefuseUnknownOnes) {
  MacStatusBar bar;
  std::unique_ptr<StatusItem> item = bar.createStatusItem(kVariableStatusItemLength, "tarvolo_backend_test");
  EXPECT_FALSE(item->setSymbolImage("tarvolo.no.such.symbol", 14));
  EXPECT_TRUE(item->setSymbolImage("eye", 14));
  EXPECT_TRUE(item->setSymbolImage("", 14));
  bar.removeStatusItem(std::move(item));
}

TEST(MacBackend, WindowDescriptionsTranslateWithMissingKeysAsAbsent) {
  NSDictionary* full = @{
    (__bridge NSString*)kCGWindowOwnerName : @"Notes",
    (__bridge NSString*)kCGWindowOwnerPID : @412,
    (__bridge NSString*)kCGWindowLayer : @25,
    (__bridge NSString*)kCGWindowName : @"Item-0",
    (__bridge NSString*)kCGWindowBounds : @{@"X" : @1200, @"Y" : @0, @"Width" : @30.5, @"Height" : @24},
  };
  WindowInfo window = windowInfoFrom(full);
  EXPECT_TRUE(window.ownerName == "Notes" && window.ownerPid == 412 && window.layer == 25);
  EXPECT_EQ(window.title, std::optional<std::string>("Item-0"));
  EXPECT_EQ(window.bounds, (tarvolo::Rect{1200, 0, 30.5, 24}));
  WindowInfo bare = windowInfoFrom(@{(__bridge NSString*)kCGWindowBounds : @"not a dictionary"});
  EXPECT_TRUE(bare.ownerName.empty() && !bare.bounds && !bare.title && bare.layer == 0);
}

TEST(MacBackend, ActionTargetSurvivesAnActionThatReleasesIt) {
  int runs = 0;
  std::string seen;
  TRVActionTarget* owner = nil;
  owner = [[TRVActionTarget alloc] initWithAction:[&owner, &runs, &seen, label = std::string(64, 'x')] {
    owner = nil;  // as when a menu choice removes the status item that owns the target
    ++runs;
    seen = label;  // a capture read after the target is gone
  }];
  [owner perform:nil];
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(owner == nil);
  EXPECT_EQ(seen, std::string(64, 'x'));
}

struct RecordingSink final : SystemEventSink {
  int screens = 0, wakes = 0, spaces = 0, launches = 0, terminations = 0, activations = 0, menuBegins = 0,
      menuEnds = 0, languages = 0, becameActive = 0;
  void screenParametersDidChange() override { ++screens; }
  void workspaceDidWake() override { ++wakes; }
  void activeSpaceDidChange() override { ++spaces; }
  void applicationDidLaunch(const RunningApplication&) override { ++launches; }
  void applicationDidTerminate(const RunningApplication&) override { ++terminations; }
  void applicationDidActivate(const RunningApplication&) override { ++activations; }
  void menuDidBeginTracking() override { ++menuBegins; }
  void menuDidEndTracking() override { ++menuEnds; }
  void preferredLanguagesDidChange() override { ++languages; }
  void applicationDidBecomeActive() override { ++becameActive; }
};

TEST(MacBackend, SystemObserverReportsUntilTheSinkIsClearedOrItIsGone) {
  RecordingSink sink;
  auto observer = std::make_unique<MacSystemObserver>();
  observer->setSink(&sink);
  NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
  NSNotificationCenter* workspace = NSWorkspace.sharedWorkspace.notificationCenter;
  [center postNotificationName:NSMenuDidBeginTrackingNotification object:nil];
  [center postNotificationName:NSApplicationDidChangeScreenParametersNotification object:nil];
  [center postNotificationName:NSCurrentLocaleDidChangeNotification object:nil];
  [center postNotificationName:NSApplicationDidBecomeActiveNotification object:nil];
  [workspace postNotificationName:NSWorkspaceDidWakeNotification object:nil];
  [workspace postNotificationName:NSWorkspaceDidActivateApplicationNotification
                           object:nil
                         userInfo:@{NSWorkspaceApplicationKey : NSRunningApplication.currentApplication}];
  spinUntil([&] { return sink.activations == 1; }, 1);
  EXPECT_EQ(sink.menuBegins, 1);
  EXPECT_EQ(sink.screens, 1);
  EXPECT_EQ(sink.languages, 1);
  EXPECT_EQ(sink.becameActive, 1);
  EXPECT_EQ(sink.wakes, 1);
  EXPECT_EQ(sink.activations, 1);
  observer->setSink(nullptr);
  [center postNotificationName:NSMenuDidBeginTrackingNotification object:nil];
  spinFor(0.05);
  EXPECT_EQ(sink.menuBegins, 1);
  observer->setSink(&sink);
  observer.reset();
  [center postNotificationName:NSMenuDidBeginTrackingNotification object:nil];
  spinFor(0.05);
  EXPECT_EQ(sink.menuBegins, 1);
}

TEST(MacBackend, NoticesReplaceByKindAndTheirActionMayPresentTheNext) {
  MacUserInterface ui;
  int before = visiblePanels();
  ui.presentNotice({.message = "first", .kind = "a"});
  ui.presentNotice({.message = "again", .kind = "a"});
  EXPECT_EQ(visiblePanels(), before + 1);
  int actions = 0;
  ui.presentNotice({.message = "second", .actionTitle = "Go", .kind = "b", .onAction = [&] {
                      ++actions;
                      ui.presentNotice({.message = "follow-up", .kind = "b"});
                    }});
  EXPECT_EQ(visiblePanels(), before + 2);
  NSPanel* noticeB = nil;
  for (NSWindow* window in NSApplication.sharedApplication.windows) {
    if ([window isKindOfClass:[NSPanel class]] && window.visible && firstButton(window.contentView)) {
      noticeB = (NSPanel*)window;
    }
  }
  ASSERT_TRUE(noticeB != nil);
  [firstButton(noticeB.contentView) performClick:nil];
  EXPECT_EQ(actions, 1);
  EXPECT_FALSE(noticeB.visible);
  EXPECT_EQ(visiblePanels(), before + 2);  // "a" and the follow-up
  ui.dismissNotice("a");
  ui.dismissNotice("b");
  ui.dismissNotice("never shown");
  EXPECT_EQ(visiblePanels(), before);
}

TEST(MacBackend, ShelfAndPreferencesReportTheirVisibility) {
  MacUserInterface ui;
  auto& shelf = ui.iconShelfPanel();
  EXPECT_FALSE(shelf.isShown());
  IconShelfViewState state;
  state.title = "Icon Shelf";
  state.tiers = {{.rawValue = "all", .title = "All", .selected = true}};
  state.rows = {{.id = "com.example.a/item", .name = "Example", .accessibilityLabel = "Example"}};
  int chosen = 0;
  shelf.show(state, IconShelfActions{.chooseRow = [&](const std::string&) { ++chosen; }});
  EXPECT_TRUE(shelf.isShown());
  state.errorText = "This menu could not be opened.";
  shelf.update(state);
  shelf.close();
  EXPECT_FALSE(shelf.isShown());
  PreferencesViewState preferences;
  preferences.windowTitle = "Settings";
  preferences.tab = PreferencesTab::items;
  preferences.tabs = {{"general", "General"}, {"items", "Icons"}, {"hotkeys", "Shortcuts"}, {"about", "About"}};
  preferences.items.zones = {{"always_visible", "Visible"}, {"hidden", "Folded"}, {"always_hidden", "Hidden"}};
  preferences.items.rows = {{.bundleId = "com.example.a", .name = "A", .zone = "hidden"}};
  EXPECT_FALSE(ui.preferences().isShown());
  bool closed = false;
  ui.preferences().show(preferences, PreferencesCallbacks{.closed = [&closed] { closed = true; }});
  EXPECT_TRUE(ui.preferences().isShown());
  ui.preferences().close();
  EXPECT_FALSE(ui.preferences().isShown());
  EXPECT_TRUE(closed);
}

// Finder runs in every logged-in session, so its icon comes from the running application.
TEST(MacBackend, AppIconsComeFromTheRunningApplicationOnceAndSymbolsWinForSystemItems) {
  MacAppIcons icons;
  const RowIcon finder{.application = tarvolo::BundleID("com.apple.finder")};
  NSImage* first = icons.image(finder, std::nullopt);
  ASSERT_NE(first, nil);
  EXPECT_EQ(icons.cachedCount(), 1u);
  EXPECT_EQ(icons.image(finder, std::nullopt), first) << "kept per bundle";
  const RowIcon wifi{.application = tarvolo::BundleID("com.apple.controlcenter"), .symbol = "wifi"};
  EXPECT_NE(icons.image(wifi, std::nullopt), nil);
  EXPECT_EQ(icons.cachedCount(), 1u) << "a symbol row needs no application icon";
  const RowIcon gone{.application = tarvolo::BundleID("com.example.not-installed")};
  EXPECT_EQ(icons.image(gone, std::nullopt), nil);
  EXPECT_NE(icons.image(gone, std::string("/System/Applications/Calculator.app")), nil) << "the bundle's icon file";
  EXPECT_EQ(icons.cachedCount(), 1u) << "only running applications' icons are kept";
}

TEST(MacBackend, GuideAndNoticeWindowsOpenAndClose) {
  MacUserInterface ui;
  PlacementGuideViewState guide{.title = "Keep It Always Visible", .target = tarvolo::Rect{100, 880, 60, 24}};
  ui.placementGuide().show(guide, {});
  EXPECT_TRUE(ui.placementGuide().isShown());
  EXPECT_EQ(ui.placementGuide().chromeFrames().size(), 2u);
  ui.placementGuide().close();
  EXPECT_TRUE(ui.placementGuide().chromeFrames().empty());
  ui.newAppNotice().show(NewAppNoticeViewState{.bundleId = "com.example.a", .message = "A"}, {});
  EXPECT_TRUE(ui.newAppNotice().isShown());
  ui.newAppNotice().close();
  EXPECT_FALSE(ui.newAppNotice().isShown());
}

TEST(MacBackend, PreferencesControlsStayLiveAcrossUpdates) {
  MacUserInterface ui;
  PreferencesViewState state;
  state.windowTitle = "Settings";
  state.tab = PreferencesTab::general;
  state.tabs = {{"general", "General"}, {"items", "Icons"}, {"hotkeys", "Shortcuts"}, {"about", "About"}};
  state.general.newAppNotices = {.title = "Tell me about new icons", .on = false};
  state.items.zones = {{"always_visible", "Visible"}, {"hidden", "Folded"}, {"always_hidden", "Hidden"}};
  state.items.rows = {{.bundleId = "com.example.a", .name = "A", .zone = "hidden"}};
  std::vector<bool> notices;
  std::vector<std::string> queries;
  std::vector<std::string> pinned;
  PreferencesCallbacks callbacks{.setNewAppNotices = [&](bool on) { notices.push_back(on); },
                                 .search = [&](const std::string& query) { queries.push_back(query); },
                                 .setPinned = [&](const std::string& bundleId, bool) { pinned.push_back(bundleId); }};
  ui.preferences().show(state, callbacks);
  NSWindow* window = nil;
  for (NSWindow* candidate in NSApplication.sharedApplication.windows) {
    if (candidate.visible && [candidate.title isEqualToString:@"Settings"]) window = candidate;
  }
  ASSERT_TRUE(window != nil);
  auto noticesBox = [&] {
    return findView<NSButton>(window.contentView, [](NSButton* b) { return [b.title hasPrefix:@"Tell me"]; });
  };
  NSButton* box = noticesBox();
  ASSERT_TRUE(box != nil);
  // Updates that change values, as the catalogue and the user's own choices do.
  state.general.newAppNotices.on = true;
  ui.preferences().update(state);
  state.general.newAppNotices.title = "Tell me about new icons!";
  ui.preferences().update(state);
  EXPECT_EQ(noticesBox(), box);  // the same control, still the one on screen
  EXPECT_EQ(box.state, NSControlStateValueOn);
  [box performClick:nil];
  ASSERT_EQ(notices.size(), 1u);
  EXPECT_FALSE(notices[0]);

  state.tab = PreferencesTab::items;
  ui.preferences().update(state);
  NSSearchField* search = findView<NSSearchField>(window.contentView, [](NSSearchField*) { return true; });
  ASSERT_TRUE(search != nil);
  id searchTarget = search.target;  // read once: the property is weak
  search.stringValue = @"a";
  [search sendAction:search.action to:searchTarget];
  state.items.searchText = "a";
  state.items.rows = {{.bundleId = "com.example.b", .name = "B", .zone = "hidden"}};
  ui.preferences().update(state);
  search.stringValue = @"ab";
  [search sendAction:search.action to:searchTarget];
  EXPECT_EQ(findView<NSSearchField>(window.contentView, [](NSSearchField*) { return true; }), search);
  EXPECT_EQ(queries, (std::vector<std::string>{"a", "ab"}));
  // A reused row acts on the entry it shows now.
  state.items.pinTitle = "Pin";
  ui.preferences().update(state);
  NSButton* pin = findView<NSButton>(window.contentView, [](NSButton* b) { return [b.title isEqualToString:@"Pin"] && !b.hidden; });
  ASSERT_TRUE(pin != nil);
  [pin performClick:nil];
  EXPECT_EQ(pinned, (std::vector<std::string>{"com.example.b"}));
  ui.preferences().close();
}

TEST(MacBackend, ShelfRowIsSizedToItsTilesAndTilesActOnTheRowTheyShow) {
  MacUserInterface ui;
  IconShelfViewState state;
  state.title = "Icon Shelf";
  state.tiers = {{.rawValue = "all", .title = "All", .selected = true}};
  for (int i = 0; i < 6; ++i) {
    std::string name = "App " + std::to_string(i);
    state.rows.push_back({.id = name, .name = name, .accessibilityLabel = name});
  }
  std::vector<std::string> chosen;
  ui.iconShelfPanel().show(state, IconShelfActions{.chooseRow = [&](const std::string& id) { chosen.push_back(id); }});
  NSPanel* panel = nil;
  for (NSWindow* window in NSApplication.sharedApplication.windows) {
    if ([window isKindOfClass:[NSPanel class]] && window.visible &&
        findView<NSScrollView>(window.contentView, [](NSScrollView*) { return true; })) {
      panel = (NSPanel*)window;
    }
  }
  ASSERT_TRUE(panel != nil);
  [panel.contentView layoutSubtreeIfNeeded];
  NSScrollView* strip = findView<NSScrollView>(panel.contentView, [](NSScrollView*) { return true; });
  EXPECT_GE(strip.documentView.frame.size.width, 6 * 84.0);
  EXPECT_GT(strip.documentView.frame.size.height, 0.0);
  // The list changes under the same tiles: a click goes to the row shown now.
  std::reverse(state.rows.begin(), state.rows.end());
  ui.iconShelfPanel().update(state);
  NSButton* first = findView<NSButton>(strip.documentView, [](NSButton* b) { return [b.title isEqualToString:@"App 5"]; });
  ASSERT_TRUE(first != nil);
  [first performClick:nil];
  EXPECT_EQ(chosen, (std::vector<std::string>{"App 5"}));
  ui.iconShelfPanel().close();
}

TEST(MacBackend, MainMenuKeepsTheStandardEditAndWindowCommands) {
  MacApplication application;
  int opened = 0;
  Menu commands;
  commands.items.push_back(MenuItem{.title = "Settings…", .action = "openPreferences", .keyEquivalent = ",",
                                    .perform = [&opened] { ++opened; }});
  application.setMainMenu(commands);
  NSMenu* main = NSApplication.sharedApplication.mainMenu;
  auto find = [&](NSString* key, SEL action) -> NSMenuItem* {
    for (NSMenuItem* holder in main.itemArray) {
      for (NSMenuItem* item in holder.submenu.itemArray) {
        if ([item.keyEquivalent isEqualToString:key] && item.action == action) return item;
      }
    }
    return nil;
  };
  for (NSString* key in @[ @"c", @"v", @"x", @"a", @"z" ]) {
    SEL action = [key isEqualToString:@"c"]   ? @selector(copy:)
                 : [key isEqualToString:@"v"] ? @selector(paste:)
                 : [key isEqualToString:@"x"] ? @selector(cut:)
                 : [key isEqualToString:@"a"] ? @selector(selectAll:)
                                              : NSSelectorFromString(@"undo:");
    NSMenuItem* item = find(key, action);
    ASSERT_TRUE(item != nil) << key.UTF8String;
    EXPECT_TRUE(item.target == nil);  // sent along the responder chain
  }
  EXPECT_TRUE(find(@"w", @selector(performClose:)) != nil);
  NSMenuItem* settings = find(@",", @selector(perform:));
  ASSERT_TRUE(settings != nil);
  [NSApplication.sharedApplication sendAction:settings.action to:settings.target from:settings];
  EXPECT_EQ(opened, 1);
}

}  // namespace
