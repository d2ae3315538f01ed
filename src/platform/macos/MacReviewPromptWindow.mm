// The rating prompt: a small panel under the toggle with the question and three buttons.
//
// Drawn as every Mac window is: its views are built once (`build`), the first time it shows;
// each show and update only sets their values from the core's state (`fill`). Every button's
// target lives as long as the panel (`targets`), since NSControl.target is weak, and a target
// reads the callbacks when clicked, never a copy taken when it was built.
//
// OS quirks handled here:
// - It must not take focus from the app in front: a non-activating panel ordered front
//   regardless, never made key; it stays up when the app deactivates (hidesOnDeactivate = NO).
// - A button's action closes the panel it sits in while AppKit still uses the button, so the
//   panel is only ordered out and kept for reuse.
// - There is no close box: Escape is "Not Now", so every way out is one of the three answers.

#include <algorithm>

#include "platform/macos/MacWindowKit.h"
#include "platform/macos/MacWindows.h"

namespace tarvolo::platform::mac {

namespace {
constexpr CGFloat kWidth = 320;
constexpr CGFloat kMargin = 14;
constexpr CGFloat kGapBelowAnchor = 6;
constexpr CGFloat kScreenInset = 8;

}  // namespace

struct MacReviewPromptWindow::Impl {
  NSPanel* panel = nil;
  NSTextField* message = nil;
  NSButton* never = nil;
  NSButton* later = nil;
  NSButton* rate = nil;
  NSMutableArray* targets = [NSMutableArray array];
  ReviewPromptCallbacks callbacks;

  void build() {
    panel = kit::utilityPanel(NSMakeSize(kWidth, 100),
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary);
    panel.titleVisibility = NSWindowTitleHidden;
    message = [NSTextField wrappingLabelWithString:@""];
    message.preferredMaxLayoutWidth = kWidth - 2 * kMargin;
    message.selectable = NO;
    Impl* owner = this;
    never = kit::button("", [owner] {
      if (auto run = owner->callbacks.never) run();
    }, targets);
    later = kit::button("", [owner] {
      if (auto run = owner->callbacks.later) run();
    }, targets);
    later.keyEquivalent = @"\033";
    rate = kit::button("", [owner] {
      if (auto run = owner->callbacks.rate) run();
    }, targets);
    rate.keyEquivalent = @"\r";
    NSStackView* content = kit::column(@[ message, kit::row(@[ never, later, rate ], 8) ], 12);
    content.alignment = NSLayoutAttributeTrailing;
    content.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
    panel.contentView = content;
  }

  void fill(const ReviewPromptViewState& state) {
    message.stringValue = nsString(state.message);
    never.title = nsString(state.neverTitle);
    later.title = nsString(state.laterTitle);
    rate.title = nsString(state.rateTitle);
    panel.title = nsString(state.rateTitle);
    panel.accessibilityLabel = nsString(state.message);
    [panel setContentSize:panel.contentView.fittingSize];
    place(state.anchor);
  }

  void place(const std::optional<Rect>& anchor) {
    NSScreen* primary = NSScreen.screens.firstObject;
    NSRect visibleOfPrimary = primary ? primary.visibleFrame : NSMakeRect(0, 0, 1440, 900);
    NSRect target = anchor ? NSMakeRect(anchor->x, anchor->y, anchor->width, anchor->height)
                           : NSMakeRect(NSMaxX(visibleOfPrimary) - kWidth / 2, NSMaxY(visibleOfPrimary), 0, 0);
    NSScreen* screen = kit::screenContaining(NSMakePoint(NSMidX(target), NSMidY(target)));
    NSRect visible = screen ? screen.visibleFrame : visibleOfPrimary;
    NSSize size = panel.frame.size;
    CGFloat x = std::clamp(NSMidX(target) - size.width / 2, NSMinX(visible) + kScreenInset,
                           std::max(NSMinX(visible) + kScreenInset, NSMaxX(visible) - size.width - kScreenInset));
    CGFloat y = std::min(NSMinY(target), NSMaxY(visible)) - size.height - kGapBelowAnchor;
    [panel setFrameOrigin:NSMakePoint(x, y)];
  }
};

MacReviewPromptWindow::MacReviewPromptWindow() : impl_(std::make_unique<Impl>()) {}

MacReviewPromptWindow::~MacReviewPromptWindow() {
  impl_->callbacks = {};
  [impl_->panel close];
}

void MacReviewPromptWindow::show(const ReviewPromptViewState& state, ReviewPromptCallbacks callbacks) {
  if (!impl_->panel) impl_->build();
  impl_->callbacks = std::move(callbacks);
  impl_->fill(state);
  [impl_->panel orderFrontRegardless];
  NSAccessibilityPostNotificationWithUserInfo(
      impl_->panel, NSAccessibilityAnnouncementRequestedNotification,
      @{NSAccessibilityAnnouncementKey : nsString(state.message), NSAccessibilityPriorityKey : @(NSAccessibilityPriorityMedium)});
}

void MacReviewPromptWindow::update(const ReviewPromptViewState& state) {
  if (!isShown()) return;
  impl_->fill(state);
}

void MacReviewPromptWindow::close() {
  [impl_->panel orderOut:nil];
  impl_->callbacks = {};
}

bool MacReviewPromptWindow::isShown() const { return impl_->panel && impl_->panel.visible; }

}  // namespace tarvolo::platform::mac
