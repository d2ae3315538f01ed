// The app's own windows as the core reaches them, and the notices it posts; each window is drawn
// in a file of its own (MacWindows.h).
//
// The notices are drawn as every Mac window is: a notice's views are built once, when it is
// presented, and never rebuilt (a new notice of the same kind takes the old one's place); its
// button's target is kept with its panel (`notices_`) for the panel's whole life, since
// NSControl.target is weak.
//
// OS quirks handled here:
// - An accessory app (LSUIElement) has no Dock icon and is not active after launch, so a normal
//   window opens behind the frontmost app unless the app activates itself first; panels that
//   must not steal focus are non-activating and ordered front regardless.
// - Windows made in code are released when closed unless told otherwise, which would leave the
//   pointers here dangling under ARC; every window keeps releasedWhenClosed = NO.
// - An NSPanel hides whenever its app deactivates, and an accessory app deactivates as soon as
//   the user clicks elsewhere; the panels here turn hidesOnDeactivate off.
// - A notice's own button can dismiss it. AppKit still uses the button as the action's sender
//   after the action returns, so the panel is ordered out at once but freed a turn later.

#include <algorithm>

#include "platform/macos/MacWindows.h"

namespace tarvolo::platform::mac {

namespace {

constexpr CGFloat kMargin = 16;
constexpr CGFloat kNoticeWidth = 320;
constexpr CGFloat kNoticeGap = 8;

NSPanel* makePanel(NSSize size) {
  NSWindowStyleMask style = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskUtilityWindow |
                            NSWindowStyleMaskNonactivatingPanel;
  NSPanel* panel = [[NSPanel alloc] initWithContentRect:NSMakeRect(0, 0, size.width, size.height)
                                              styleMask:style
                                                backing:NSBackingStoreBuffered
                                                  defer:YES];
  panel.title = @"Tarvolo";
  panel.releasedWhenClosed = NO;
  panel.hidesOnDeactivate = NO;
  panel.floatingPanel = YES;
  panel.becomesKeyOnlyIfNeeded = YES;
  panel.collectionBehavior = NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary;
  return panel;
}

NSStackView* stack(NSArray<NSView*>* views, NSUserInterfaceLayoutOrientation orientation) {
  NSStackView* stack = [NSStackView stackViewWithViews:views];
  stack.orientation = orientation;
  stack.spacing = 10;
  stack.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
  stack.alignment = orientation == NSUserInterfaceLayoutOrientationVertical ? NSLayoutAttributeLeading
                                                                            : NSLayoutAttributeCenterY;
  return stack;
}

void setContent(NSWindow* window, NSView* content) {
  window.contentView = content;
  [window setContentSize:content.fittingSize];
}

NSRect primaryVisibleFrame() {
  NSScreen* screen = NSScreen.screens.firstObject;
  return screen ? screen.visibleFrame : NSMakeRect(0, 0, 1440, 900);
}

}  // namespace

MacUserInterface::MacUserInterface() = default;

MacUserInterface::~MacUserInterface() {
  for (const Notice& notice : notices_) [notice.panel close];
}

void MacUserInterface::presentNotice(NoticeRequest notice) {
  dismissNotice(notice.kind);
  NSPanel* panel = makePanel(NSMakeSize(kNoticeWidth, 80));
  NSTextField* message = [NSTextField wrappingLabelWithString:nsString(notice.message)];
  message.preferredMaxLayoutWidth = kNoticeWidth - 2 * kMargin;
  NSMutableArray<NSView*>* views = [NSMutableArray arrayWithObject:message];
  TRVActionTarget* actionTarget = nil;
  if (notice.actionTitle) {
    actionTarget = [[TRVActionTarget alloc] initWithAction:[this, kind = notice.kind, onAction = notice.onAction] {
      // Dismiss first: the action may present a fresh notice of the same kind.
      std::function<void()> run = onAction;
      dismissNotice(kind);
      if (run) run();
    }];
    NSButton* button = [NSButton buttonWithTitle:nsString(*notice.actionTitle)
                                          target:actionTarget
                                          action:@selector(perform:)];
    button.keyEquivalent = @"\r";
    [views addObject:button];
  }
  setContent(panel, stack(views, NSUserInterfaceLayoutOrientationVertical));
  notices_.push_back({notice.kind, panel, actionTarget});
  layoutNotices();
  [panel orderFrontRegardless];
}

void MacUserInterface::dismissNotice(const std::string& kind) {
  forgetClosedNotices();
  auto it = std::find_if(notices_.begin(), notices_.end(), [&](const Notice& n) { return n.kind == kind; });
  if (it == notices_.end()) return;
  NSPanel* panel = it->panel;
  notices_.erase(it);
  [panel orderOut:nil];
  // The panel's button may be the sender of the action running right now: keep the panel
  // alive until this turn of the run loop is over.
  dispatch_async(dispatch_get_main_queue(), ^{
    [panel close];
  });
  layoutNotices();
}

void MacUserInterface::forgetClosedNotices() {
  std::erase_if(notices_, [](const Notice& n) { return !n.panel.visible; });
}

void MacUserInterface::layoutNotices() {
  NSRect visible = primaryVisibleFrame();
  CGFloat top = NSMaxY(visible) - kNoticeGap;
  for (const Notice& notice : notices_) {
    NSSize size = notice.panel.frame.size;
    [notice.panel setFrameOrigin:NSMakePoint(NSMaxX(visible) - size.width - kNoticeGap, top - size.height)];
    top -= size.height + kNoticeGap;
  }
}

}  // namespace tarvolo::platform::mac
