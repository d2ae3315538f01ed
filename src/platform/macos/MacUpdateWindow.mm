// The software-update window: what a check found, the download's progress, the question to
// install and relaunch, and how it ended. Its views are built once; each state from the core
// sets their values.
//
// OS quirks handled here:
// - Escape reaches a window as -cancelOperation: only when no control takes it; the window
//   subclass turns it into the state's backing-out action (Cancel, Later or Close).
// - The close box and -close both end in -windowWillClose:; only the user's close is reported,
//   so a close the core asks for does not come back to it as an answer.
// - An accessory app's window shown by a background check must not pull the user away from the
//   app in front: it is ordered front without activating Tarvolo. A check the user asked for
//   activates Tarvolo and makes the window key, so the keyboard reaches its buttons at once.
// - VoiceOver reads a phase change as an announcement; the progress bar carries a label of its
//   own, since a bare bar says only a number.

#include <algorithm>

#include "platform/macos/MacWindowKit.h"
#include "platform/macos/MacWindows.h"

@interface TRVUpdateWindow : NSWindow
@property(nonatomic) std::function<void()> onEscape;
@end

@implementation TRVUpdateWindow
- (void)cancelOperation:(id)sender {
  (void)sender;
  if (auto escape = self.onEscape) escape();
}
@end

@interface TRVUpdateWindowObserver : NSObject <NSWindowDelegate>
@property(nonatomic) std::function<void()> onUserClose;
@property(nonatomic) BOOL closingForCore;
@end

@implementation TRVUpdateWindowObserver
- (void)windowWillClose:(NSNotification*)notification {
  (void)notification;
  if (self.closingForCore) return;
  if (auto closed = self.onUserClose) closed();
}
@end

namespace tarvolo::platform::mac {

namespace {
constexpr CGFloat kWidth = 440;
constexpr CGFloat kInset = 20;
constexpr CGFloat kNotesHeight = 150;
constexpr std::size_t kButtonCount = 3;
}  // namespace

struct MacUpdateWindow::Impl {
  TRVUpdateWindow* window = nil;
  TRVUpdateWindowObserver* observer = nil;
  NSTextField* message = nil;
  NSTextField* detail = nil;
  NSProgressIndicator* progress = nil;
  NSTextField* notesTitle = nil;
  NSScrollView* notesScroll = nil;
  NSTextView* notes = nil;
  NSButton* buttons[kButtonCount] = {nil, nil, nil};
  NSMutableArray* targets = nil;
  UpdateAction actions[kButtonCount] = {UpdateAction::close, UpdateAction::close, UpdateAction::close};
  std::optional<UpdateAction> escapeAction;
  std::optional<UpdatePhase> phase;
  UpdateWindowCallbacks callbacks;

  void press(UpdateAction action) {
    // A copy: the core may show the window again from here, which replaces the callbacks.
    if (auto run = callbacks.press) run(action);
  }

  void build() {
    window = [[TRVUpdateWindow alloc] initWithContentRect:NSMakeRect(0, 0, kWidth, 200)
                                                styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable
                                                  backing:NSBackingStoreBuffered
                                                    defer:YES];
    window.releasedWhenClosed = NO;
    window.hidesOnDeactivate = NO;
    window.collectionBehavior = NSWindowCollectionBehaviorMoveToActiveSpace;
    Impl* owner = this;
    window.onEscape = [owner] {
      if (owner->escapeAction) owner->press(*owner->escapeAction);
    };
    observer = [[TRVUpdateWindowObserver alloc] init];
    observer.onUserClose = [owner] {
      if (auto closed = owner->callbacks.closed) closed();
    };
    window.delegate = observer;

    targets = [NSMutableArray array];
    message = kit::label("", 13, NSFontWeightSemibold);
    message.lineBreakMode = NSLineBreakByWordWrapping;
    message.maximumNumberOfLines = 0;
    message.preferredMaxLayoutWidth = kWidth - 2 * kInset;
    detail = kit::detailLabel("", kWidth - 2 * kInset);
    detail.selectable = YES;
    progress = [[NSProgressIndicator alloc] initWithFrame:NSZeroRect];
    progress.style = NSProgressIndicatorStyleBar;
    progress.minValue = 0;
    progress.maxValue = 1;
    notesTitle = kit::label("", NSFont.smallSystemFontSize, NSFontWeightSemibold);
    notesScroll = [NSTextView scrollableTextView];
    notes = (NSTextView*)notesScroll.documentView;
    notes.editable = NO;
    notes.selectable = YES;
    notesScroll.hasVerticalScroller = YES;
    notesScroll.borderType = NSBezelBorder;
    NSMutableArray<NSView*>* row = [NSMutableArray array];
    for (std::size_t i = 0; i < kButtonCount; ++i) {
      buttons[i] = kit::button("", [owner, i] { owner->press(owner->actions[i]); }, targets);
      [row addObject:buttons[i]];
    }
    // The buttons stand at the right edge, the default one last, as the system's alerts have them.
    NSStackView* buttonRow = kit::row(@[], 8);
    [buttonRow setViews:row inGravity:NSStackViewGravityTrailing];
    NSStackView* content = kit::column(@[ message, detail, progress, notesTitle, notesScroll, buttonRow ], 10);
    content.edgeInsets = NSEdgeInsetsMake(kInset, kInset, kInset, kInset);
    content.translatesAutoresizingMaskIntoConstraints = NO;
    NSView* container = window.contentView;
    [container addSubview:content];
    for (NSView* view in @[ progress, notesScroll, buttonRow ]) {
      view.translatesAutoresizingMaskIntoConstraints = NO;
      [view.widthAnchor constraintEqualToConstant:kWidth - 2 * kInset].active = YES;
    }
    [notesScroll.heightAnchor constraintEqualToConstant:kNotesHeight].active = YES;
    [NSLayoutConstraint activateConstraints:@[
      [content.leadingAnchor constraintEqualToAnchor:container.leadingAnchor],
      [content.trailingAnchor constraintEqualToAnchor:container.trailingAnchor],
      [content.topAnchor constraintEqualToAnchor:container.topAnchor],
      [content.bottomAnchor constraintEqualToAnchor:container.bottomAnchor],
      [container.widthAnchor constraintEqualToConstant:kWidth],
    ]];
  }

