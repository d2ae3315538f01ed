// The Icon Shelf's panel in AppKit, built in code.
//
// Drawn as every Mac window is: views built once (`build`), values set on each update
// (`apply`), every target kept for the panel's life. The row of tiles is a pool reused by
// position; a tile acts on the row it shows when clicked.
//
// OS quirks handled here:
// - A non-activating panel does not take focus from the frontmost app, but it must be able to
//   become key for its search field and the arrow keys: the panel class answers YES to
//   canBecomeKeyWindow. It stays up when the app deactivates (hidesOnDeactivate = NO) and joins
//   every space, full-screen ones included.
// - On a notched screen the toggle sits right of the camera housing; the panel is kept wholly
//   beside the housing (on the toggle's side) so no control falls behind it.
// - Key equivalents reach the panel only while it is key; arrows, Return, Esc and ⌘F are
//   handled in keyDown: and in the search field's command hook, so they work from either.

#include "platform/macos/MacWindows.h"

using tarvolo::platform::IconShelfActions;
using tarvolo::platform::IconShelfViewState;

namespace {
constexpr CGFloat kShelfWidth = 380;
constexpr CGFloat kShelfMargin = 10;
constexpr CGFloat kRowTileWidth = 84;
constexpr unsigned short kKeyReturn = 36;
constexpr unsigned short kKeyEnter = 76;
constexpr unsigned short kKeyEscape = 53;
constexpr unsigned short kKeyLeft = 123;
constexpr unsigned short kKeyRight = 124;
constexpr unsigned short kKeyDown = 125;
constexpr unsigned short kKeyUp = 126;
constexpr unsigned short kKeyF = 3;
}  // namespace

@interface TRVShelfPanel : NSPanel
@property(nonatomic) std::function<bool(NSEvent*)> keyHandler;
@end

@implementation TRVShelfPanel
- (BOOL)canBecomeKeyWindow {
  return YES;
}
- (void)keyDown:(NSEvent*)event {
  if (self.keyHandler && self.keyHandler(event)) return;
  [super keyDown:event];
}
- (void)cancelOperation:(id)sender {
  (void)sender;
  NSEvent* escape = [NSEvent keyEventWithType:NSEventTypeKeyDown location:NSZeroPoint modifierFlags:0 timestamp:0
                                 windowNumber:self.windowNumber context:nil characters:@"\x1b"
                  charactersIgnoringModifiers:@"\x1b" isARepeat:NO keyCode:kKeyEscape];
  if (self.keyHandler) self.keyHandler(escape);
}
@end

@interface TRVShelfSearchDelegate : NSObject <NSSearchFieldDelegate>
@property(nonatomic) std::function<void(NSString*)> onChange;
@property(nonatomic) std::function<bool(SEL)> onCommand;
@end

@implementation TRVShelfSearchDelegate
- (void)controlTextDidChange:(NSNotification*)notification {
  NSTextField* field = notification.object;
  if (self.onChange) self.onChange(field.stringValue);
}
- (BOOL)control:(NSControl*)control textView:(NSTextView*)textView doCommandBySelector:(SEL)command {
  (void)control;
  (void)textView;
  return self.onCommand && self.onCommand(command);
}
@end

namespace tarvolo::platform::mac {

struct MacIconShelfPanel::Impl {
  explicit Impl(MacAppIcons& appIcons) : icons(appIcons) {}
  MacAppIcons& icons;
  TRVShelfPanel* panel = nil;
  NSStackView* content = nil;
  NSTextField* title = nil;
  NSSegmentedControl* tiers = nil;
  NSSearchField* search = nil;
  TRVShelfSearchDelegate* searchDelegate = nil;
  NSScrollView* strip = nil;
  NSStackView* rows = nil;
  NSTextField* empty = nil;
  NSStackView* permission = nil;
  NSTextField* permissionNote = nil;
  NSButton* permissionButton = nil;
  NSTextField* error = nil;
  NSButton* discover = nil;
  NSButton* organize = nil;
  NSProgressIndicator* progress = nil;
  // Controls hold their targets weakly.
  NSMutableArray<TRVActionTarget*>* targets = [NSMutableArray array];
  std::vector<NSButton*> tiles;
  IconShelfActions actions;
  std::optional<IconShelfViewState> state;
  int focusSearchRequest = 0;
  double reportedWidth = -1;

  NSButton* button(NSString* title, std::function<void()> action) {
    TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:std::move(action)];
    [targets addObject:target];
    NSButton* made = [NSButton buttonWithTitle:title target:target action:@selector(perform:)];
    made.bezelStyle = NSBezelStyleRounded;
    return made;
  }

