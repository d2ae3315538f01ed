// Screens, running applications and the system notifications the core listens to.
//
// OS quirks handled here:
// - NSScreen.screens lists the menu-bar screen first; frames are in AppKit's bottom-left global
//   space, which is what the core works in.
// - A notch shows only as two non-empty auxiliary top areas (macOS 12+); without a notch both
//   are empty rects rather than absent.
// - Workspace launch and terminate notifications leave out agent apps (LSUIElement), which own
//   most menu-bar icons; launches and exits are therefore read from key-value observation of
//   runningApplications. That list also holds every background-only process (XPC services,
//   helpers, daemons), whose constant churn would reset what the core learnt about the bar, so
//   only regular and accessory apps are reported, as the notifications would announce them.
// - Workspace notifications arrive on the workspace's own notification center, screen, menu and
//   locale changes on the default center; observers run on the main queue and reach the sink
//   through a weak slot, so a late notification after teardown does nothing.

#include "platform/macos/MacBackend.h"

using tarvolo::platform::RunningApplication;

// Reports insertions into and removals from NSWorkspace.runningApplications.
@interface TRVRunningApplicationsObserver : NSObject
- (instancetype)initWithLaunch:(std::function<void(const RunningApplication&)>)launch
                     terminate:(std::function<void(const RunningApplication&)>)terminate;
@end

@implementation TRVRunningApplicationsObserver {
  std::function<void(const RunningApplication&)> _launch;
  std::function<void(const RunningApplication&)> _terminate;
}

