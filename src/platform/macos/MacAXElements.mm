// Accessibility elements, attributes, actions, hit testing and observers, for the Icon Shelf's
// background work.
//
// OS quirks handled here:
// - Every call may run on a background queue; AXUIElement calls are thread-safe, observers are
//   not: they are created, registered and torn down on the main thread only, and their run-loop
//   source is added to the main run loop in the common modes (so menus tracking in the event
//   loop do not starve it).
// - Attribute values arrive as CF objects of any type: an AXValue is unpacked only after its
//   AXValueType says it is a point or a size; anything else is kept as an opaque "other".
// - AXUIElementCopyElementAtPosition takes top-left global coordinates, as float.
// - The messaging time-out defaults to 6 s and is not inherited; callers set it per element.

#include "platform/macos/MacBackend.h"

#import <ApplicationServices/ApplicationServices.h>

namespace tarvolo::platform::mac {

namespace {

class MacAXRef final : public AXElementRef {
 public:
  explicit MacAXRef(AXUIElementRef element) : element_(static_cast<AXUIElementRef>(CFRetain(element))) {}
  ~MacAXRef() override { CFRelease(element_); }
  MacAXRef(const MacAXRef&) = delete;
  MacAXRef& operator=(const MacAXRef&) = delete;
  bool isEqual(const AXElementRef& other) const override {
    auto* mac = dynamic_cast<const MacAXRef*>(&other);
    return mac && CFEqual(element_, mac->element_);
  }
  AXUIElementRef element() const { return element_; }

 private:
  AXUIElementRef element_;
};

AXUIElementRef axElement(const AXElement& element) {
  auto* mac = dynamic_cast<const MacAXRef*>(&element.ref());
  return mac ? mac->element() : nullptr;
}

// Takes a +1 reference.
AXElement adopt(AXUIElementRef element) {
  AXElement out(std::make_shared<MacAXRef>(element));
  CFRelease(element);
  return out;
}

AXValue valueFrom(CFTypeRef value) {
  if (!value) return AXValue{};
  const CFTypeID type = CFGetTypeID(value);
  if (type == CFBooleanGetTypeID()) return AXValue{static_cast<bool>(CFBooleanGetValue(static_cast<CFBooleanRef>(value)))};
  if (type == CFNumberGetTypeID()) {
    double number = 0;
    if (CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number)) return AXValue{number};
    return AXValue{};
  }
  if (type == CFStringGetTypeID()) return AXValue{stdString((__bridge NSString*)value)};
  if (type == AXUIElementGetTypeID()) return AXValue{AXElement(std::make_shared<MacAXRef>(static_cast<AXUIElementRef>(value)))};
  if (type == AXValueGetTypeID()) {
    auto axValue = static_cast<AXValueRef>(value);
    switch (AXValueGetType(axValue)) {
      case kAXValueTypeCGPoint: {
        CGPoint point;
        if (AXValueGetValue(axValue, kAXValueTypeCGPoint, &point)) return AXValue{Point{point.x, point.y}};
        return AXValue{};
      }
      case kAXValueTypeCGSize: {
        CGSize size;
        if (AXValueGetValue(axValue, kAXValueTypeCGSize, &size)) return AXValue{Size{size.width, size.height}};
        return AXValue{};
      }
      default: return AXValue{};  // ranges, rects and errors are never read by the core
    }
  }
  if (type == CFArrayGetTypeID()) {
    auto array = static_cast<CFArrayRef>(value);
    AXValue::List list;
    const CFIndex count = CFArrayGetCount(array);
    list.reserve(static_cast<std::size_t>(count));
    for (CFIndex i = 0; i < count; ++i) list.push_back(valueFrom(CFArrayGetValueAtIndex(array, i)));
    return AXValue{std::move(list)};
  }
  return AXValue{};
}

class MacAXObserver final : public AXObserver {
 public:
  MacAXObserver(AXObserverRef observer, AXNotificationHandler handler)
      : observer_(observer), handler_(std::make_unique<AXNotificationHandler>(std::move(handler))) {
    CFRunLoopAddSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer_), kCFRunLoopCommonModes);
  }
  ~MacAXObserver() override {
    CFRunLoopRemoveSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer_), kCFRunLoopCommonModes);
    CFRelease(observer_);
  }
  MacAXObserver(const MacAXObserver&) = delete;
  MacAXObserver& operator=(const MacAXObserver&) = delete;

  AXError addNotification(const AXElement& element, const std::string& notification) override {
    AXUIElementRef target = axElement(element);
    if (!target) return ax::illegalArgument;
    return AXObserverAddNotification(observer_, target, (__bridge CFStringRef)nsString(notification), handler_.get());
  }

  static void callback(AXObserverRef, AXUIElementRef element, CFStringRef notification, void* refcon) {
    auto* handler = static_cast<AXNotificationHandler*>(refcon);
    if (!handler || !*handler) return;
    (*handler)(AXElement(std::make_shared<MacAXRef>(element)), stdString((__bridge NSString*)notification));
  }

 private:
  AXObserverRef observer_;
  // The observer's refcon; lives as long as the observer.
  std::unique_ptr<AXNotificationHandler> handler_;
};

}  // namespace

