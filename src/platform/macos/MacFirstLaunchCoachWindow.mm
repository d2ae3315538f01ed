// The first-launch coach: a small panel hanging under the toggle.
//
// OS quirks handled here:
// - An accessory app is not active after launch. A non-activating panel can still become key,
//   so Return and Esc reach its buttons without pulling the user's frontmost app away.
// - Panels hide when their app deactivates unless told not to; the coach must stay while the
//   user tries out what it describes in other apps.
// - A button's action may close the panel (Done, Dismiss); the panel is only ordered out, never
//   released while its button is still the sender, and the closure is copied before it runs.
// - The toggle's frame arrives in AppKit's global space (bottom-left origin), which is what
//   window frames use, so it is taken as it is.

#include <algorithm>

#include "platform/macos/MacWindows.h"
#include "platform/macos/MacWindowKit.h"

namespace tarvolo::platform::mac {

namespace {

constexpr CGFloat kWidth = 320;
constexpr CGFloat kMargin = 16;
constexpr CGFloat kGapBelowAnchor = 6;
constexpr CGFloat kScreenInset = 8;

NSTextField* label(CGFloat size, NSFontWeight weight, NSColor* colour) {
  NSTextField* field = [NSTextField wrappingLabelWithString:@""];
  field.font = [NSFont systemFontOfSize:size weight:weight];
  field.textColor = colour;
  field.preferredMaxLayoutWidth = kWidth - 2 * kMargin;
  field.selectable = NO;
  return field;
}

NSButton* button(TRVActionTarget* target) {
  NSButton* button = [NSButton buttonWithTitle:@"" target:target action:@selector(perform:)];
  button.bezelStyle = NSBezelStylePush;
  return button;
}

void setText(NSTextField* field, const std::optional<std::string>& text) {
  field.stringValue = text ? nsString(*text) : @"";
  field.hidden = !text || text->empty();
}

void setTitle(NSButton* button, const std::optional<std::string>& title) {
  button.title = title ? nsString(*title) : @"";
  button.accessibilityLabel = button.title;
  button.hidden = !title;
}

}  // namespace

MacFirstLaunchCoachWindow::MacFirstLaunchCoachWindow() = default;

MacFirstLaunchCoachWindow::~MacFirstLaunchCoachWindow() { [panel_ close]; }

void MacFirstLaunchCoachWindow::build() {
  NSWindowStyleMask style = NSWindowStyleMaskTitled | NSWindowStyleMaskFullSizeContentView |
                            NSWindowStyleMaskNonactivatingPanel;
  panel_ = [[NSPanel alloc] initWithContentRect:NSMakeRect(0, 0, kWidth, 200)
                                      styleMask:style
                                        backing:NSBackingStoreBuffered
                                          defer:YES];
  panel_.releasedWhenClosed = NO;
  panel_.hidesOnDeactivate = NO;
  panel_.floatingPanel = YES;
  panel_.level = NSStatusWindowLevel;
  panel_.titleVisibility = NSWindowTitleHidden;
  panel_.titlebarAppearsTransparent = YES;
  panel_.movableByWindowBackground = YES;
  panel_.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
  panel_.title = @"Tarvolo";

  // Each closure is copied before it runs: Done and Dismiss close the panel and drop them.
  auto forward = [this](std::function<void()> FirstLaunchCoachActions::*member) {
    return [[TRVActionTarget alloc] initWithAction:[this, member] {
      std::function<void()> run = actions_.*member;
      if (run) run();
    }];
  };
  nextTarget_ = forward(&FirstLaunchCoachActions::next);
  doneTarget_ = forward(&FirstLaunchCoachActions::done);
  dismissTarget_ = forward(&FirstLaunchCoachActions::dismiss);
  permissionTarget_ = forward(&FirstLaunchCoachActions::requestPermission);

  progress_ = label(NSFont.smallSystemFontSize, NSFontWeightMedium, NSColor.secondaryLabelColor);
  title_ = label(NSFont.systemFontSize + 2, NSFontWeightSemibold, NSColor.labelColor);
  body_ = label(NSFont.systemFontSize, NSFontWeightRegular, NSColor.labelColor);
  note_ = label(NSFont.smallSystemFontSize, NSFontWeightRegular, NSColor.secondaryLabelColor);
  hint_ = label(NSFont.smallSystemFontSize, NSFontWeightRegular, NSColor.tertiaryLabelColor);
  permission_ = button(permissionTarget_);
  next_ = button(nextTarget_);
  next_.keyEquivalent = @"\r";
  done_ = button(doneTarget_);
  done_.keyEquivalent = @"\r";
  dismiss_ = button(dismissTarget_);
  dismiss_.keyEquivalent = @"\033";

  NSStackView* buttons = [NSStackView stackViewWithViews:@[ dismiss_, next_, done_ ]];
  buttons.orientation = NSUserInterfaceLayoutOrientationHorizontal;
  buttons.spacing = 8;
  NSStackView* content =
      [NSStackView stackViewWithViews:@[ progress_, title_, body_, permission_, note_, buttons, hint_ ]];
  content.orientation = NSUserInterfaceLayoutOrientationVertical;
  content.alignment = NSLayoutAttributeLeading;
  content.spacing = 8;
  content.edgeInsets = NSEdgeInsetsMake(kMargin + 8, kMargin, kMargin, kMargin);
  [content setCustomSpacing:12 afterView:body_];
  [content.widthAnchor constraintEqualToConstant:kWidth].active = YES;
  [buttons.trailingAnchor constraintEqualToAnchor:content.trailingAnchor constant:-kMargin].active = YES;

  NSVisualEffectView* background = [[NSVisualEffectView alloc] init];
  background.material = NSVisualEffectMaterialPopover;
  background.blendingMode = NSVisualEffectBlendingModeBehindWindow;
  background.state = NSVisualEffectStateActive;
  content.translatesAutoresizingMaskIntoConstraints = NO;
  [background addSubview:content];
  [NSLayoutConstraint activateConstraints:@[
    [content.leadingAnchor constraintEqualToAnchor:background.leadingAnchor],
    [content.trailingAnchor constraintEqualToAnchor:background.trailingAnchor],
    [content.topAnchor constraintEqualToAnchor:background.topAnchor],
    [content.bottomAnchor constraintEqualToAnchor:background.bottomAnchor],
  ]];
  panel_.contentView = background;
}

void MacFirstLaunchCoachWindow::fill(const FirstLaunchCoachViewState& state) {
  setText(progress_, state.progress);
  setText(title_, state.title);
  setText(body_, state.body);
  setText(note_, state.permissionNote);
  setText(hint_, state.keyboardHint);
  setTitle(permission_, state.permissionButtonTitle);
  setTitle(next_, state.nextTitle);
  setTitle(done_, state.doneTitle);
  setTitle(dismiss_, state.dismissTitle);
  panel_.accessibilityLabel = nsString(state.title);
  [panel_ setContentSize:panel_.contentView.fittingSize];
  place(state.anchor);
}

void MacFirstLaunchCoachWindow::place(const std::optional<Rect>& anchor) {
  NSScreen* primary = NSScreen.screens.firstObject;
  NSRect target = anchor ? NSMakeRect(anchor->x, anchor->y, anchor->width, anchor->height)
                         : NSMakeRect(primary ? NSMidX(primary.frame) : 0, primary ? NSMaxY(primary.visibleFrame) : 0, 0, 0);
  NSScreen* screen = kit::screenContaining(NSMakePoint(NSMidX(target), NSMidY(target)));
  NSRect visible = screen ? screen.visibleFrame : NSMakeRect(0, 0, 1440, 900);
  NSSize size = panel_.frame.size;
  CGFloat x = std::clamp(NSMidX(target) - size.width / 2, NSMinX(visible) + kScreenInset,
                         std::max(NSMinX(visible) + kScreenInset, NSMaxX(visible) - size.width - kScreenInset));
  CGFloat y = std::min(NSMinY(target), NSMaxY(visible)) - size.height - kGapBelowAnchor;
  [panel_ setFrameOrigin:NSMakePoint(x, y)];
}

void MacFirstLaunchCoachWindow::show(const FirstLaunchCoachViewState& state, FirstLaunchCoachActions actions) {
  if (!panel_) build();
  actions_ = std::move(actions);
  fill(state);
  [panel_ orderFrontRegardless];
  [panel_ makeKeyWindow];
}

void MacFirstLaunchCoachWindow::update(const FirstLaunchCoachViewState& state) {
  if (!isShown()) return;
  fill(state);
}

void MacFirstLaunchCoachWindow::close() {
  [panel_ orderOut:nil];
  actions_ = {};
}

bool MacFirstLaunchCoachWindow::isShown() const { return panel_ && panel_.visible; }

}  // namespace tarvolo::platform::mac
