// The placement guide: a panel with what to drag where, and a ring drawn around the stretch of
// the menu bar the icon belongs in.
//
// Drawn as every Mac window is: its views are built once (`build`), the first time it shows;
// each show and update only sets their values from the core's state (`fill`): texts, the icon,
// what is hidden and enabled. The lines of steps are a pool of labels reused by position and
// hidden when not needed. Every button's target lives as long as the panel (`targets`), since
// NSControl.target is weak, and a target reads the callbacks when clicked, never a copy taken
// when it was built.
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
constexpr CGFloat kIconSize = 28;
}  // namespace

struct MacPlacementGuideWindow::Impl {
  NSPanel* panel = nil;
  NSWindow* ring = nil;
  NSImageView* icon = nil;
  NSTextField* heading = nil;
  NSTextField* progress = nil;
  NSTextField* body = nil;
  NSStackView* steps = nil;
  NSTextField* note = nil;
  NSTextField* detected = nil;
  NSButton* cancel = nil;
  NSButton* confirm = nil;
  NSMutableArray* targets = [NSMutableArray array];
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

    icon = [[NSImageView alloc] initWithFrame:NSMakeRect(0, 0, kIconSize, kIconSize)];
    icon.translatesAutoresizingMaskIntoConstraints = NO;
    [icon.widthAnchor constraintEqualToConstant:kIconSize].active = YES;
    [icon.heightAnchor constraintEqualToConstant:kIconSize].active = YES;
    heading = kit::label("", NSFont.systemFontSize, NSFontWeightSemibold);
    progress = kit::detailLabel("", 80);
    body = [NSTextField wrappingLabelWithString:@""];
    body.preferredMaxLayoutWidth = kWidth - 2 * kMargin;
    steps = kit::column(@[], 8);
    note = kit::detailLabel("", kWidth - 2 * kMargin);
    detected = kit::label("", NSFont.systemFontSize, NSFontWeightMedium);
    detected.textColor = NSColor.systemGreenColor;
    Impl* impl = this;
    cancel = kit::button("", [impl] {
      if (auto run = impl->callbacks.cancel) run();
    }, targets);
    cancel.keyEquivalent = @"\033";
    confirm = kit::button("", [impl] {
      if (auto run = impl->callbacks.confirm) run();
    }, targets);
    confirm.keyEquivalent = @"\r";
    NSStackView* content = kit::column(@[ kit::row(@[ icon, heading, progress ], 8), body, steps, note, detected,
                                          kit::row(@[ cancel, confirm ], 8) ],
                                       8);
    content.edgeInsets = NSEdgeInsetsMake(kMargin, kMargin, kMargin, kMargin);
    panel.contentView = content;
  }

  static void setText(NSTextField* field, const std::optional<std::string>& text) {
    field.hidden = !text;
    field.stringValue = nsString(text.value_or(""));
  }

  void fill(const PlacementGuideViewState& state) {
    panel.title = nsString(state.title);
    icon.image = state.iconPath ? [NSWorkspace.sharedWorkspace iconForFile:nsString(*state.iconPath)] : nil;
    icon.hidden = !state.iconPath;
    heading.stringValue = nsString(state.appName.value_or(state.title));
    setText(progress, state.progress);
    body.stringValue = nsString(state.body);
    while (steps.arrangedSubviews.count < state.steps.size()) {
      [steps addArrangedSubview:kit::detailLabel("", kWidth - 2 * kMargin)];
    }
    for (NSUInteger i = 0; i < steps.arrangedSubviews.count; ++i) {
      NSTextField* line = (NSTextField*)steps.arrangedSubviews[i];
      setText(line, i < state.steps.size() ? std::optional<std::string>("• " + state.steps[i]) : std::nullopt);
    }
    steps.hidden = state.steps.empty();
    setText(note, state.note);
    setText(detected, state.detected ? std::optional<std::string>("✓ " + *state.detected) : std::nullopt);
    cancel.title = nsString(state.cancelTitle);
    cancel.toolTip = nsString(state.cancelHint);
    confirm.title = nsString(state.confirmTitle);
    confirm.enabled = state.confirmEnabled;
    confirm.toolTip = nsString(state.confirmHint);
    [panel setContentSize:panel.contentView.fittingSize];
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
  impl_->fill(state);
  [impl_->panel orderFrontRegardless];
}

void MacPlacementGuideWindow::update(const PlacementGuideViewState& state) {
  if (!isShown()) return;
  impl_->fill(state);
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