  void fill(const UpdateViewState& state) {
    window.title = nsString(state.windowTitle);
    message.stringValue = nsString(state.message);
    detail.stringValue = nsString(state.detail.value_or(""));
    detail.hidden = !state.detail;

    progress.hidden = !state.progress;
    if (state.progress) {
      progress.accessibilityLabel = nsString(state.progress->label);
      progress.indeterminate = !state.progress->fraction.has_value();
      if (state.progress->fraction) {
        [progress stopAnimation:nil];
        progress.doubleValue = *state.progress->fraction;
      } else {
        [progress startAnimation:nil];
      }
    } else {
      [progress stopAnimation:nil];
    }

    notesTitle.hidden = !state.notes;
    notesScroll.hidden = !state.notes;
    notesTitle.stringValue = nsString(state.notesTitle.value_or(""));
    notes.accessibilityLabel = nsString(state.notesTitle.value_or(""));
    const std::string text = state.notes.value_or("");
    if (stdString(notes.string) != text) notes.string = nsString(text);

    NSButton* defaultButton = nil;
    for (std::size_t i = 0; i < kButtonCount; ++i) {
      NSButton* button = buttons[i];
      if (i >= state.buttons.size()) {
        button.hidden = YES;
        button.keyEquivalent = @"";
        continue;
      }
      actions[i] = state.buttons[i].action;
      button.hidden = NO;
      button.title = nsString(state.buttons[i].title);
      const bool isDefault = state.defaultAction == state.buttons[i].action;
      button.keyEquivalent = isDefault ? @"\r" : @"";
      if (isDefault) defaultButton = button;
    }
    escapeAction = state.cancelAction;
    // Tab moves between the buttons; the default one takes the keyboard first.
    window.initialFirstResponder = defaultButton ? defaultButton : buttons[0];

    if (phase != state.phase) {
      phase = state.phase;
      NSAccessibilityPostNotificationWithUserInfo(
          window, NSAccessibilityAnnouncementRequestedNotification,
          @{NSAccessibilityAnnouncementKey : nsString(state.message),
            NSAccessibilityPriorityKey : @(NSAccessibilityPriorityHigh)});
    }
    [window setContentSize:window.contentView.fittingSize];
  }
};

MacUpdateWindow::MacUpdateWindow() : impl_(std::make_unique<Impl>()) {}

MacUpdateWindow::~MacUpdateWindow() {
  impl_->callbacks = {};
  impl_->observer.onUserClose = nullptr;
  impl_->window.onEscape = nullptr;
  impl_->observer.closingForCore = YES;
  [impl_->window close];
  impl_->window.delegate = nil;
}

void MacUpdateWindow::show(const UpdateViewState& state, UpdateWindowCallbacks callbacks, UpdateWindowFocus focus) {
  const bool opening = !isShown();
  if (!impl_->window) impl_->build();
  impl_->callbacks = std::move(callbacks);
  impl_->fill(state);
  if (opening) [impl_->window center];
  switch (focus) {
    case UpdateWindowFocus::take:
      kit::activateApplication();
      [impl_->window makeKeyAndOrderFront:nil];
      [impl_->window makeFirstResponder:impl_->window.initialFirstResponder];
      return;
    case UpdateWindowFocus::leave:
      [impl_->window orderFrontRegardless];
      return;
  }
}

void MacUpdateWindow::update(const UpdateViewState& state) {
  if (!isShown()) return;
  impl_->fill(state);
}

void MacUpdateWindow::close() {
  if (!impl_->window) return;
  impl_->observer.closingForCore = YES;
  [impl_->window close];
  impl_->observer.closingForCore = NO;
  impl_->callbacks = {};
}

bool MacUpdateWindow::isShown() const { return impl_->window && impl_->window.visible; }

}  // namespace tarvolo::platform::mac