- (instancetype)initWithLaunch:(std::function<void(const RunningApplication&)>)launch
                     terminate:(std::function<void(const RunningApplication&)>)terminate {
  if ((self = [super init])) {
    _launch = std::move(launch);
    _terminate = std::move(terminate);
  }
  return self;
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context {
  (void)keyPath;
  (void)object;
  (void)context;
  auto kind = static_cast<NSKeyValueChange>([change[NSKeyValueChangeKindKey] unsignedIntegerValue]);
  if (kind == NSKeyValueChangeInsertion) {
    for (NSRunningApplication* app in change[NSKeyValueChangeNewKey]) {
      if (!tarvolo::platform::mac::isAnnouncedApplication(app)) continue;
      _launch(tarvolo::platform::mac::runningApplicationFrom(app));
    }
  } else if (kind == NSKeyValueChangeRemoval) {
    for (NSRunningApplication* app in change[NSKeyValueChangeOldKey]) {
      if (!tarvolo::platform::mac::isAnnouncedApplication(app)) continue;
      RunningApplication gone = tarvolo::platform::mac::runningApplicationFrom(app);
      gone.isTerminated = true;
      _terminate(gone);
    }
  }
}

@end

namespace tarvolo::platform::mac {

namespace {

// The monitor's vendor, model and serial number outlive the display's number, which the system
// hands out afresh as displays come and go. Two identical monitors without serial numbers are
// told apart by their unit number.
std::string displayIdentity(NSScreen* screen) {
  NSNumber* number = screen.deviceDescription[@"NSScreenNumber"];
  if (![number isKindOfClass:[NSNumber class]]) return "";
  const CGDirectDisplayID display = number.unsignedIntValue;
  const std::uint32_t serial = CGDisplaySerialNumber(display);
  std::string identity = std::to_string(CGDisplayVendorNumber(display)) + "-" +
                         std::to_string(CGDisplayModelNumber(display)) + "-" + std::to_string(serial);
  if (serial == 0) identity += "-u" + std::to_string(CGDisplayUnitNumber(display));
  return identity;
}

}  // namespace

std::vector<ScreenInfo> MacScreens::screens() const {
  std::vector<ScreenInfo> out;
  for (NSScreen* screen in [NSScreen screens]) {
    ScreenInfo info;
    info.frame = rectFrom(screen.frame);
    info.visibleFrame = rectFrom(screen.visibleFrame);
    if ([screen respondsToSelector:@selector(auxiliaryTopLeftArea)] &&
        [screen respondsToSelector:@selector(auxiliaryTopRightArea)]) {
      NSRect left = screen.auxiliaryTopLeftArea;
      NSRect right = screen.auxiliaryTopRightArea;
      if (!NSIsEmptyRect(left) && !NSIsEmptyRect(right)) {
        info.auxiliaryTopLeftArea = rectFrom(left);
        info.auxiliaryTopRightArea = rectFrom(right);
      }
    }
    if ([screen respondsToSelector:@selector(safeAreaInsets)]) info.safeAreaTop = screen.safeAreaInsets.top;
    // The status bar's thickness (22) is an item's content height, not the bar's.
    info.menuBarHeight = menuBarHeight(screen.frame, screen.visibleFrame, info.auxiliaryTopLeftArea ? 37 : 24);
    info.name = stdString(screen.localizedName);
    info.displayID = displayIdentity(screen);
    out.push_back(info);
  }
  return out;
}

std::vector<RunningApplication> MacWorkspace::runningApplications() const {
  std::vector<RunningApplication> out;
  for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
    out.push_back(runningApplicationFrom(app));
  }
  return out;
}

std::optional<RunningApplication> MacWorkspace::frontmostApplication() const {
  NSRunningApplication* app = NSWorkspace.sharedWorkspace.frontmostApplication;
  if (!app) return std::nullopt;
  return runningApplicationFrom(app);
}

std::optional<RunningApplication> MacWorkspace::menuBarOwningApplication() const {
  NSRunningApplication* app = NSWorkspace.sharedWorkspace.menuBarOwningApplication;
  if (!app) return std::nullopt;
  return runningApplicationFrom(app);
}

bool MacWorkspace::openURL(const std::string& url) {
  NSURL* target = [NSURL URLWithString:nsString(url)];
  if (!target) return false;
  return [NSWorkspace.sharedWorkspace openURL:target];
}

namespace {

void* const kRunningApplicationsContext = const_cast<char*>("TRVRunningApplications");

}  // namespace

MacSystemObserver::MacSystemObserver()
    : slot_(std::make_shared<Slot>()),
      workspaceTokens_([NSMutableArray array]),
      centerTokens_([NSMutableArray array]) {
  std::weak_ptr<Slot> weakSlot = slot_;
  auto observe = [weakSlot](NSNotificationCenter* center, NSNotificationName name,
                            std::function<void(SystemEventSink&, NSNotification*)> deliver) {
    return [center addObserverForName:name
                               object:nil
                                queue:NSOperationQueue.mainQueue
                           usingBlock:^(NSNotification* note) {
                             std::shared_ptr<Slot> slot = weakSlot.lock();
                             if (!slot || !slot->sink) return;
                             deliver(*slot->sink, note);
                           }];
  };

  NSNotificationCenter* workspaceCenter = NSWorkspace.sharedWorkspace.notificationCenter;
  [workspaceTokens_ addObject:observe(workspaceCenter, NSWorkspaceDidActivateApplicationNotification,
                                      [](SystemEventSink& sink, NSNotification* note) {
                                        NSRunningApplication* app = note.userInfo[NSWorkspaceApplicationKey];
                                        if (app) sink.applicationDidActivate(runningApplicationFrom(app));
                                      })];
  [workspaceTokens_ addObject:observe(workspaceCenter, NSWorkspaceDidWakeNotification,
                                      [](SystemEventSink& sink, NSNotification*) { sink.workspaceDidWake(); })];
  [workspaceTokens_ addObject:observe(workspaceCenter, NSWorkspaceActiveSpaceDidChangeNotification,
                                      [](SystemEventSink& sink, NSNotification*) { sink.activeSpaceDidChange(); })];

  NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
  [centerTokens_ addObject:observe(center, NSApplicationDidChangeScreenParametersNotification,
                                   [](SystemEventSink& sink, NSNotification*) { sink.screenParametersDidChange(); })];
  [centerTokens_ addObject:observe(center, NSMenuDidBeginTrackingNotification,
                                   [](SystemEventSink& sink, NSNotification*) { sink.menuDidBeginTracking(); })];
  [centerTokens_ addObject:observe(center, NSMenuDidEndTrackingNotification,
                                   [](SystemEventSink& sink, NSNotification*) { sink.menuDidEndTracking(); })];
  [centerTokens_ addObject:observe(center, NSCurrentLocaleDidChangeNotification,
                                   [](SystemEventSink& sink, NSNotification*) { sink.preferredLanguagesDidChange(); })];
  // Nothing announces a changed Accessibility permission; becoming active is when to look again.
  [centerTokens_ addObject:observe(center, NSApplicationDidBecomeActiveNotification,
                                   [](SystemEventSink& sink, NSNotification*) { sink.applicationDidBecomeActive(); })];

  auto report = [weakSlot](void (SystemEventSink::*event)(const RunningApplication&)) {
    return [weakSlot, event](const RunningApplication& app) {
      std::shared_ptr<Slot> slot = weakSlot.lock();
      if (slot && slot->sink) (slot->sink->*event)(app);
    };
  };
  runningApplicationsObserver_ =
      [[TRVRunningApplicationsObserver alloc] initWithLaunch:report(&SystemEventSink::applicationDidLaunch)
                                                   terminate:report(&SystemEventSink::applicationDidTerminate)];
  [NSWorkspace.sharedWorkspace addObserver:runningApplicationsObserver_
                                forKeyPath:@"runningApplications"
                                   options:NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld
                                   context:kRunningApplicationsContext];
}

MacSystemObserver::~MacSystemObserver() {
  [NSWorkspace.sharedWorkspace removeObserver:runningApplicationsObserver_
                                   forKeyPath:@"runningApplications"
                                      context:kRunningApplicationsContext];
  NSNotificationCenter* workspaceCenter = NSWorkspace.sharedWorkspace.notificationCenter;
  for (id token in workspaceTokens_) [workspaceCenter removeObserver:token];
  for (id token in centerTokens_) [NSNotificationCenter.defaultCenter removeObserver:token];
}

}  // namespace tarvolo::platform::mac