AXElement MacAccessibility::systemWideElement() { return adopt(AXUIElementCreateSystemWide()); }

AXElement MacAccessibility::applicationElement(int pid) { return adopt(AXUIElementCreateApplication(pid)); }

std::optional<int> MacAccessibility::processID(const AXElement& element) {
  AXUIElementRef target = axElement(element);
  pid_t pid = 0;
  if (!target || AXUIElementGetPid(target, &pid) != kAXErrorSuccess || pid <= 0) return std::nullopt;
  return static_cast<int>(pid);
}

void MacAccessibility::setMessagingTimeout(const AXElement& element, double seconds) {
  if (AXUIElementRef target = axElement(element)) AXUIElementSetMessagingTimeout(target, static_cast<float>(seconds));
}

AXResult<AXValue> MacAccessibility::attribute(const AXElement& element, const std::string& name) {
  AXUIElementRef target = axElement(element);
  if (!target) return AXResult<AXValue>::failed(ax::illegalArgument);
  CFTypeRef value = nullptr;
  const AXError error = AXUIElementCopyAttributeValue(target, (__bridge CFStringRef)nsString(name), &value);
  if (error != kAXErrorSuccess || !value) {
    if (value) CFRelease(value);
    return AXResult<AXValue>::failed(error == kAXErrorSuccess ? ax::noValue : error);
  }
  AXValue out = valueFrom(value);
  CFRelease(value);
  return AXResult<AXValue>{.value = std::move(out)};
}

AXResult<std::vector<std::string>> MacAccessibility::actionNames(const AXElement& element) {
  AXUIElementRef target = axElement(element);
  if (!target) return AXResult<std::vector<std::string>>::failed(ax::illegalArgument);
  CFArrayRef names = nullptr;
  const AXError error = AXUIElementCopyActionNames(target, &names);
  if (error != kAXErrorSuccess || !names) return AXResult<std::vector<std::string>>::failed(error);
  std::vector<std::string> out;
  for (id name in (__bridge NSArray*)names) {
    if ([name isKindOfClass:[NSString class]]) out.push_back(stdString(name));
  }
  CFRelease(names);
  return AXResult<std::vector<std::string>>{.value = std::move(out)};
}

AXError MacAccessibility::performAction(const AXElement& element, const std::string& action) {
  AXUIElementRef target = axElement(element);
  if (!target) return ax::illegalArgument;
  return AXUIElementPerformAction(target, (__bridge CFStringRef)nsString(action));
}

AXResult<AXElement> MacAccessibility::elementAtPosition(const AXElement& root, Point topLeft) {
  AXUIElementRef target = axElement(root);
  if (!target) return AXResult<AXElement>::failed(ax::illegalArgument);
  AXUIElementRef hit = nullptr;
  const AXError error =
      AXUIElementCopyElementAtPosition(target, static_cast<float>(topLeft.x), static_cast<float>(topLeft.y), &hit);
  if (error != kAXErrorSuccess || !hit) return AXResult<AXElement>::failed(error == kAXErrorSuccess ? ax::noValue : error);
  return AXResult<AXElement>{.value = adopt(hit)};
}

std::unique_ptr<AXObserver> MacAccessibility::makeObserver(int pid, AXNotificationHandler handler) {
  AXObserverRef observer = nullptr;
  if (AXObserverCreate(pid, &MacAXObserver::callback, &observer) != kAXErrorSuccess || !observer) return nullptr;
  return std::make_unique<MacAXObserver>(observer, std::move(handler));
}

}  // namespace tarvolo::platform::mac