  bool handleKey(NSEvent* event) {
    const bool command = (event.modifierFlags & NSEventModifierFlagCommand) != 0;
    switch (event.keyCode) {
      case kKeyDown:
      case kKeyRight:
        if (actions.moveSelection) actions.moveSelection(1);
        return true;
      case kKeyUp:
      case kKeyLeft:
        if (actions.moveSelection) actions.moveSelection(-1);
        return true;
      case kKeyReturn:
      case kKeyEnter:
        if (actions.activateSelection) actions.activateSelection();
        return true;
      case kKeyEscape:
        if (actions.escape) actions.escape();
        return true;
      case kKeyF:
        if (!command) return false;
        if (actions.showSearch) actions.showSearch();
        return true;
      default: return false;
    }
  }

  void build() {
    panel = [[TRVShelfPanel alloc] initWithContentRect:NSMakeRect(0, 0, kShelfWidth, 160)
                                             styleMask:NSWindowStyleMaskNonactivatingPanel | NSWindowStyleMaskTitled |
                                                       NSWindowStyleMaskFullSizeContentView
                                               backing:NSBackingStoreBuffered
                                                 defer:YES];
    panel.titleVisibility = NSWindowTitleHidden;
    panel.titlebarAppearsTransparent = YES;
    panel.floatingPanel = YES;
    panel.hidesOnDeactivate = NO;
    panel.level = NSPopUpMenuWindowLevel;
    panel.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
    panel.releasedWhenClosed = NO;
    panel.keyHandler = [this](NSEvent* event) { return handleKey(event); };

    NSVisualEffectView* background = [[NSVisualEffectView alloc] init];
    background.material = NSVisualEffectMaterialPopover;
    background.state = NSVisualEffectStateActive;
    panel.contentView = background;

    title = [NSTextField labelWithString:@""];
    title.font = [NSFont boldSystemFontOfSize:NSFont.systemFontSize];
    tiers = [NSSegmentedControl segmentedControlWithLabels:@[] trackingMode:NSSegmentSwitchTrackingSelectOne
                                                    target:nil action:nil];
    TRVActionTarget* tierTarget = [[TRVActionTarget alloc] initWithAction:[this] {
      const NSInteger index = tiers.selectedSegment;
      if (!state || index < 0 || static_cast<std::size_t>(index) >= state->tiers.size()) return;
      if (actions.selectTier) actions.selectTier(state->tiers[static_cast<std::size_t>(index)].rawValue);
    }];
    [targets addObject:tierTarget];
    tiers.target = tierTarget;
    tiers.action = @selector(perform:);

    search = [[NSSearchField alloc] init];
    searchDelegate = [[TRVShelfSearchDelegate alloc] init];
    searchDelegate.onChange = [this](NSString* text) {
      if (actions.setQuery) actions.setQuery(stdString(text));
    };
    searchDelegate.onCommand = [this](SEL command) {
      if (command == @selector(moveDown:)) return handleKeyCode(kKeyDown);
      if (command == @selector(moveUp:)) return handleKeyCode(kKeyUp);
      if (command == @selector(insertNewline:)) return handleKeyCode(kKeyReturn);
      if (command == @selector(cancelOperation:)) return handleKeyCode(kKeyEscape);
      return false;
    };
    search.delegate = searchDelegate;

    rows = [NSStackView stackViewWithViews:@[]];
    rows.orientation = NSUserInterfaceLayoutOrientationHorizontal;
    rows.spacing = 6;
    strip = [[NSScrollView alloc] init];
    strip.hasHorizontalScroller = YES;
    strip.drawsBackground = NO;
    strip.documentView = rows;
    // A document view keeps the frame it was given (none) unless constraints size it: the row
    // is as tall as the visible strip and as wide as its tiles, from the strip's leading edge.
    rows.translatesAutoresizingMaskIntoConstraints = NO;
    NSClipView* clip = strip.contentView;
    [rows.leadingAnchor constraintEqualToAnchor:clip.leadingAnchor].active = YES;
    [rows.topAnchor constraintEqualToAnchor:clip.topAnchor].active = YES;
    [rows.heightAnchor constraintEqualToAnchor:clip.heightAnchor].active = YES;
    [rows.widthAnchor constraintGreaterThanOrEqualToAnchor:clip.widthAnchor].active = YES;
    [strip.heightAnchor constraintEqualToConstant:64].active = YES;
    [strip.widthAnchor constraintEqualToConstant:kShelfWidth - 2 * kShelfMargin].active = YES;

    empty = [NSTextField labelWithString:@""];
    empty.textColor = NSColor.secondaryLabelColor;
    permissionNote = [NSTextField wrappingLabelWithString:@""];
    permissionNote.preferredMaxLayoutWidth = kShelfWidth - 2 * kShelfMargin;
    permissionButton = button(@"", [this] {
      if (actions.openAccessibilitySettings) actions.openAccessibilitySettings();
    });
    permission = [NSStackView stackViewWithViews:@[ permissionNote, permissionButton ]];
    permission.orientation = NSUserInterfaceLayoutOrientationVertical;
    permission.alignment = NSLayoutAttributeLeading;
    error = [NSTextField wrappingLabelWithString:@""];
    error.textColor = NSColor.systemRedColor;
    discover = button(@"", [this] {
      if (actions.discover) actions.discover();
    });
    organize = button(@"", [this] {
      if (actions.organize) actions.organize();
    });
    progress = [[NSProgressIndicator alloc] init];
    progress.style = NSProgressIndicatorStyleSpinning;
    progress.controlSize = NSControlSizeSmall;
    progress.displayedWhenStopped = NO;
    NSStackView* footer = [NSStackView stackViewWithViews:@[ discover, progress, organize ]];
    footer.orientation = NSUserInterfaceLayoutOrientationHorizontal;

    content = [NSStackView stackViewWithViews:@[ title, tiers, search, strip, empty, permission, error, footer ]];
    content.orientation = NSUserInterfaceLayoutOrientationVertical;
    content.alignment = NSLayoutAttributeLeading;
    content.edgeInsets = NSEdgeInsetsMake(kShelfMargin + 18, kShelfMargin, kShelfMargin, kShelfMargin);
    content.translatesAutoresizingMaskIntoConstraints = NO;
    [background addSubview:content];
    [content.leadingAnchor constraintEqualToAnchor:background.leadingAnchor].active = YES;
    [content.trailingAnchor constraintEqualToAnchor:background.trailingAnchor].active = YES;
    [content.topAnchor constraintEqualToAnchor:background.topAnchor].active = YES;
    [content.bottomAnchor constraintEqualToAnchor:background.bottomAnchor].active = YES;
  }

