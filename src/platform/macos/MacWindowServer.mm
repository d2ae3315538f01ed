// The window server's list of on-screen windows and the Accessibility tree of menu-bar items.
//
// OS quirks handled here:
// - CGWindowListCopyWindowInfo returns NULL when the window server cannot be reached (no
//   session, or too early at login); that is reported as "cannot be asked", not as no windows.
// - kCGWindowBounds is a dictionary in the top-left global space the core's window list speaks;
//   it is converted with CGRectMakeWithDictionaryRepresentation, and a description without it is
//   kept with absent bounds. kCGWindowOwnerName is localized and may be missing; kCGWindowName
//   is present only with the screen-recording permission.
// - On macOS 26 every status item reports Control Center as its owner, and on macOS 27 the bar
//   has no per-item windows; the list is reported as it is and the core decides what to trust.
// - Accessibility: an application's status items are the children of its "AXExtrasMenuBar".
//   An application without one answers "no value" or "attribute unsupported", which is an
//   empty list, not a failure. Positions and sizes are top-left global, like the window list.
// - The messaging time-out defaults to 6 s and is set per element (not inherited); every
//   element read here gets kAccessibilityReadTimeout, and a read gives up on an application at
//   its first time-out (kAXErrorCannotComplete), so a hung application costs one time-out, not
//   one per element. These reads run on serial background queues only: the catalogue's, and the
//   menus reading's below.
// - The right end of the application menus is wanted synchronously (the pointer's hover, the
//   fold's room), so it is read off the main thread whenever the menu-bar owner changes (KVO of
//   menuBarOwningApplication, activation) or the screens change, and answered from the last
//   reading; titles also change without notice, so a reading older than a second is renewed when
//   asked for. One refresh old is harmless there: a hover must rest before it reveals, and the
//   fold's room is measured again at the next collapse; an old owner's value beats none, which
//   would count the menus as empty bar.

#include "platform/macos/MacBackend.h"

#import <ApplicationServices/ApplicationServices.h>

#include <atomic>

// Runs a block when an observed key path changes, on the main thread.
@interface TRVKeyPathObserver : NSObject
- (instancetype)initWithChange:(dispatch_block_t)change;
@end

@implementation TRVKeyPathObserver {
  dispatch_block_t _change;
}

