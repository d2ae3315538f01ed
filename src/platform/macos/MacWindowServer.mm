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
// - The messaging time-out defaults to 6 s and is set per element (not inherited); a hung
//   application would otherwise block the main thread that long for every element read.

#include "platform/macos/MacBackend.h"

#import <ApplicationServices/ApplicationServices.h>

namespace tarvolo::platform::mac {

namespace {

constexpr float kAccessibilityTimeoutSeconds = 0.5f;

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

std::optional<Rect> frameOf(AXUIElementRef element) {
  id position = copyAttribute(element, kAXPositionAttribute);
  id size = copyAttribute(element, kAXSizeAttribute);
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

  AXError error = kAXErrorSuccess;
  id bar = copyAttribute(appElement, CFSTR("AXExtrasMenuBar"), &error);
  if (!bar) {
    if (error == kAXErrorNoValue || error == kAXErrorAttributeUnsupported)
      return std::vector<AccessibilityMenuBarItem>{};
    return std::nullopt;
  }
  auto barElement = (__bridge AXUIElementRef)bar;
  AXUIElementSetMessagingTimeout(barElement, kAccessibilityTimeoutSeconds);
  NSArray* children = copyAttribute(barElement, kAXChildrenAttribute, &error);
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
    item.frame = frameOf(element);
    item.title = optionalString(copyAttribute(element, kAXTitleAttribute));
    // Image-only items carry their name in the description.
    if (!item.title || item.title->empty()) item.title = optionalString(copyAttribute(element, kAXDescriptionAttribute));
    item.identifier = optionalString(copyAttribute(element, kAXIdentifierAttribute));
    out.push_back(std::move(item));
  }
  return out;
}

std::optional<double> MacWorkspace::applicationMenusMaxX() const {
  NSRunningApplication* owner = NSWorkspace.sharedWorkspace.menuBarOwningApplication;
  if (!owner || !AXIsProcessTrusted()) return std::nullopt;
  id application = CFBridgingRelease(AXUIElementCreateApplication(owner.processIdentifier));
  if (!application) return std::nullopt;
  auto appElement = (__bridge AXUIElementRef)application;
  AXUIElementSetMessagingTimeout(appElement, kAccessibilityTimeoutSeconds);
  id bar = copyAttribute(appElement, kAXMenuBarAttribute);
  if (!bar) return std::nullopt;
  auto barElement = (__bridge AXUIElementRef)bar;
  AXUIElementSetMessagingTimeout(barElement, kAccessibilityTimeoutSeconds);
  NSArray* titles = copyAttribute(barElement, kAXChildrenAttribute);
  if (![titles isKindOfClass:[NSArray class]]) return std::nullopt;
  // Only titles on the primary screen's bar count (top-left space: the primary screen's frame
  // starts at 0,0). Global x is the same in the top-left and bottom-left spaces.
  NSScreen* primary = NSScreen.screens.firstObject;
  if (!primary) return std::nullopt;
  const NSRect primaryFrame = primary.frame;
  const double barHeight = std::max(24.0, NSMaxY(primaryFrame) - NSMaxY(primary.visibleFrame) - 1);
  std::optional<double> maxX;
  for (id title in titles) {
    if (CFGetTypeID((__bridge CFTypeRef)title) != AXUIElementGetTypeID()) continue;
    auto element = (__bridge AXUIElementRef)title;
    AXUIElementSetMessagingTimeout(element, kAccessibilityTimeoutSeconds);
    auto frame = frameOf(element);
    if (!frame || frame->width <= 0) continue;
    if (frame->y < 0 || frame->y >= barHeight || frame->x < NSMinX(primaryFrame) || frame->maxX() > NSMaxX(primaryFrame)) {
      continue;
    }
    maxX = std::max(maxX.value_or(frame->maxX()), frame->maxX());
  }
  return maxX;
}

}  // namespace tarvolo::platform::mac
