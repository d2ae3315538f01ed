// Conversions between AppKit values and the platform vocabulary.
//
// OS quirks handled here:
// - NSNumber hides whether a stored property-list value was a Boolean, an integer or a real.
//   Booleans are the shared CFBoolean instances, so they are told apart by type ID, never by
//   objCType (which says 'c' for BOOL and for small integers alike); reals by objCType 'f'/'d'.
// - Event locations: a window-less event (as global monitors receive) already carries screen
//   coordinates in locationInWindow; otherwise the location is converted through its window.
//   Both stay in AppKit's bottom-left global space.
// - visibleFrame.maxY lies one point below the menu bar's bottom edge; a screen whose bar is
//   hidden (or a secondary screen without one) shows no gap at all.
// - On macOS 26 and later an app linked against an older SDK may be told a compatibility
//   version (16.x) instead of the real one; the Darwin kernel version is never disguised.

#include "platform/macos/MacBackend.h"

#include <variant>

namespace tarvolo::platform::mac {

NSString* nsString(std::string_view text) {
  NSString* string = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
  return string ? string : @"";
}

std::string stdString(NSString* text) {
  const char* utf8 = text.UTF8String;
  return utf8 ? std::string(utf8) : std::string();
}

Rect rectFrom(NSRect rect) {
  return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

Point pointFrom(NSPoint point) { return {point.x, point.y}; }

EventType eventTypeFrom(NSEventType type) {
  switch (type) {
    case NSEventTypeLeftMouseDown: return EventType::leftMouseDown;
    case NSEventTypeLeftMouseUp: return EventType::leftMouseUp;
    case NSEventTypeRightMouseDown: return EventType::rightMouseDown;
    case NSEventTypeRightMouseUp: return EventType::rightMouseUp;
    case NSEventTypeOtherMouseDown: return EventType::otherMouseDown;
    case NSEventTypeOtherMouseUp: return EventType::otherMouseUp;
    case NSEventTypeLeftMouseDragged: return EventType::leftMouseDragged;
    case NSEventTypeKeyDown: return EventType::keyDown;
    case NSEventTypeKeyUp: return EventType::keyUp;
    case NSEventTypeFlagsChanged: return EventType::flagsChanged;
    case NSEventTypeMouseMoved: return EventType::mouseMoved;
    default: return EventType::other;  // AppKit has dozens of types the core does not name
  }
}

namespace {

std::optional<NSEventMask> nsEventMaskFor(EventType type) {
  switch (type) {
    case EventType::leftMouseDown: return NSEventMaskLeftMouseDown;
    case EventType::leftMouseUp: return NSEventMaskLeftMouseUp;
    case EventType::rightMouseDown: return NSEventMaskRightMouseDown;
    case EventType::rightMouseUp: return NSEventMaskRightMouseUp;
    case EventType::otherMouseDown: return NSEventMaskOtherMouseDown;
    case EventType::otherMouseUp: return NSEventMaskOtherMouseUp;
    case EventType::leftMouseDragged: return NSEventMaskLeftMouseDragged;
    case EventType::keyDown: return NSEventMaskKeyDown;
    case EventType::keyUp: return NSEventMaskKeyUp;
    case EventType::flagsChanged: return NSEventMaskFlagsChanged;
    case EventType::mouseMoved: return NSEventMaskMouseMoved;
    case EventType::other: return std::nullopt;
  }
  return std::nullopt;
}

constexpr EventType kAllEventTypes[] = {
    EventType::leftMouseDown,  EventType::leftMouseUp,  EventType::rightMouseDown,
    EventType::rightMouseUp,   EventType::otherMouseDown, EventType::otherMouseUp,
    EventType::leftMouseDragged, EventType::keyDown,    EventType::keyUp,
    EventType::flagsChanged,   EventType::mouseMoved,   EventType::other,
};

bool carriesMouseLocation(EventType type) {
  switch (type) {
    case EventType::leftMouseDown:
    case EventType::leftMouseUp:
    case EventType::rightMouseDown:
    case EventType::rightMouseUp:
    case EventType::otherMouseDown:
    case EventType::otherMouseUp:
    case EventType::leftMouseDragged:
    case EventType::mouseMoved: return true;
    case EventType::keyDown:
    case EventType::keyUp:
    case EventType::flagsChanged:
    case EventType::other: return false;
  }
  return false;
}

}  // namespace

NSEventMask nsEventMask(EventMask mask) {
  NSEventMask out = 0;
  for (EventType type : kAllEventTypes) {
    if ((mask & eventMask(type)) == 0) continue;
    if (auto native = nsEventMaskFor(type)) out |= *native;
  }
  return out;
}

ModifierFlags modifierFlagsFrom(NSEventModifierFlags flags) {
  return {static_cast<std::uint32_t>(flags & NSEventModifierFlagDeviceIndependentFlagsMask)};
}

Event eventFrom(NSEvent* event) {
  Event out;
  out.type = eventTypeFrom(event.type);
  out.modifierFlags = modifierFlagsFrom(event.modifierFlags);
  out.timestamp = event.timestamp;
  // keyCode raises for any event that is not a key event.
  if (out.type == EventType::keyDown || out.type == EventType::keyUp) out.keyCode = event.keyCode;
  if (carriesMouseLocation(out.type)) {
    NSPoint location = event.locationInWindow;
    if (NSWindow* window = event.window) location = [window convertPointToScreen:location];
    out.locationInScreen = pointFrom(location);
  } else {
    out.locationInScreen = pointFrom([NSEvent mouseLocation]);
  }
  return out;
}

ActivationPolicy activationPolicyFrom(NSApplicationActivationPolicy policy) {
  switch (policy) {
    case NSApplicationActivationPolicyRegular: return ActivationPolicy::regular;
    case NSApplicationActivationPolicyAccessory: return ActivationPolicy::accessory;
    case NSApplicationActivationPolicyProhibited: return ActivationPolicy::prohibited;
  }
  return ActivationPolicy::regular;
}

NSApplicationActivationPolicy nsActivationPolicy(ActivationPolicy policy) {
  switch (policy) {
    case ActivationPolicy::regular: return NSApplicationActivationPolicyRegular;
    case ActivationPolicy::accessory: return NSApplicationActivationPolicyAccessory;
    case ActivationPolicy::prohibited: return NSApplicationActivationPolicyProhibited;
  }
  return NSApplicationActivationPolicyRegular;
}

RunningApplication runningApplicationFrom(NSRunningApplication* app) {
  RunningApplication out;
  out.pid = app.processIdentifier;
  if (NSString* bundleIdentifier = app.bundleIdentifier) out.bundleIdentifier = stdString(bundleIdentifier);
  out.localizedName = stdString(app.localizedName);
  if (NSString* path = app.bundleURL.path) out.bundlePath = stdString(path);
  if (NSString* path = app.executableURL.path) out.executablePath = stdString(path);
  out.activationPolicy = activationPolicyFrom(app.activationPolicy);
  if (NSDate* launchDate = app.launchDate) out.launchDate = launchDate.timeIntervalSince1970;
  out.isTerminated = app.terminated;
  return out;
}

bool isAnnouncedApplication(NSRunningApplication* app) {
  switch (activationPolicyFrom(app.activationPolicy)) {
    case ActivationPolicy::regular:
    case ActivationPolicy::accessory: return true;
    case ActivationPolicy::prohibited: return false;
  }
  return false;
}

std::optional<DefaultsValue> defaultsValueFrom(id object) {
  if ([object isKindOfClass:[NSString class]]) return DefaultsValue(stdString(object));
  if ([object isKindOfClass:[NSNumber class]]) {
    NSNumber* number = object;
    if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return DefaultsValue(number.boolValue == YES);
    const char* type = number.objCType;
    if (type[0] == 'f' || type[0] == 'd') return DefaultsValue(number.doubleValue);
    return DefaultsValue(static_cast<std::int64_t>(number.longLongValue));
  }
  if ([object isKindOfClass:[NSArray class]]) {
    DefaultsValue::Array array;
    for (id element in (NSArray*)object) {
      if (auto value = defaultsValueFrom(element)) array.push_back(std::move(*value));
    }
    return DefaultsValue(std::move(array));
  }
  if ([object isKindOfClass:[NSDictionary class]]) {
    DefaultsValue::Dictionary dictionary;
    NSDictionary* native = object;
    for (id key in native) {
      if (![key isKindOfClass:[NSString class]]) continue;
      if (auto value = defaultsValueFrom(native[key])) dictionary.emplace(stdString(key), std::move(*value));
    }
    return DefaultsValue(std::move(dictionary));
  }
  return std::nullopt;
}

id propertyListFrom(const DefaultsValue& value) {
  const DefaultsValue::Storage& storage = value.storage();
  if (auto b = std::get_if<bool>(&storage)) return [NSNumber numberWithBool:*b ? YES : NO];
  if (auto i = std::get_if<std::int64_t>(&storage)) return [NSNumber numberWithLongLong:*i];
  if (auto d = std::get_if<double>(&storage)) return [NSNumber numberWithDouble:*d];
  if (auto s = std::get_if<std::string>(&storage)) return nsString(*s);
  if (auto array = std::get_if<DefaultsValue::Array>(&storage)) {
    NSMutableArray* out = [NSMutableArray arrayWithCapacity:array->size()];
    for (const DefaultsValue& element : *array) [out addObject:propertyListFrom(element)];
    return out;
  }
  const auto& dictionary = std::get<DefaultsValue::Dictionary>(storage);
  NSMutableDictionary* out = [NSMutableDictionary dictionaryWithCapacity:dictionary.size()];
  for (const auto& [key, element] : dictionary) out[nsString(key)] = propertyListFrom(element);
  return out;
}

double menuBarHeight(NSRect frame, NSRect visibleFrame, double fallback) {
  double height = NSMaxY(frame) - NSMaxY(visibleFrame) - 1;
  return height > 0 ? height : fallback;
}

int effectiveOSMajorVersion(int reportedMajor, int darwinMajor) {
  // Darwin 22…24 are macOS 13…15; from Darwin 25 the version numbers follow the year (26, 27…).
  bool compatibilityNumber = reportedMajor >= 16 && reportedMajor < 26;
  if (!compatibilityNumber || darwinMajor <= 0) return reportedMajor;
  return darwinMajor >= 25 ? darwinMajor + 1 : darwinMajor - 9;
}

}  // namespace tarvolo::platform::mac
