// The rating prompt: a small panel under the toggle with the question and three buttons.
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
  NSMutableArray* targets = nil;
  ReviewPromptCallbacks callbacks;

  void build() {
    panel = kit::utilityPanel(NSMakeSize(kWidth, 100),
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary);
    panel.titleVisibility = NSWindowTitleHidden;
  }

  void fill(const ReviewPromptViewState& state) {
    targets = [NSMutableArray array];
    NSTextField* message = [NSTextField wrappingLabelWithString:nsString(state.message)];
    message.preferredMaxLayoutWidth = kWidth - 2 * kMargin;
    message.selectable = NO;
    Impl* owner = this;
    NSButton* never = kit::button(state.neverTitle, [owner] {
      if (auto never = owner->callbacks.never) never();
    }, targets);
    NSButton* later = kit::button(state.laterTitle, [owner] {
      if (auto later = owner->callbacks.later) later();
    }, targets);
    later.keyEquivalent = @"\033";
    NSButton* rate = kit::button(state.rateTitle, [owner] {
      if (auto rate = owner->callbacks.rate) rate();
    }, targets);
    rate.keyEquivalent = @"\r";
    NSStackView* content = kit::column(@[ message, kit::row(@[ never, later, rate ], 8) ], 12);
    content.alignment = NSLayoutAttributeTrailing;
    content.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
    panel.contentView = content;
    panel.title = nsString(state.rateTitle);
    panel.accessibilityLabel = nsString(state.message);
    [panel setContentSize:content.fittingSize];
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
