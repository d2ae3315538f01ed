// Mouse and keyboard state and event monitors.
//
// OS quirks handled here:
// - A global monitor never sees this app's own events and a local monitor never sees other
//   apps'. Key events reach a global monitor only while the app is trusted for Accessibility;
//   untrusted, the monitor installs fine and simply never fires.
// - A local monitor can swallow an event but the core cannot rewrite one, so a handler that
//   returns an event lets AppKit's original through unchanged.

#include "platform/macos/MacBackend.h"

namespace tarvolo::platform::mac {

namespace {

class MonitorRegistration final : public Registration {
 public:
  explicit MonitorRegistration(id monitor) : monitor_(monitor) {}
  ~MonitorRegistration() override {
    if (monitor_) [NSEvent removeMonitor:monitor_];
  }

 private:
  id monitor_;
};

}  // namespace

Point MacEvents::mouseLocation() const { return pointFrom([NSEvent mouseLocation]); }

std::uint32_t MacEvents::pressedMouseButtons() const {
  return static_cast<std::uint32_t>([NSEvent pressedMouseButtons]);
}

ModifierFlags MacEvents::modifierFlags() const {
  // The class method reads the device state, not the event being dispatched.
  return modifierFlagsFrom([NSEvent modifierFlags]);
}

std::optional<Event> MacEvents::currentEvent() const {
  NSEvent* event = NSApplication.sharedApplication.currentEvent;
  if (!event) return std::nullopt;
  return eventFrom(event);
}

std::unique_ptr<Registration> MacEvents::addGlobalMonitor(EventMask mask, std::function<void(const Event&)> handler) {
  NSEventMask nativeMask = nsEventMask(mask);
  if (nativeMask == 0 || !handler) return std::make_unique<MonitorRegistration>(nil);
  id monitor = [NSEvent addGlobalMonitorForEventsMatchingMask:nativeMask
                                                      handler:^(NSEvent* event) {
                                                        handler(eventFrom(event));
                                                      }];
  return std::make_unique<MonitorRegistration>(monitor);
}

std::unique_ptr<Registration> MacEvents::addLocalMonitor(
    EventMask mask, std::function<std::optional<Event>(const Event&)> handler) {
  NSEventMask nativeMask = nsEventMask(mask);
  if (nativeMask == 0 || !handler) return std::make_unique<MonitorRegistration>(nil);
  id monitor = [NSEvent addLocalMonitorForEventsMatchingMask:nativeMask
                                                     handler:^NSEvent*(NSEvent* event) {
                                                       return handler(eventFrom(event)) ? event : nil;
                                                     }];
  return std::make_unique<MonitorRegistration>(monitor);
}

}  // namespace tarvolo::platform::mac

// ---------------------------------------------------------------------------------------------
// Synthesized input
//
// OS quirks handled here:
// - Posting needs the post-event privilege (CGPreflightPostEventAccess), not Accessibility trust.
// - A click needs click state 1 on both the down and the up event; the caller spaces them.
// - Events and cursor warps speak top-left global coordinates; CGEventGetLocation of a fresh
//   event is the cursor in that space.

namespace tarvolo::platform::mac {

bool MacEvents::mayPostEvents() const { return CGPreflightPostEventAccess(); }

bool MacEvents::mouseButtonHeld() const {
  return CGEventSourceButtonState(kCGEventSourceStateCombinedSessionState, kCGMouseButtonLeft) ||
         CGEventSourceButtonState(kCGEventSourceStateCombinedSessionState, kCGMouseButtonRight);
}

Point MacEvents::cursorPosition() const {
  CGEventRef probe = CGEventCreate(nullptr);
  if (!probe) return {};
  const CGPoint location = CGEventGetLocation(probe);
  CFRelease(probe);
  return {location.x, location.y};
}

void MacEvents::postMouseEvent(const SyntheticMouseEvent& event) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CGEventType type = kCGEventLeftMouseDown;
  switch (event.kind) {
    case SyntheticMouseEvent::Kind::leftMouseDown: type = kCGEventLeftMouseDown; break;
    case SyntheticMouseEvent::Kind::leftMouseUp: type = kCGEventLeftMouseUp; break;
    case SyntheticMouseEvent::Kind::leftMouseDragged: type = kCGEventLeftMouseDragged; break;
  }
  CGEventRef posted = CGEventCreateMouseEvent(source, type, CGPointMake(event.location.x, event.location.y),
                                              kCGMouseButtonLeft);
  if (posted) {
    CGEventSetFlags(posted, static_cast<CGEventFlags>(event.modifierFlags.raw));
    CGEventSetIntegerValueField(posted, kCGMouseEventClickState, event.clickState);
    CGEventSetIntegerValueField(posted, kCGEventSourceUserData, event.userData);
    CGEventPost(kCGHIDEventTap, posted);
    CFRelease(posted);
  }
  if (source) CFRelease(source);
}

void MacEvents::warpCursor(Point topLeft) { CGWarpMouseCursorPosition(CGPointMake(topLeft.x, topLeft.y)); }

}  // namespace tarvolo::platform::mac
