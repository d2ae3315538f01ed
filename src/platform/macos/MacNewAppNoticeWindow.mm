// The new-app notice: a small panel in the top-right corner, under the menu bar.
//
// Drawn as every Mac window is: its views are built once (`build`), the first time it shows;
// each show only sets their values from the core's state (`fill`): texts, the icon, what is
// hidden. Every button's target lives as long as the panel (`targets`), since NSControl.target
// is weak, and a target reads the callbacks when clicked, never a copy taken when it was built.
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
constexpr CGFloat kIconSize = 32;
}  // namespace

struct MacNewAppNoticeWindow::Impl {
  NSPanel* panel = nil;
  NSImageView* icon = nil;
  NSTextField* message = nil;
  NSButton* ignore = nil;
  NSButton* arrange = nil;
  NSMutableArray* targets = [NSMutableArray array];
  NewAppNoticeCallbacks callbacks;

  void build() {
    panel = kit::utilityPanel(NSMakeSize(kWidth, 100),
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary);
    icon = [[NSImageView alloc] initWithFrame:NSMakeRect(0, 0, kIconSize, kIconSize)];
    icon.translatesAutoresizingMaskIntoConstraints = NO;
    [icon.widthAnchor constraintEqualToConstant:kIconSize].active = YES;
    [icon.heightAnchor constraintEqualToConstant:kIconSize].active = YES;
    message = [NSTextField wrappingLabelWithString:@""];
    message.preferredMaxLayoutWidth = kWidth - 2 * kMargin - 40;
    Impl* impl = this;
    ignore = kit::button("", [impl] {
      if (auto run = impl->callbacks.ignore) run();
    }, targets);
    ignore.keyEquivalent = @"\033";
    arrange = kit::button("", [impl] {
      if (auto run = impl->callbacks.arrange) run();
    }, targets);
    arrange.keyEquivalent = @"\r";
    NSStackView* content = kit::column(@[ kit::row(@[ icon, message ], 10), kit::row(@[ ignore, arrange ], 8) ], 10);
    content.alignment = NSLayoutAttributeTrailing;
    content.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
    panel.contentView = content;
  }

  void fill(const NewAppNoticeViewState& state) {
    panel.title = nsString(state.title);
    message.stringValue = nsString(state.message);
    icon.image = state.iconPath ? [NSWorkspace.sharedWorkspace iconForFile:nsString(*state.iconPath)] : nil;
    icon.hidden = !state.iconPath;
    ignore.title = nsString(state.ignoreTitle);
    arrange.title = nsString(state.arrangeTitle);
    [panel setContentSize:panel.contentView.fittingSize];
    NSScreen* screen = NSScreen.screens.firstObject;
    NSRect visible = screen ? screen.visibleFrame : NSMakeRect(0, 0, 1440, 900);
    NSSize size = panel.frame.size;
    [panel setFrameOrigin:NSMakePoint(NSMaxX(visible) - size.width - kGap, NSMaxY(visible) - size.height - kGap)];
  }
};

MacNewAppNoticeWindow::MacNewAppNoticeWindow() : impl_(std::make_unique<Impl>()) {}

MacNewAppNoticeWindow::~MacNewAppNoticeWindow() {
  impl_->callbacks = {};
  [impl_->panel close];
}

void MacNewAppNoticeWindow::show(const NewAppNoticeViewState& state, NewAppNoticeCallbacks callbacks) {
  if (!impl_->panel) impl_->build();
  impl_->callbacks = std::move(callbacks);
  impl_->fill(state);
  [impl_->panel orderFrontRegardless];
  NSAccessibilityPostNotificationWithUserInfo(
      impl_->panel, NSAccessibilityAnnouncementRequestedNotification,
      @{NSAccessibilityAnnouncementKey : nsString(state.message), NSAccessibilityPriorityKey : @(NSAccessibilityPriorityHigh)});
}

void MacNewAppNoticeWindow::close() { [impl_->panel orderOut:nil]; }

bool MacNewAppNoticeWindow::isShown() const { return impl_->panel && impl_->panel.visible; }

}  // namespace tarvolo::platform::mac