  bool handleKeyCode(unsigned short code) {
    NSEvent* event = [NSEvent keyEventWithType:NSEventTypeKeyDown location:NSZeroPoint modifierFlags:0 timestamp:0
                                  windowNumber:panel.windowNumber context:nil characters:@""
                   charactersIgnoringModifiers:@"" isARepeat:NO keyCode:code];
    return handleKey(event);
  }

  NSButton* makeTile(std::size_t index) {
    TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:[this, index] {
      if (state && index < state->rows.size() && actions.chooseRow) actions.chooseRow(state->rows[index].id);
    }];
    [targets addObject:target];
    NSButton* made = [NSButton buttonWithTitle:@"" image:[[NSImage alloc] init] target:target action:@selector(perform:)];
    made.imagePosition = NSImageAbove;
    made.bezelStyle = NSBezelStyleRegularSquare;
    made.font = [NSFont systemFontOfSize:NSFont.smallSystemFontSize];
    made.imageScaling = NSImageScaleProportionallyUpOrDown;
    [made.widthAnchor constraintEqualToConstant:kRowTileWidth].active = YES;
    return made;
  }

  void fillTile(NSButton* made, const platform::IconShelfRow& row, const platform::IconShelfRow* before) {
    if (!before || before->icon != row.icon || before->iconPath != row.iconPath) {
      NSImage* icon = icons.image(row.icon, row.iconPath);
      if (!icon) icon = [NSImage imageWithSystemSymbolName:@"menubar.rectangle" accessibilityDescription:nil];
      made.image = icon ? icon : [[NSImage alloc] init];
    }
    NSString* caption = nsString(row.name);
    if (row.systemLabel) caption = [caption stringByAppendingFormat:@"\n%@", nsString(*row.systemLabel)];
    made.title = caption;
    made.bordered = row.selected;
    made.accessibilityLabel = nsString(row.accessibilityLabel);
  }

  // Shows `next` in the pooled tiles, adding tiles when there are too few and hiding the rest.
  void fillTiles(const std::vector<platform::IconShelfRow>& next) {
    while (tiles.size() < next.size()) {
      tiles.push_back(makeTile(tiles.size()));
      [rows addArrangedSubview:tiles.back()];
    }
    for (std::size_t i = 0; i < tiles.size(); ++i) {
      tiles[i].hidden = i >= next.size();
      if (i >= next.size()) continue;
      const platform::IconShelfRow* before = state && i < state->rows.size() ? &state->rows[i] : nullptr;
      fillTile(tiles[i], next[i], before);
    }
  }

  void apply(const IconShelfViewState& next) {
    title.stringValue = nsString(next.title);
    tiers.segmentCount = static_cast<NSInteger>(next.tiers.size());
    for (std::size_t i = 0; i < next.tiers.size(); ++i) {
      const auto index = static_cast<NSInteger>(i);
      [tiers setLabel:nsString(next.tiers[i].title) forSegment:index];
      if (next.tiers[i].selected) tiers.selectedSegment = index;
    }
    tiers.accessibilityLabel = nsString(next.title);
    [tiers sizeToFit];
    search.hidden = !next.searchExpanded;
    search.placeholderString = nsString(next.searchPlaceholder);
    search.accessibilityLabel = nsString(next.searchPlaceholder);
    if (stdString(search.stringValue) != next.query) search.stringValue = nsString(next.query);
    if (next.focusSearchRequest != focusSearchRequest) {
      focusSearchRequest = next.focusSearchRequest;
      [panel makeFirstResponder:search];
    }

    fillTiles(next.rows);
    strip.hidden = next.rows.empty();

    empty.hidden = !next.emptyText;
    if (next.emptyText) empty.stringValue = nsString(*next.emptyText);
    permission.hidden = !next.permissionText;
    if (next.permissionText) permissionNote.stringValue = nsString(*next.permissionText);
    if (next.permissionButtonTitle) permissionButton.title = nsString(*next.permissionButtonTitle);
    error.hidden = !next.errorText;
    if (next.errorText) error.stringValue = nsString(*next.errorText);
    discover.hidden = !next.discoverTitle;
    if (next.discoverTitle) discover.title = nsString(*next.discoverTitle);
    if (next.discoverToolTip) discover.toolTip = nsString(*next.discoverToolTip);
    discover.enabled = !next.discovering;
    organize.title = nsString(next.organizeTitle);
    organize.toolTip = nsString(next.organizeToolTip);
    if (next.loading || next.discovering) {
      [progress startAnimation:nil];
    } else {
      [progress stopAnimation:nil];
    }
    state = next;
    const double width = kShelfWidth - 2 * kShelfMargin;
    if (width != reportedWidth && actions.viewportWidthChanged) {
      reportedWidth = width;
      actions.viewportWidthChanged(width);
    }
    [panel setContentSize:content.fittingSize];
  }

  void place(const IconShelfViewState& next) {
    NSRect anchor = next.anchor ? NSMakeRect(next.anchor->x, next.anchor->y, next.anchor->width, next.anchor->height)
                                : NSMakeRect(NSMidX(NSScreen.mainScreen.frame), NSMaxY(NSScreen.mainScreen.visibleFrame), 0, 0);
    NSSize size = panel.frame.size;
    CGFloat x = NSMidX(anchor) - size.width / 2;
    if (next.notch) {
      // Beside the camera housing, on the toggle's side.
      const CGFloat notchMinX = next.notch->x;
      const CGFloat notchMaxX = next.notch->x + next.notch->width;
      if (NSMidX(anchor) >= notchMaxX) x = std::max(x, notchMaxX + kShelfMargin);
      if (NSMidX(anchor) <= notchMinX) x = std::min(x, notchMinX - kShelfMargin - size.width);
    }
    NSScreen* screen = NSScreen.mainScreen;
    for (NSScreen* candidate in NSScreen.screens) {
      if (NSPointInRect(NSMakePoint(NSMidX(anchor), NSMidY(anchor)), candidate.frame)) screen = candidate;
    }
    const NSRect visible = screen.visibleFrame;
    x = std::min(std::max(x, NSMinX(visible) + kShelfMargin), NSMaxX(visible) - size.width - kShelfMargin);
    [panel setFrameTopLeftPoint:NSMakePoint(x, NSMaxY(visible) - 2)];
  }
};

MacIconShelfPanel::MacIconShelfPanel(MacAppIcons& icons) : impl_(std::make_unique<Impl>(icons)) {}

MacIconShelfPanel::~MacIconShelfPanel() {
  if (impl_->panel) {
    impl_->panel.keyHandler = nullptr;
    impl_->search.delegate = nil;
    [impl_->panel orderOut:nil];
  }
}

void MacIconShelfPanel::show(const IconShelfViewState& state, IconShelfActions actions) {
  if (!impl_->panel) impl_->build();
  impl_->actions = std::move(actions);
  impl_->apply(state);
  impl_->place(state);
  [impl_->panel orderFrontRegardless];
  [impl_->panel makeKeyWindow];
}

void MacIconShelfPanel::update(const IconShelfViewState& state) {
  if (!impl_->panel || !impl_->panel.visible) return;
  impl_->apply(state);
}

void MacIconShelfPanel::close() {
  if (!impl_->panel) return;
  [impl_->panel orderOut:nil];
  impl_->actions = {};
}

bool MacIconShelfPanel::isShown() const { return impl_->panel && impl_->panel.visible; }

}  // namespace tarvolo::platform::mac
