// Status items and their menus.
//
// OS quirks handled here:
// - AppKit applies an item's stored preferred position when the autosave name is assigned, so
//   the name is set in the same turn as the item is created, before it is first laid out.
// - An item's frames come from its window as the window server last placed it: missing until
//   the window exists, at the bar's left edge until the first layout, and stale for a moment
//   after a length change. They are reported as they are; the core reads twice and keeps only
//   stable values. On macOS 27 the bar is one surface and the window's origin is clamped the
//   same way whether the item was laid out or dropped, so a frame proves little there.
// - Releasing an NSStatusItem takes it off the bar but leaves its stored position behind;
//   removeStatusItem: (like isVisible = NO) deletes it.
// - Control and menu-item targets are weak: the closure forwarders are owned by the item and by
//   each menu item's representedObject.
// - A menu is shown by attaching it to the item for one synthetic click, which places it under
//   the button and highlights it as a click would; popUpStatusItemMenu: is deprecated.

#include "platform/macos/MacBackend.h"

@implementation TRVActionTarget {
  std::function<void()> _action;
}

- (instancetype)initWithAction:(std::function<void()>)action {
  if ((self = [super init])) _action = std::move(action);
  return self;
}

- (void)perform:(id)sender {
  (void)sender;
  // The action may remove the item that owns this target; run a copy.
  std::function<void()> action = _action;
  if (action) action();
}

@end

namespace tarvolo::platform::mac {

MacStatusItem::MacStatusItem(NSStatusItem* item) : item_(item), autosaveName_(stdString(item.autosaveName)) {}

MacStatusItem::~MacStatusItem() {
  NSStatusBarButton* button = item_.button;
  button.target = nil;
  button.action = nil;
  item_.menu = nil;
}

const std::string& MacStatusItem::autosaveName() const { return autosaveName_; }

void MacStatusItem::setLength(double length) { item_.length = length; }

double MacStatusItem::length() const { return item_.length; }

void MacStatusItem::setVisible(bool visible) { item_.visible = visible ? YES : NO; }

bool MacStatusItem::isVisible() const { return item_.visible; }

bool MacStatusItem::hasButton() const { return item_.button != nil; }

std::optional<Rect> MacStatusItem::buttonFrameOnScreen() const {
  NSStatusBarButton* button = item_.button;
  NSWindow* window = button.window;
  if (!button || !window) return std::nullopt;
  NSRect inWindow = [button convertRect:button.bounds toView:nil];
  NSRect onScreen = [window convertRectToScreen:inWindow];
  if (NSIsEmptyRect(onScreen)) return std::nullopt;
  return rectFrom(onScreen);
}

std::optional<Rect> MacStatusItem::windowFrame() const {
  NSWindow* window = item_.button.window;
  if (!window) return std::nullopt;
  NSRect frame = window.frame;
  if (NSIsEmptyRect(frame)) return std::nullopt;
  return rectFrom(frame);
}

void MacStatusItem::setTitle(const std::string& title) { item_.button.title = nsString(title); }

bool MacStatusItem::setSymbolImage(const std::string& symbolName, double pointSize) {
  NSStatusBarButton* button = item_.button;
  if (!button) return false;
  if (symbolName.empty()) {
    button.image = nil;
    return true;
  }
  NSImage* image = [NSImage imageWithSystemSymbolName:nsString(symbolName) accessibilityDescription:nil];
  if (!image) return false;
  NSImageSymbolConfiguration* configuration = [NSImageSymbolConfiguration configurationWithPointSize:pointSize
                                                                                              weight:NSFontWeightRegular];
  NSImage* sized = [image imageWithSymbolConfiguration:configuration];
  if (!sized) return false;
  [sized setTemplate:YES];  // `template` is a C++ keyword, so no dot syntax
  button.image = sized;
  return true;
}

void MacStatusItem::setToolTip(const std::string& text) { item_.button.toolTip = text.empty() ? nil : nsString(text); }

void MacStatusItem::setAccessibilityLabel(const std::string& text) {
  [item_.button setAccessibilityLabel:text.empty() ? nil : nsString(text)];
}

void MacStatusItem::setAction(EventMask sendOn, std::function<void(std::optional<Event>)> action) {
  NSStatusBarButton* button = item_.button;
  if (!button) return;
  NSEventMask mask = nsEventMask(sendOn);
  if (mask == 0) mask = NSEventMaskLeftMouseUp;
  __weak NSStatusBarButton* weakButton = button;
  actionTarget_ = action ? [[TRVActionTarget alloc] initWithAction:[weakButton, mask, action = std::move(action)] {
    // Pressed through Accessibility, NSApp's current event is whatever came last, perhaps a
    // right-click elsewhere: only an event of this button's window of a type it sends on counts.
    NSEvent* event = NSApplication.sharedApplication.currentEvent;
    NSStatusBarButton* button = weakButton;
    const bool sentIt = event && button && event.window == button.window && (NSEventMaskFromType(event.type) & mask) != 0;
    action(sentIt ? std::optional<Event>(eventFrom(event)) : std::nullopt);
  }] : nil;
  button.target = actionTarget_;
  button.action = actionTarget_ ? @selector(perform:) : nil;
  [button sendActionOn:mask];
}

void MacStatusItem::popUpMenu(const Menu& menu) {
  NSMenu* native = [[NSMenu alloc] initWithTitle:@""];
  native.autoenablesItems = NO;
  for (const MenuItem& entry : menu.items) {
    if (entry.isSeparator) {
      [native addItem:[NSMenuItem separatorItem]];
      continue;
    }
    NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:nsString(entry.title)
                                                  action:@selector(perform:)
                                           keyEquivalent:nsString(entry.keyEquivalent)];
    TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:entry.perform];
    item.target = target;
    item.representedObject = target;
    item.identifier = nsString(entry.action);
    item.enabled = entry.perform != nullptr;
    [native addItem:item];
  }
  lastMenu_ = native;
  NSStatusItem* statusItem = item_;
  statusItem.menu = native;
  [statusItem.button performClick:nil];
  // performClick: returns after tracking ends; this object may be gone by now (a chosen item
  // can remove it), so only the local reference is touched.
  statusItem.menu = nil;
}

std::unique_ptr<StatusItem> MacStatusBar::createStatusItem(double length, const std::string& autosaveName) {
  NSStatusItem* item = [NSStatusBar.systemStatusBar statusItemWithLength:length];
  if (!autosaveName.empty()) item.autosaveName = nsString(autosaveName);
  return std::make_unique<MacStatusItem>(item);
}

void MacStatusBar::removeStatusItem(std::unique_ptr<StatusItem> item) {
  auto* mac = dynamic_cast<MacStatusItem*>(item.get());
  if (!mac) return;
  [NSStatusBar.systemStatusBar removeStatusItem:mac->nativeItem()];
}

double MacStatusBar::thickness() const { return NSStatusBar.systemStatusBar.thickness; }

}  // namespace tarvolo::platform::mac
