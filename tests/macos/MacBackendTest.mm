// Checks of the Mac backend against the real system. They need a Mac with a logged-in session
// (status items, screens and windows talk to the window server): `./build-macos --test`.
// Self-contained, so the Mac build needs no test framework.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "platform/macos/MacBackend.h"

using namespace tarvolo;
using namespace tarvolo::platform;
using namespace tarvolo::platform::mac;

namespace {

struct TestCase {
  const char* name;
  void (*body)();
};

std::vector<TestCase>& registry() {
  static std::vector<TestCase> tests;
  return tests;
}

int failures = 0;

void fail(const char* file, int line, const char* expression) {
  ++failures;
  std::fprintf(stderr, "  FAILED %s:%d: %s\n", file, line, expression);
}

#define MAC_TEST(name)                                                                \
  void name();                                                                        \
  [[maybe_unused]] const bool name##Registered = (registry().push_back({#name, name}), true); \
  void name()
#define CHECK(condition)                                         \
  do {                                                           \
    if (!(condition)) fail(__FILE__, __LINE__, #condition);      \
  } while (0)

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

NSButton* firstButton(NSView* view) {
  if ([view isKindOfClass:[NSButton class]]) return (NSButton*)view;
  for (NSView* child in view.subviews) {
    if (NSButton* button = firstButton(child)) return button;
  }
  return nil;
}

// ---------------------------------------------------------------------------------------------

MAC_TEST(PropertyListNumbersKeepBooleanIntegerAndRealApart) {
  CHECK(defaultsValueFrom(@YES) == DefaultsValue(true));
  CHECK(defaultsValueFrom(@NO) == DefaultsValue(false));
  // A char-typed number reports objCType 'c' like BOOL does, but is not a Boolean.
  auto fromChar = defaultsValueFrom([NSNumber numberWithChar:1]);
  CHECK(fromChar && holdsInteger(*fromChar) && fromChar->asInteger() == 1);
  auto zero = defaultsValueFrom(@0);
  CHECK(zero && holdsInteger(*zero));
  auto whole = defaultsValueFrom(@1.0);
  CHECK(whole && holdsDouble(*whole));
  auto single = defaultsValueFrom([NSNumber numberWithFloat:1.5f]);
  CHECK(single && holdsDouble(*single) && single->asDouble() == 1.5);
  CHECK(isCFBoolean(propertyListFrom(DefaultsValue(true))));
  CHECK(!isCFBoolean(propertyListFrom(DefaultsValue(1))));
}

MAC_TEST(PropertyListContainersSkipWhatTheStoreCannotHold) {
  CHECK(!defaultsValueFrom([NSData data]));
  CHECK(!defaultsValueFrom([NSDate date]));
  auto array = defaultsValueFrom(@[ @"a", [NSData data], @2 ]);
  CHECK(array && *array == DefaultsValue(DefaultsValue::Array{"a", 2}));
  auto dictionary = defaultsValueFrom(@{@"name" : @"x", @7 : @"numeric key", @"when" : [NSDate date]});
  CHECK(dictionary && *dictionary == DefaultsValue(DefaultsValue::Dictionary{{"name", "x"}}));
  DefaultsValue nested(DefaultsValue::Dictionary{
      {"flags", DefaultsValue::Array{true, false}}, {"length", 512.5}, {"count", 3}, {"title", "é…"}});
  CHECK(defaultsValueFrom(propertyListFrom(nested)) == nested);
}

MAC_TEST(DefaultsStoreRoundTripsThroughUserDefaults) {
  MacDefaults defaults;
  const std::string prefix = "tarvolo.backend-test.";
  defaults.set(prefix + "bool", true);
  defaults.set(prefix + "int", 1);
  defaults.set(prefix + "real", 10000.0);
  defaults.set(prefix + "list", DefaultsValue::fromStrings({"com.example.a", "com.example.b"}));
  CHECK(defaults.object(prefix + "bool") == DefaultsValue(true));
  CHECK(defaults.object(prefix + "int") == DefaultsValue(1));
  CHECK(defaults.object(prefix + "real") == DefaultsValue(10000.0));
  CHECK(defaults.getStringArray(prefix + "list") == std::vector<std::string>({"com.example.a", "com.example.b"}));
  std::vector<std::string> keys = defaults.keys();
  CHECK(std::find(keys.begin(), keys.end(), prefix + "int") != keys.end());
  for (const char* key : {"bool", "int", "real", "list"}) defaults.remove(prefix + key);
  CHECK(!defaults.contains(prefix + "int"));
}

MAC_TEST(MainQueueRunsByDelayAndHonoursCancel) {
  MacMainQueue queue;
  std::string order;
  queue.post(0.06, [&] { order += "c"; });
  queue.post(0, [&] { order += "a"; });
  TaskId cancelled = queue.post(0.02, [&] { order += "x"; });
  queue.post(0.04, [&] {
    order += "b";
    queue.post(0, [&] { order += "+"; });  // posting from a task
  });
  queue.cancel(cancelled);
  queue.cancel(cancelled);
  queue.cancel(987654);
  spinUntil([&] { return order.size() >= 4; }, 2);
  spinFor(0.05);
  CHECK(order == "ab+c");
}

MAC_TEST(MainQueueDropsTasksOfADestroyedQueue) {
  bool ran = false;
  auto queue = std::make_unique<MacMainQueue>();
  queue->post(0, [&] { ran = true; });
  queue->post(0.01, [&] { ran = true; });
  queue.reset();
  spinFor(0.1);
  CHECK(!ran);
}

MAC_TEST(ClockSharesEventTimeBaseAndWallDate) {
  MacClock clock;
  double before = clock.now();
  usleep(20000);
  double after = clock.now();
  CHECK(after - before >= 0.015 && after - before < 1);
  // NSEvent timestamps count system uptime; Event::timestamp relies on the same base.
  CHECK(std::fabs(clock.now() - NSProcessInfo.processInfo.systemUptime) < 0.5);
  CHECK(std::fabs(clock.currentDate() - static_cast<double>(std::time(nullptr))) < 2);
}

MAC_TEST(EventTypesAndMasksTranslateBothWays) {
  const std::pair<EventType, NSEventType> pairs[] = {
      {EventType::leftMouseDown, NSEventTypeLeftMouseDown},   {EventType::leftMouseUp, NSEventTypeLeftMouseUp},
      {EventType::rightMouseDown, NSEventTypeRightMouseDown}, {EventType::rightMouseUp, NSEventTypeRightMouseUp},
      {EventType::otherMouseDown, NSEventTypeOtherMouseDown}, {EventType::otherMouseUp, NSEventTypeOtherMouseUp},
      {EventType::leftMouseDragged, NSEventTypeLeftMouseDragged}, {EventType::keyDown, NSEventTypeKeyDown},
  };
  for (const auto& [type, native] : pairs) {
    CHECK(eventTypeFrom(native) == type);
    CHECK(nsEventMask(eventMask(type)) == NSEventMaskFromType(native));
  }
  CHECK(eventTypeFrom(NSEventTypeMouseMoved) == EventType::other);
  CHECK(nsEventMask(eventMask(EventType::other)) == 0);
  CHECK(nsEventMask(EventType::leftMouseUp | EventType::rightMouseUp) ==
        (NSEventMaskLeftMouseUp | NSEventMaskRightMouseUp));
  CHECK(modifierFlagsFrom(NSEventModifierFlagCommand | NSEventModifierFlagCapsLock | 0x8).has(Modifier::command));
  CHECK(modifierFlagsFrom(0x8).raw == 0);  // device-dependent bits are dropped
}

MAC_TEST(OSVersionSeesThroughCompatibilityNumbers) {
  CHECK(effectiveOSMajorVersion(16, 25) == 26);
  CHECK(effectiveOSMajorVersion(16, 26) == 27);
  CHECK(effectiveOSMajorVersion(26, 25) == 26);
  CHECK(effectiveOSMajorVersion(15, 24) == 15);
  CHECK(effectiveOSMajorVersion(13, 22) == 13);
  CHECK(effectiveOSMajorVersion(16, 0) == 16);
  CHECK(MacSystemInfo().osMajorVersion() >= 13);
}

MAC_TEST(MenuBarHeightComesFromTheVisibleFrameGap) {
  CHECK(menuBarHeight(NSMakeRect(0, 0, 1512, 982), NSMakeRect(0, 0, 1512, 944), 22) == 37);
  CHECK(menuBarHeight(NSMakeRect(0, 0, 1920, 1080), NSMakeRect(0, 70, 1920, 985), 22) == 24);
  CHECK(menuBarHeight(NSMakeRect(0, 0, 1920, 1080), NSMakeRect(0, 0, 1920, 1080), 22) == 22);
}

MAC_TEST(ScreensListThePrimaryFirstWithConsistentNotchAreas) {
  std::vector<ScreenInfo> screens = MacScreens().screens();
  CHECK(!screens.empty());
  if (screens.empty()) return;
  CHECK(screens.front().frame.x == 0 && screens.front().frame.y == 0);
  for (const ScreenInfo& screen : screens) {
    CHECK(screen.auxiliaryTopLeftArea.has_value() == screen.auxiliaryTopRightArea.has_value());
    CHECK(screen.menuBarHeight > 0);
    if (screen.auxiliaryTopLeftArea) CHECK(screen.notchWidth() > 0 && screen.safeAreaTop > 0);
  }
}

MAC_TEST(StatusItemKeepsNameAndLengthAndRefusesUnknownSymbols) {
  MacStatusBar bar;
  std::unique_ptr<StatusItem> item = bar.createStatusItem(kVariableStatusItemLength, "tarvolo_backend_test");
  CHECK(item->autosaveName() == "tarvolo_backend_test");
  CHECK(item->hasButton());
  item->setLength(40);
  CHECK(item->length() == 40);
  CHECK(!item->setSymbolImage("tarvolo.no.such.symbol", 14));
  CHECK(item->setSymbolImage("eye", 14));
  CHECK(item->setSymbolImage("", 14));
  spinUntil([&] { return item->buttonFrameOnScreen().has_value(); }, 2);
  if (auto frame = item->buttonFrameOnScreen()) CHECK(frame->width > 0 && frame->height > 0);
  item->setVisible(false);
  CHECK(!item->isVisible());
  bar.removeStatusItem(std::move(item));
}

MAC_TEST(WindowDescriptionsTranslateWithMissingKeysAsAbsent) {
  NSDictionary* full = @{
    (__bridge NSString*)kCGWindowOwnerName : @"Notes",
    (__bridge NSString*)kCGWindowOwnerPID : @412,
    (__bridge NSString*)kCGWindowLayer : @25,
    (__bridge NSString*)kCGWindowName : @"Item-0",
    (__bridge NSString*)kCGWindowBounds : @{@"X" : @1200, @"Y" : @0, @"Width" : @30.5, @"Height" : @24},
  };
  WindowInfo window = windowInfoFrom(full);
  CHECK(window.ownerName == "Notes" && window.ownerPid == 412 && window.layer == 25);
  CHECK(window.title == std::optional<std::string>("Item-0"));
  CHECK(window.bounds == (tarvolo::Rect{1200, 0, 30.5, 24}));
  WindowInfo bare = windowInfoFrom(@{(__bridge NSString*)kCGWindowBounds : @"not a dictionary"});
  CHECK(bare.ownerName.empty() && !bare.bounds && !bare.title && bare.layer == 0);
}

MAC_TEST(WindowListShowsTheBarAndOurOwnItem) {
  MacStatusBar bar;
  std::unique_ptr<StatusItem> item = bar.createStatusItem(30, "tarvolo_backend_window_test");
  spinUntil([&] { return item->buttonFrameOnScreen().has_value(); }, 2);
  auto windows = MacWindowList().onScreenWindows(DesktopElements::exclude);
  CHECK(windows.has_value());
  if (windows) {
    CHECK(std::any_of(windows->begin(), windows->end(), [](const WindowInfo& w) {
      return w.layer == 24 && w.bounds && w.bounds->y == 0;
    }));
    // Before 26 the item's window is ours, by pid and by owner name.
    if (MacSystemInfo().osMajorVersion() < 26) {
      CHECK(std::any_of(windows->begin(), windows->end(), [](const WindowInfo& w) {
        return w.layer == 25 && w.ownerPid == getpid() && w.bounds && std::abs(w.bounds->width - 30) < 1;
      }));
    }
    auto withDesktop = MacWindowList().onScreenWindows(DesktopElements::include);
    CHECK(withDesktop && withDesktop->size() >= windows->size());
  }
  bar.removeStatusItem(std::move(item));
}

MAC_TEST(AccessibilityListsOurItemsOnlyWhenTrusted) {
  MacAccessibility accessibility;
  CHECK(!accessibility.extrasMenuBarItems(0).has_value());
  if (!accessibility.isProcessTrusted()) {
    CHECK(!accessibility.extrasMenuBarItems(getpid()).has_value());
    return;
  }
  MacStatusBar bar;
  std::unique_ptr<StatusItem> item = bar.createStatusItem(30, "tarvolo_backend_ax_test");
  spinUntil([&] { return item->buttonFrameOnScreen().has_value(); }, 2);
  auto items = accessibility.extrasMenuBarItems(getpid());
  CHECK(items.has_value());
  if (items) {
    CHECK(std::any_of(items->begin(), items->end(), [](const AccessibilityMenuBarItem& element) {
      return element.frame && std::abs(element.frame->width - 30) < 1 && element.frame->y < 40;
    }));
  }
  bar.removeStatusItem(std::move(item));
}

MAC_TEST(ActionTargetSurvivesAnActionThatReleasesIt) {
  int runs = 0;
  std::string seen;
  TRVActionTarget* owner = nil;
  owner = [[TRVActionTarget alloc] initWithAction:[&owner, &runs, &seen, label = std::string(64, 'x')] {
    owner = nil;  // as when a menu choice removes the status item that owns the target
    ++runs;
    seen = label;  // a capture read after the target is gone
  }];
  [owner perform:nil];
  CHECK(runs == 1);
  CHECK(owner == nil);
  CHECK(seen == std::string(64, 'x'));
}

struct RecordingSink final : SystemEventSink {
  int screens = 0, wakes = 0, spaces = 0, launches = 0, terminations = 0, activations = 0, menuBegins = 0,
      menuEnds = 0, languages = 0;
  void screenParametersDidChange() override { ++screens; }
  void workspaceDidWake() override { ++wakes; }
  void activeSpaceDidChange() override { ++spaces; }
  void applicationDidLaunch(const RunningApplication&) override { ++launches; }
  void applicationDidTerminate(const RunningApplication&) override { ++terminations; }
  void applicationDidActivate(const RunningApplication&) override { ++activations; }
  void menuDidBeginTracking() override { ++menuBegins; }
  void menuDidEndTracking() override { ++menuEnds; }
  void preferredLanguagesDidChange() override { ++languages; }
};

MAC_TEST(SystemObserverReportsUntilTheSinkIsClearedOrItIsGone) {
  RecordingSink sink;
  auto observer = std::make_unique<MacSystemObserver>();
  observer->setSink(&sink);
  NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
  NSNotificationCenter* workspace = NSWorkspace.sharedWorkspace.notificationCenter;
  [center postNotificationName:NSMenuDidBeginTrackingNotification object:nil];
  [center postNotificationName:NSApplicationDidChangeScreenParametersNotification object:nil];
  [center postNotificationName:NSCurrentLocaleDidChangeNotification object:nil];
  [workspace postNotificationName:NSWorkspaceDidWakeNotification object:nil];
  [workspace postNotificationName:NSWorkspaceDidActivateApplicationNotification
                           object:nil
                         userInfo:@{NSWorkspaceApplicationKey : NSRunningApplication.currentApplication}];
  spinUntil([&] { return sink.activations == 1; }, 1);
  CHECK(sink.menuBegins == 1 && sink.screens == 1 && sink.languages == 1 && sink.wakes == 1 && sink.activations == 1);
  observer->setSink(nullptr);
  [center postNotificationName:NSMenuDidBeginTrackingNotification object:nil];
  spinFor(0.05);
  CHECK(sink.menuBegins == 1);
  observer->setSink(&sink);
  observer.reset();
  [center postNotificationName:NSMenuDidBeginTrackingNotification object:nil];
  spinFor(0.05);
  CHECK(sink.menuBegins == 1);
}

MAC_TEST(NoticesReplaceByKindAndTheirActionMayPresentTheNext) {
  MacUserInterface ui;
  int before = visiblePanels();
  ui.presentNotice({.message = "first", .kind = "a"});
  ui.presentNotice({.message = "again", .kind = "a"});
  CHECK(visiblePanels() == before + 1);
  int actions = 0;
  ui.presentNotice({.message = "second", .actionTitle = "Go", .kind = "b", .onAction = [&] {
                      ++actions;
                      ui.presentNotice({.message = "follow-up", .kind = "b"});
                    }});
  CHECK(visiblePanels() == before + 2);
  NSPanel* noticeB = nil;
  for (NSWindow* window in NSApplication.sharedApplication.windows) {
    if ([window isKindOfClass:[NSPanel class]] && window.visible && firstButton(window.contentView)) noticeB = (NSPanel*)window;
  }
  CHECK(noticeB != nil);
  [firstButton(noticeB.contentView) performClick:nil];
  CHECK(actions == 1);
  CHECK(!noticeB.visible);
  CHECK(visiblePanels() == before + 2);  // "a" and the follow-up
  ui.dismissNotice("a");
  ui.dismissNotice("b");
  ui.dismissNotice("never shown");
  CHECK(visiblePanels() == before);
}

MAC_TEST(ShelfAndPreferencesReportTheirVisibility) {
  MacUserInterface ui;
  CHECK(!ui.isIconShelfShown());
  ui.showIconShelf(MenuBarAccessTier::hidden);
  CHECK(ui.isIconShelfShown());
  ui.closeIconShelf();
  CHECK(!ui.isIconShelfShown());
  CHECK(!ui.isPreferencesVisible());
  ui.openPreferences(std::nullopt);
  CHECK(ui.isPreferencesVisible());
}

}  // namespace

int main() {
  @autoreleasepool {
    NSApplication* application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    [application finishLaunching];
    for (const TestCase& test : registry()) {
      int failuresBefore = failures;
      @autoreleasepool {
        test.body();
      }
      std::printf("%s %s\n", failures == failuresBefore ? "ok  " : "FAIL", test.name);
    }
    std::printf("%zu tests, %d failed checks\n", registry().size(), failures);
  }
  return failures == 0 ? 0 : 1;
}
