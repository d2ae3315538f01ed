// Building blocks for the windows below. Nothing here keeps state; callers hold the action
// targets, since AppKit controls keep their targets weakly.

#include "platform/macos/MacWindowKit.h"

namespace tarvolo::platform::mac::kit {

void activateApplication() {
  NSApplication* application = NSApplication.sharedApplication;
  if ([application respondsToSelector:@selector(activate)]) {
    [application performSelector:@selector(activate)];
  } else {
    [application activateIgnoringOtherApps:YES];
  }
}

NSTextField* detailLabel(const std::string& text, CGFloat width) {
  NSTextField* field = [NSTextField wrappingLabelWithString:nsString(text)];
  field.font = [NSFont systemFontOfSize:NSFont.smallSystemFontSize];
  field.textColor = NSColor.secondaryLabelColor;
  field.preferredMaxLayoutWidth = width;
  return field;
}

NSTextField* label(const std::string& text, CGFloat size, NSFontWeight weight) {
  NSTextField* field = [NSTextField labelWithString:nsString(text)];
  field.font = [NSFont systemFontOfSize:size weight:weight];
  field.textColor = NSColor.labelColor;
  return field;
}

NSStackView* column(NSArray<NSView*>* views, CGFloat spacing) {
  NSStackView* stack = [NSStackView stackViewWithViews:views];
  stack.orientation = NSUserInterfaceLayoutOrientationVertical;
  stack.alignment = NSLayoutAttributeLeading;
  stack.spacing = spacing;
  return stack;
}

NSStackView* row(NSArray<NSView*>* views, CGFloat spacing) {
  NSStackView* stack = [NSStackView stackViewWithViews:views];
  stack.orientation = NSUserInterfaceLayoutOrientationHorizontal;
  stack.alignment = NSLayoutAttributeCenterY;
  stack.spacing = spacing;
  return stack;
}

NSButton* button(const std::string& title, std::function<void()> action, NSMutableArray* targets) {
  TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:std::move(action)];
  [targets addObject:target];
  return [NSButton buttonWithTitle:nsString(title) target:target action:@selector(perform:)];
}

NSButton* checkbox(const std::string& title, bool on, std::function<void(bool)> action, NSMutableArray* targets) {
  NSButton* box = [NSButton checkboxWithTitle:nsString(title) target:nil action:@selector(perform:)];
  box.state = on ? NSControlStateValueOn : NSControlStateValueOff;
  __weak NSButton* weakBox = box;
  TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:[weakBox, action = std::move(action)] {
    NSButton* strongBox = weakBox;
    if (strongBox && action) action(strongBox.state == NSControlStateValueOn);
  }];
  [targets addObject:target];
  box.target = target;
  return box;
}

NSPanel* utilityPanel(NSSize size, NSWindowCollectionBehavior behavior) {
  NSPanel* panel = [[NSPanel alloc] initWithContentRect:NSMakeRect(0, 0, size.width, size.height)
                                              styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskNonactivatingPanel |
                                                        NSWindowStyleMaskUtilityWindow
                                                backing:NSBackingStoreBuffered
                                                  defer:YES];
  panel.releasedWhenClosed = NO;
  panel.hidesOnDeactivate = NO;
  panel.floatingPanel = YES;
  panel.becomesKeyOnlyIfNeeded = YES;
  panel.collectionBehavior = behavior;
  return panel;
}

NSScreen* screenContaining(NSPoint point) {
  for (NSScreen* screen in NSScreen.screens) {
    if (NSPointInRect(point, screen.frame)) return screen;
  }
  return NSScreen.screens.firstObject;
}

NSImageView* bundleIcon(const std::optional<std::string>& path, CGFloat size) {
  if (!path) return nil;
  NSImage* image = [NSWorkspace.sharedWorkspace iconForFile:nsString(*path)];
  NSImageView* view = [NSImageView imageViewWithImage:image];
  [view.widthAnchor constraintEqualToConstant:size].active = YES;
  [view.heightAnchor constraintEqualToConstant:size].active = YES;
  return view;
}

}  // namespace tarvolo::platform::mac::kit
