// The new-app notice: a small panel in the top-right corner, under the menu bar.
//
// OS quirks handled here:
// - The panel must not take focus from the app the user has just opened: it is a
//   non-activating panel ordered front regardless, and never made key.
// - A panel hides when its app deactivates unless told otherwise (hidesOnDeactivate = NO).
// - A button's action may close the panel it sits in; AppKit still uses the button afterwards,
//   so the panel is only ordered out and kept for reuse.

#include "platform/macos/MacWindowKit.h"
#include "platform/macos/MacWindows.h"

namespace tarvolo::platform::mac {

namespace {
constexpr CGFloat kWidth = 340;
constexpr CGFloat kMargin = 14;
constexpr CGFloat kGap = 8;
}  // namespace

struct MacNewAppNoticeWindow::Impl {
  NSPanel* panel = nil;
  NSMutableArray* targets = nil;
  NewAppNoticeCallbacks callbacks;
};

MacNewAppNoticeWindow::MacNewAppNoticeWindow() : impl_(std::make_unique<Impl>()) {}

MacNewAppNoticeWindow::~MacNewAppNoticeWindow() {
  impl_->callbacks = {};
  [impl_->panel close];
}

void MacNewAppNoticeWindow::show(const NewAppNoticeViewState& state, NewAppNoticeCallbacks callbacks) {
  impl_->callbacks = std::move(callbacks);
  if (!impl_->panel) {
    impl_->panel = kit::utilityPanel(NSMakeSize(kWidth, 100),
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary);
  }
  impl_->targets = [NSMutableArray array];
  impl_->panel.title = nsString(state.title);
  NSTextField* message = [NSTextField wrappingLabelWithString:nsString(state.message)];
  message.preferredMaxLayoutWidth = kWidth - 2 * kMargin - 40;
  NSMutableArray<NSView*>* top = [NSMutableArray array];
  if (NSImageView* icon = kit::bundleIcon(state.iconPath, 32)) [top addObject:icon];
  [top addObject:message];
  Impl* impl = impl_.get();
  NSButton* ignore = kit::button(state.ignoreTitle, [impl] {
    if (auto ignore = impl->callbacks.ignore) ignore();
  }, impl_->targets);
  ignore.keyEquivalent = @"\033";
  NSButton* arrange = kit::button(state.arrangeTitle, [impl] {
    if (auto arrange = impl->callbacks.arrange) arrange();
  }, impl_->targets);
  arrange.keyEquivalent = @"\r";
  NSStackView* buttons = kit::row(@[ ignore, arrange ], 8);
  NSStackView* content = kit::column(@[ kit::row(top, 10), buttons ], 10);
  content.alignment = NSLayoutAttributeTrailing;
  content.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
  impl_->panel.contentView = content;
  [impl_->panel setContentSize:content.fittingSize];
  NSScreen* screen = NSScreen.screens.firstObject;
  NSRect visible = screen ? screen.visibleFrame : NSMakeRect(0, 0, 1440, 900);
  NSSize size = impl_->panel.frame.size;
  [impl_->panel setFrameOrigin:NSMakePoint(NSMaxX(visible) - size.width - kGap, NSMaxY(visible) - size.height - kGap)];
  [impl_->panel orderFrontRegardless];
  NSAccessibilityPostNotificationWithUserInfo(
      impl_->panel, NSAccessibilityAnnouncementRequestedNotification,
      @{NSAccessibilityAnnouncementKey : nsString(state.message), NSAccessibilityPriorityKey : @(NSAccessibilityPriorityHigh)});
}

void MacNewAppNoticeWindow::close() { [impl_->panel orderOut:nil]; }

bool MacNewAppNoticeWindow::isShown() const { return impl_->panel && impl_->panel.visible; }

}  // namespace tarvolo::platform::mac