- (instancetype)initWithChange:(dispatch_block_t)change {
  if ((self = [super init])) _change = [change copy];
  return self;
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context {
  (void)keyPath;
  (void)object;
  (void)change;
  (void)context;
  // KVO announces on the thread that made the change.
  if ([NSThread isMainThread]) {
    _change();
  } else {
    dispatch_async(dispatch_get_main_queue(), _change);
  }
}

@end

namespace tarvolo::platform::mac {

namespace {

constexpr float kAccessibilityTimeoutSeconds = static_cast<float>(kAccessibilityReadTimeout);
// Menu titles change without notice; a reading this old is renewed when asked for.
constexpr double kMenusReadingMaxAge = 1.0;
void* const kMenuBarOwnerContext = const_cast<char*>("TRVMenuBarOwner");

std::optional<std::string> optionalString(id value) {
  if (![value isKindOfClass:[NSString class]]) return std::nullopt;
  return stdString(value);
}

// Copies an attribute and hands it to ARC; nil when it has no value or cannot be read.
id copyAttribute(AXUIElementRef element, CFStringRef attribute, AXError* error = nullptr) {
  CFTypeRef value = nullptr;
  AXError result = AXUIElementCopyAttributeValue(element, attribute, &value);
  if (error) *error = result;
  if (result != kAXErrorSuccess || !value) return nil;
  return CFBridgingRelease(value);
}

// Reads attributes of one application until it first fails to answer in time; later reads are
// skipped, so a hung application costs one time-out.
struct Reader {
  bool timedOut = false;
  id copy(AXUIElementRef element, CFStringRef attribute, AXError* error = nullptr) {
    if (timedOut) {
      if (error) *error = kAXErrorCannotComplete;
      return nil;
    }
    AXError result = kAXErrorSuccess;
    id value = copyAttribute(element, attribute, &result);
    if (result == kAXErrorCannotComplete) timedOut = true;
    if (error) *error = result;
    return value;
  }
};

std::optional<Rect> frameOf(Reader& reader, AXUIElementRef element) {
  id position = reader.copy(element, kAXPositionAttribute);
  id size = reader.copy(element, kAXSizeAttribute);
  if (!position || !size) return std::nullopt;
  // An application may answer with anything; only AXValues of the expected kind are unpacked.
  if (CFGetTypeID((__bridge CFTypeRef)position) != AXValueGetTypeID() ||
      CFGetTypeID((__bridge CFTypeRef)size) != AXValueGetTypeID() ||
      AXValueGetType((__bridge AXValueRef)position) != kAXValueTypeCGPoint ||
      AXValueGetType((__bridge AXValueRef)size) != kAXValueTypeCGSize) {
    return std::nullopt;
  }
  CGPoint origin;
  CGSize extent;
  if (!AXValueGetValue((__bridge AXValueRef)position, kAXValueTypeCGPoint, &origin) ||
      !AXValueGetValue((__bridge AXValueRef)size, kAXValueTypeCGSize, &extent)) {
    return std::nullopt;
  }
  return Rect{origin.x, origin.y, extent.width, extent.height};
}

}  // namespace

WindowInfo windowInfoFrom(NSDictionary* description) {
  WindowInfo window;
  if (auto owner = optionalString(description[(__bridge NSString*)kCGWindowOwnerName])) window.ownerName = *owner;
  id pid = description[(__bridge NSString*)kCGWindowOwnerPID];
  if ([pid isKindOfClass:[NSNumber class]]) window.ownerPid = [pid intValue];
  id layer = description[(__bridge NSString*)kCGWindowLayer];
  if ([layer isKindOfClass:[NSNumber class]]) window.layer = [layer intValue];
  id bounds = description[(__bridge NSString*)kCGWindowBounds];
  CGRect rect;
  if ([bounds isKindOfClass:[NSDictionary class]] &&
      CGRectMakeWithDictionaryRepresentation((__bridge CFDictionaryRef)bounds, &rect)) {
    window.bounds = Rect{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
  }
  window.title = optionalString(description[(__bridge NSString*)kCGWindowName]);
  return window;
}

std::optional<std::vector<WindowInfo>> MacWindowList::onScreenWindows(DesktopElements desktopElements) const {
  CGWindowListOption options = kCGWindowListOptionOnScreenOnly;
  switch (desktopElements) {
    case DesktopElements::include: break;
    case DesktopElements::exclude: options |= kCGWindowListExcludeDesktopElements; break;
  }
  NSArray* list = CFBridgingRelease(CGWindowListCopyWindowInfo(options, kCGNullWindowID));
  if (![list isKindOfClass:[NSArray class]]) return std::nullopt;
  std::vector<WindowInfo> out;
  out.reserve(list.count);
  for (id description in list) {
    if ([description isKindOfClass:[NSDictionary class]]) out.push_back(windowInfoFrom(description));
  }
  return out;
}

bool MacAccessibility::isProcessTrusted() const { return AXIsProcessTrusted(); }

bool MacAccessibility::requestTrustWithPrompt() {
  // The prompt runs asynchronously; the answer is the trust as it stands before the user acts.
  NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
  return AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
}

std::optional<std::vector<AccessibilityMenuBarItem>> MacAccessibility::extrasMenuBarItems(int pid) const {
  if (!AXIsProcessTrusted() || pid <= 0) return std::nullopt;
  id application = CFBridgingRelease(AXUIElementCreateApplication(pid));
  if (!application) return std::nullopt;
  auto appElement = (__bridge AXUIElementRef)application;
  AXUIElementSetMessagingTimeout(appElement, kAccessibilityTimeoutSeconds);

  Reader reader;
  AXError error = kAXErrorSuccess;
  id bar = reader.copy(appElement, CFSTR("AXExtrasMenuBar"), &error);
  if (!bar) {
    if (error == kAXErrorNoValue || error == kAXErrorAttributeUnsupported)
      return std::vector<AccessibilityMenuBarItem>{};
    return std::nullopt;
  }
  if (CFGetTypeID((__bridge CFTypeRef)bar) != AXUIElementGetTypeID()) return std::nullopt;
  auto barElement = (__bridge AXUIElementRef)bar;
  AXUIElementSetMessagingTimeout(barElement, kAccessibilityTimeoutSeconds);
  NSArray* children = reader.copy(barElement, kAXChildrenAttribute, &error);
  if (![children isKindOfClass:[NSArray class]]) {
    if (error == kAXErrorNoValue || error == kAXErrorSuccess) return std::vector<AccessibilityMenuBarItem>{};
    return std::nullopt;
  }

  std::vector<AccessibilityMenuBarItem> out;
  for (id child in children) {
    if (CFGetTypeID((__bridge CFTypeRef)child) != AXUIElementGetTypeID()) continue;
    auto element = (__bridge AXUIElementRef)child;
    AXUIElementSetMessagingTimeout(element, kAccessibilityTimeoutSeconds);
    AccessibilityMenuBarItem item;
    item.frame = frameOf(reader, element);
    item.title = optionalString(reader.copy(element, kAXTitleAttribute));
    // Image-only items carry their name in the description.
    if (!item.title || item.title->empty()) item.title = optionalString(reader.copy(element, kAXDescriptionAttribute));
    item.identifier = optionalString(reader.copy(element, kAXIdentifierAttribute));
    // Stopped answering part-way: what was read is not the application's whole bar.
    if (reader.timedOut) return std::nullopt;
    out.push_back(std::move(item));
  }
  return out;
}

namespace {

// The right end of an application's menu titles on the primary screen's bar. Runs on the menus
// reading's queue.
std::optional<double> readMenusMaxX(pid_t pid, NSRect primaryFrame, double barHeight) {
  id application = CFBridgingRelease(AXUIElementCreateApplication(pid));
  if (!application) return std::nullopt;
  auto appElement = (__bridge AXUIElementRef)application;
  AXUIElementSetMessagingTimeout(appElement, kAccessibilityTimeoutSeconds);
  Reader reader;
  id bar = reader.copy(appElement, kAXMenuBarAttribute);
  if (!bar || CFGetTypeID((__bridge CFTypeRef)bar) != AXUIElementGetTypeID()) return std::nullopt;
  auto barElement = (__bridge AXUIElementRef)bar;
  AXUIElementSetMessagingTimeout(barElement, kAccessibilityTimeoutSeconds);
  NSArray* titles = reader.copy(barElement, kAXChildrenAttribute);
  if (![titles isKindOfClass:[NSArray class]]) return std::nullopt;
  // Only titles on the primary screen's bar count (top-left space: the primary screen's frame
  // starts at 0,0). Global x is the same in the top-left and bottom-left spaces.
  std::optional<double> maxX;
  for (id title in titles) {
    if (CFGetTypeID((__bridge CFTypeRef)title) != AXUIElementGetTypeID()) continue;
    auto element = (__bridge AXUIElementRef)title;
    AXUIElementSetMessagingTimeout(element, kAccessibilityTimeoutSeconds);
    auto frame = frameOf(reader, element);
    if (reader.timedOut) return std::nullopt;
    if (!frame || frame->width <= 0) continue;
    if (frame->y < 0 || frame->y >= barHeight || frame->x < NSMinX(primaryFrame) || frame->maxX() > NSMaxX(primaryFrame)) {
      continue;
    }
    maxX = std::max(maxX.value_or(frame->maxX()), frame->maxX());
  }
  return maxX;
}

}  // namespace

// Main-thread state, but for the generation the queue checks before it starts a reading.
struct MacWorkspace::MenusReading {
  dispatch_queue_t queue = dispatch_queue_create("com.ostrand.tarvolo.menus-reading", DISPATCH_QUEUE_SERIAL);
  std::optional<double> maxX;
  std::optional<double> askedAt;  // system uptime
  std::atomic<std::uint64_t> generation{0};
};

namespace {

// Asks for a new reading; the owner and the screen are taken now, on the main thread.
void readMenus(const std::shared_ptr<MacWorkspace::MenusReading>& reading) {
  reading->askedAt = NSProcessInfo.processInfo.systemUptime;
  const std::uint64_t generation = ++reading->generation;
  NSRunningApplication* owner = NSWorkspace.sharedWorkspace.menuBarOwningApplication;
  NSScreen* primary = NSScreen.screens.firstObject;
  if (!owner || !primary || !AXIsProcessTrusted()) {
    reading->maxX.reset();
    return;
  }
  const pid_t pid = owner.processIdentifier;
  const NSRect frame = primary.frame;
  const double barHeight = std::max(24.0, NSMaxY(frame) - NSMaxY(primary.visibleFrame) - 1);
  std::weak_ptr<MacWorkspace::MenusReading> weakReading = reading;
  dispatch_async(reading->queue, ^{
    {
      std::shared_ptr<MacWorkspace::MenusReading> live = weakReading.lock();
      // Superseded before it started: the newer reading is queued behind this one.
      if (!live || live->generation.load() != generation) return;
    }
    const std::optional<double> maxX = readMenusMaxX(pid, frame, barHeight);
    dispatch_async(dispatch_get_main_queue(), ^{
      std::shared_ptr<MacWorkspace::MenusReading> live = weakReading.lock();
      // A reading asked for later (another owner, other screens) has the last word.
      if (live && live->generation.load() == generation) live->maxX = maxX;
    });
  });
}

}  // namespace

MacWorkspace::MacWorkspace() : menus_(std::make_shared<MenusReading>()), menusTokens_([NSMutableArray array]) {
  std::weak_ptr<MenusReading> weakReading = menus_;
  dispatch_block_t reread = ^{
    if (std::shared_ptr<MenusReading> reading = weakReading.lock()) readMenus(reading);
  };
  NSNotificationCenter* workspaceCenter = NSWorkspace.sharedWorkspace.notificationCenter;
  [menusTokens_ addObject:[workspaceCenter addObserverForName:NSWorkspaceDidActivateApplicationNotification
                                                       object:nil
                                                        queue:NSOperationQueue.mainQueue
                                                   usingBlock:^(NSNotification*) {
                                                     reread();
                                                   }]];
  [menusTokens_ addObject:[NSNotificationCenter.defaultCenter
                              addObserverForName:NSApplicationDidChangeScreenParametersNotification
                                          object:nil
                                           queue:NSOperationQueue.mainQueue
                                      usingBlock:^(NSNotification*) {
                                        reread();
                                      }]];
  menusOwnerObserver_ = [[TRVKeyPathObserver alloc] initWithChange:reread];
  [NSWorkspace.sharedWorkspace addObserver:menusOwnerObserver_
                                forKeyPath:@"menuBarOwningApplication"
                                   options:NSKeyValueObservingOptionNew
                                   context:kMenuBarOwnerContext];
  readMenus(menus_);
}

MacWorkspace::~MacWorkspace() {
  [NSWorkspace.sharedWorkspace removeObserver:menusOwnerObserver_
                                   forKeyPath:@"menuBarOwningApplication"
                                      context:kMenuBarOwnerContext];
  NSNotificationCenter* workspaceCenter = NSWorkspace.sharedWorkspace.notificationCenter;
  [workspaceCenter removeObserver:menusTokens_[0]];
  [NSNotificationCenter.defaultCenter removeObserver:menusTokens_[1]];
}

std::optional<double> MacWorkspace::applicationMenusMaxX() const {
  // Titles change without notice (a document switch, a title the system dropped): an old
  // reading is renewed, and answers meanwhile.
  const double now = NSProcessInfo.processInfo.systemUptime;
  if (!menus_->askedAt || now - *menus_->askedAt > kMenusReadingMaxAge) readMenus(menus_);
  return menus_->maxX;
}

}  // namespace tarvolo::platform::mac
