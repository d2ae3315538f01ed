// The placement guide: a panel with what to drag where, and a ring drawn around the stretch of
// the menu bar the icon belongs in.
//
// OS quirks handled here:
// - The user ⌘-drags icons while the guide is up; neither window may take focus or catch the
//   pointer, so the panel is non-activating and the ring ignores mouse events.
// - The ring must sit above the menu bar: a borderless window at the status window level,
//   transparent, joining every space.
// - Escape and Return reach the panel only when it is key; it becomes key only on a click in it.

#include "platform/macos/MacWindowKit.h"
#include "platform/macos/MacWindows.h"

@interface TRVRingView : NSView
@end

@implementation TRVRingView
- (void)drawRect:(NSRect)dirtyRect {
  (void)dirtyRect;
  NSBezierPath* path = [NSBezierPath bezierPathWithRoundedRect:NSInsetRect(self.bounds, 2, 2) xRadius:6 yRadius:6];
  path.lineWidth = 3;
  [NSColor.controlAccentColor setStroke];
  [path stroke];
}
@end

namespace tarvolo::platform::mac {

namespace {
constexpr CGFloat kWidth = 360;
constexpr CGFloat kMargin = 16;
constexpr CGFloat kRingOutset = 4;
}  // namespace

struct MacPlacementGuideWindow::Impl {
  NSPanel* panel = nil;
  NSWindow* ring = nil;
  NSMutableArray* targets = nil;
  PlacementGuideCallbacks callbacks;

  void build() {
    panel = kit::utilityPanel(NSMakeSize(kWidth, 200),
        NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary);
    ring = [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 10, 10)
                                       styleMask:NSWindowStyleMaskBorderless
                                         backing:NSBackingStoreBuffered
                                           defer:YES];
    ring.releasedWhenClosed = NO;
    ring.opaque = NO;
    ring.backgroundColor = NSColor.clearColor;
    ring.ignoresMouseEvents = YES;
    ring.hasShadow = NO;
    ring.level = NSStatusWindowLevel + 1;
    ring.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary;
    ring.contentView = [[TRVRingView alloc] initWithFrame:NSMakeRect(0, 0, 10, 10)];
  }

  void draw(const PlacementGuideViewState& state) {
    targets = [NSMutableArray array];
    panel.title = nsString(state.title);
    NSMutableArray<NSView*>* views = [NSMutableArray array];
    NSMutableArray<NSView*>* heading = [NSMutableArray array];
    if (NSImageView* icon = kit::bundleIcon(state.iconPath, 28)) [heading addObject:icon];
    [heading addObject:kit::label(state.appName.value_or(state.title), NSFont.systemFontSize, NSFontWeightSemibold)];
    if (state.progress) [heading addObject:kit::detailLabel(*state.progress, 80)];
    [views addObject:kit::row(heading, 8)];
    NSTextField* body = [NSTextField wrappingLabelWithString:nsString(state.body)];
    body.preferredMaxLayoutWidth = kWidth - 2 * kMargin;
    [views addObject:body];
    for (const auto& step : state.steps) [views addObject:kit::detailLabel("• " + step, kWidth - 2 * kMargin)];
    if (state.note) [views addObject:kit::detailLabel(*state.note, kWidth - 2 * kMargin)];
    if (state.detected) {
      NSTextField* detected = kit::label("✓ " + *state.detected, NSFont.systemFontSize, NSFontWeightMedium);
      detected.textColor = NSColor.systemGreenColor;
      [views addObject:detected];
    }
    Impl* impl = this;
    NSButton* cancel = kit::button(state.cancelTitle, [impl] {
      if (auto cancel = impl->callbacks.cancel) cancel();
    }, targets);
    cancel.keyEquivalent = @"\033";
    cancel.toolTip = nsString(state.cancelHint);
    NSButton* confirm = kit::button(state.confirmTitle, [impl] {
      if (auto confirm = impl->callbacks.confirm) confirm();
    }, targets);
    confirm.keyEquivalent = @"\r";
    confirm.enabled = state.confirmEnabled;
    confirm.toolTip = nsString(state.confirmHint);
    [views addObject:kit::row(@[ cancel, confirm ], 8)];
    NSStackView* content = kit::column(views, 8);
    content.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
    panel.contentView = content;
    [panel setContentSize:content.fittingSize];
    place(state.target);
  }

  // Hangs the panel below the target and rings the target; without one, the panel sits at the
  // primary screen's top right and the ring hides.
  void place(const std::optional<Rect>& target) {
    NSScreen* screen = NSScreen.screens.firstObject;
    NSRect visible = screen ? screen.visibleFrame : NSMakeRect(0, 0, 1440, 900);
    NSSize size = panel.frame.size;
    CGFloat x = NSMaxX(visible) - size.width - 8;
    if (target) x = std::clamp(target->midX() - size.width / 2, NSMinX(visible) + 8, NSMaxX(visible) - size.width - 8);
    [panel setFrameOrigin:NSMakePoint(x, NSMaxY(visible) - size.height - 8)];
    if (!target) {
      [ring orderOut:nil];
      return;
    }
    NSRect frame = NSInsetRect(NSMakeRect(target->x, target->y, target->width, target->height), -kRingOutset, -kRingOutset);
    [ring setFrame:frame display:YES];
    [ring.contentView setNeedsDisplay:YES];
    [ring orderFrontRegardless];
  }
};

MacPlacementGuideWindow::MacPlacementGuideWindow() : impl_(std::make_unique<Impl>()) {}

MacPlacementGuideWindow::~MacPlacementGuideWindow() {
  impl_->callbacks = {};
  [impl_->panel close];
  [impl_->ring close];
}

void MacPlacementGuideWindow::show(const PlacementGuideViewState& state, PlacementGuideCallbacks callbacks) {
  if (!impl_->panel) impl_->build();
  impl_->callbacks = std::move(callbacks);
  impl_->draw(state);
  [impl_->panel orderFrontRegardless];
}

void MacPlacementGuideWindow::update(const PlacementGuideViewState& state) {
  if (!isShown()) return;
  impl_->draw(state);
}

void MacPlacementGuideWindow::close() {
  [impl_->panel orderOut:nil];
  [impl_->ring orderOut:nil];
}

bool MacPlacementGuideWindow::isShown() const { return impl_->panel && impl_->panel.visible; }

std::vector<Rect> MacPlacementGuideWindow::chromeFrames() const {
  std::vector<Rect> frames;
  if (!isShown()) return frames;
  frames.push_back(rectFrom(impl_->panel.frame));
  if (impl_->ring.visible) frames.push_back(rectFrom(impl_->ring.frame));
  return frames;
}

}  // namespace tarvolo::platform::mac
