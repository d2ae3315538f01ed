// The settings window: a standard toolbar-style tabbed window (NSTabViewController), drawn
// from the core's state and redrawn on every update.
//
// OS quirks handled here:
// - An accessory app is not active after launch; the window would open behind the frontmost
//   app unless the app activates itself first.
// - NSTabViewController makes itself the tab view's delegate; a selection is learned by
//   overriding its delegate method (calling super, as AppKit requires), never by replacing it.
// - Windows made in code are released when closed unless told otherwise; this one stays alive
//   (releasedWhenClosed = NO) and is reused by every way of opening it.
// - Redrawing a tab replaces its controls, except the search field, which keeps the focus and
//   the text being typed.

#include "platform/macos/MacWindowKit.h"
#include "platform/macos/MacWindows.h"

@interface TRVPreferencesTabController : NSTabViewController
@property(nonatomic) std::function<void(NSInteger)> onSelect;
@property(nonatomic) BOOL quiet;  // selections made by the core itself are not reported back
@end

@implementation TRVPreferencesTabController
- (void)tabView:(NSTabView*)tabView didSelectTabViewItem:(NSTabViewItem*)tabViewItem {
  [super tabView:tabView didSelectTabViewItem:tabViewItem];
  if (!self.quiet && self.onSelect) self.onSelect(self.selectedTabViewItemIndex);
}
@end

@interface TRVWindowCloseObserver : NSObject <NSWindowDelegate>
@property(nonatomic) std::function<void()> onClose;
@end

@implementation TRVWindowCloseObserver
- (void)windowWillClose:(NSNotification*)notification {
  if (self.onClose) self.onClose();
}
@end

namespace tarvolo::platform::mac {

namespace {

constexpr CGFloat kWidth = 520;
constexpr CGFloat kInset = 20;
constexpr PreferencesTab kTabs[] = {PreferencesTab::general, PreferencesTab::items, PreferencesTab::hotkeys,
                                    PreferencesTab::about};
NSString* const kTabSymbols[] = {@"gearshape", @"menubar.rectangle", @"keyboard", @"info.circle"};

NSView* padded(NSStackView* content) {
  content.edgeInsets = NSEdgeInsetsMake(kInset, kInset, kInset, kInset);
  [content.widthAnchor constraintGreaterThanOrEqualToConstant:kWidth].active = YES;
  return content;
}

NSPopUpButton* popUp(const std::vector<PreferencesChoice>& choices, const std::string& selected,
                     std::function<void(const std::string&)> action, NSMutableArray* targets) {
  NSPopUpButton* popup = [[NSPopUpButton alloc] initWithFrame:NSZeroRect pullsDown:NO];
  for (const auto& choice : choices) {
    [popup addItemWithTitle:nsString(choice.title)];
    popup.lastItem.representedObject = nsString(choice.id);
    if (choice.id == selected) [popup selectItem:popup.lastItem];
  }
  __weak NSPopUpButton* weakPopup = popup;
  TRVActionTarget* target = [[TRVActionTarget alloc] initWithAction:[weakPopup, action = std::move(action)] {
    NSPopUpButton* strongPopup = weakPopup;
    NSString* chosen = strongPopup.selectedItem.representedObject;
    if (chosen && action) action(stdString(chosen));
  }];
  [targets addObject:target];
  popup.target = target;
  popup.action = @selector(perform:);
  return popup;
}

}  // namespace

struct MacPreferencesWindow::Impl {
  NSWindow* window = nil;
  TRVPreferencesTabController* tabs = nil;
  TRVWindowCloseObserver* closeObserver = nil;
  NSSearchField* search = nil;
  NSMutableArray* targets = nil;
  PreferencesCallbacks callbacks;
  std::optional<PreferencesViewState> drawn;

  void build() {
    tabs = [[TRVPreferencesTabController alloc] init];
    tabs.tabStyle = NSTabViewControllerTabStyleToolbar;
    for (std::size_t i = 0; i < std::size(kTabs); ++i) {
      NSViewController* page = [[NSViewController alloc] init];
      page.view = [[NSView alloc] initWithFrame:NSMakeRect(0, 0, kWidth, 300)];
      NSTabViewItem* item = [NSTabViewItem tabViewItemWithViewController:page];
      item.image = [NSImage imageWithSystemSymbolName:kTabSymbols[i] accessibilityDescription:nil];
      [tabs addTabViewItem:item];
    }
    tabs.onSelect = [this](NSInteger index) {
      if (index >= 0 && index < static_cast<NSInteger>(std::size(kTabs)) && callbacks.selectTab) {
        callbacks.selectTab(kTabs[index]);
      }
    };
    window = [NSWindow windowWithContentViewController:tabs];
    window.styleMask = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskMiniaturizable;
    window.releasedWhenClosed = NO;
    closeObserver = [[TRVWindowCloseObserver alloc] init];
    closeObserver.onClose = [this] {
      if (callbacks.closed) callbacks.closed();
    };
    window.delegate = closeObserver;
    search = [[NSSearchField alloc] init];
    search.sendsSearchStringImmediately = YES;
    [window center];
  }

  void setPage(std::size_t index, NSView* content) {
    NSViewController* page = tabs.tabViewItems[index].viewController;
    page.view = content;
  }

  NSView* generalPage(const PreferencesViewState& state) {
    const auto& general = state.general;
    NSMutableArray<NSView*>* views = [NSMutableArray array];
    [views addObject:kit::detailLabel(general.subtitle, kWidth - 2 * kInset)];
    [views addObject:kit::label(general.languageSection, NSFont.systemFontSize, NSFontWeightSemibold)];
    NSTextField* languageTitle = kit::label(general.languageTitle, NSFont.systemFontSize, NSFontWeightRegular);
    NSPopUpButton* language = popUp(general.languages, general.selectedLanguage, callbacks.chooseLanguage, targets);
    language.accessibilityLabel = nsString(general.languageTitle);
    [views addObject:kit::row(@[ languageTitle, language ], 8)];
    [views addObject:kit::detailLabel(general.languageDetail, kWidth - 2 * kInset)];
    [views addObject:kit::label(general.behaviourSection, NSFont.systemFontSize, NSFontWeightSemibold)];
    if (!general.delays.empty()) {
      NSTextField* delayTitle = kit::label(general.delayTitle, NSFont.systemFontSize, NSFontWeightRegular);
      auto choose = callbacks.chooseDelay;
      NSPopUpButton* delay = popUp(general.delays, general.selectedDelay, [choose](const std::string& id) {
        if (choose) choose(std::stod(id));
      }, targets);
      delay.accessibilityLabel = nsString(general.delayTitle);
      [views addObject:kit::row(@[ delayTitle, delay ], 8)];
      [views addObject:kit::detailLabel(general.delayDetail, kWidth - 2 * kInset)];
    }
    auto addSwitch = [&](const PreferencesSwitch& control, std::function<void(bool)> action) {
      NSButton* box = kit::checkbox(control.title, control.on, std::move(action), targets);
      box.enabled = control.enabled;
      [views addObject:box];
      if (!control.detail.empty()) [views addObject:kit::detailLabel(control.detail, kWidth - 2 * kInset)];
    };
    if (general.launchAtLogin) addSwitch(*general.launchAtLogin, callbacks.setLaunchAtLogin);
    if (general.launchAtLoginNote) [views addObject:kit::detailLabel(*general.launchAtLoginNote, kWidth - 2 * kInset)];
    if (general.launchAtLoginSettingsTitle) {
      [views addObject:kit::button(*general.launchAtLoginSettingsTitle, callbacks.openLoginItemsSettings, targets)];
    }
    if (general.revealOnHover) addSwitch(*general.revealOnHover, callbacks.setRevealOnHover);
    addSwitch(general.newAppNotices, callbacks.setNewAppNotices);
    if (!general.displays.empty()) {
      [views addObject:kit::label(general.displaysSection, NSFont.systemFontSize, NSFontWeightSemibold)];
      for (const auto& display : general.displays) [views addObject:displayRule(display)];
    }
    return padded(kit::column(views, 8));
  }

  // One connected display: its name, whether its icons hide, and its own delay.
  NSView* displayRule(const PreferencesDisplayRow& display) {
    NSTextField* name = kit::label(display.name, NSFont.systemFontSize, NSFontWeightMedium);
    auto setHides = callbacks.setDisplayHidesIcons;
    NSButton* hide = kit::checkbox(display.hideIcons.title, display.hideIcons.on,
                                   [setHides, id = display.displayId](bool on) {
                                     if (setHides) setHides(id, on);
                                   },
                                   targets);
    hide.accessibilityLabel = nsString(display.name + ", " + display.hideIcons.title);
    NSTextField* delayTitle = kit::label(display.delayTitle, NSFont.systemFontSize, NSFontWeightRegular);
    auto choose = callbacks.chooseDisplayDelay;
    NSPopUpButton* delay = popUp(display.delays, display.selectedDelay,
                                 [choose, id = display.displayId](const std::string& delayId) {
                                   if (choose) choose(id, delayId);
                                 },
                                 targets);
    delay.accessibilityLabel = nsString(display.name + ", " + display.delayTitle);
    return kit::column(@[ name, hide, kit::detailLabel(display.hideIcons.detail, kWidth - 2 * kInset),
                          kit::row(@[ delayTitle, delay ], 8) ],
                       4);
  }

  NSView* itemRow(const PreferencesItemsState& items, const PreferencesItemRow& row) {
    NSMutableArray<NSView*>* cells = [NSMutableArray array];
    if (NSImageView* icon = kit::bundleIcon(row.iconPath, 20)) [cells addObject:icon];
    NSMutableArray<NSView*>* names = [NSMutableArray arrayWithObject:kit::label(row.name, NSFont.systemFontSize,
                                                                                NSFontWeightRegular)];
    if (row.outOfPlaceNote) [names addObject:kit::detailLabel("⚠︎ " + *row.outOfPlaceNote, 260)];
    if (row.hint) [names addObject:kit::detailLabel(*row.hint, 260)];
    if (row.shortcutProblem) [names addObject:kit::detailLabel("⚠︎ " + *row.shortcutProblem, 260)];
    NSStackView* nameColumn = kit::column(names, 2);
    [nameColumn setContentHuggingPriority:NSLayoutPriorityDefaultLow forOrientation:NSLayoutConstraintOrientationHorizontal];
    [cells addObject:nameColumn];
    NSMutableArray<NSString*>* labels = [NSMutableArray array];
    NSInteger selected = -1;
    for (std::size_t i = 0; i < items.zones.size(); ++i) {
      [labels addObject:nsString(items.zones[i].title)];
      if (items.zones[i].id == row.zone) selected = static_cast<NSInteger>(i);
    }
    NSSegmentedControl* picker = [NSSegmentedControl segmentedControlWithLabels:labels
                                                                   trackingMode:NSSegmentSwitchTrackingSelectOne
                                                                         target:nil
                                                                         action:@selector(perform:)];
    picker.selectedSegment = selected;
    picker.accessibilityLabel = nsString(row.name);
    __weak NSSegmentedControl* weakPicker = picker;
    std::vector<std::string> zoneIds;
    for (const auto& zone : items.zones) zoneIds.push_back(zone.id);
    TRVActionTarget* pick = [[TRVActionTarget alloc]
        initWithAction:[weakPicker, zoneIds, bundleId = row.bundleId, action = callbacks.pickZone] {
          NSSegmentedControl* strongPicker = weakPicker;
          NSInteger index = strongPicker.selectedSegment;
          if (action && index >= 0 && index < static_cast<NSInteger>(zoneIds.size())) action(bundleId, zoneIds[index]);
        }];
    [targets addObject:pick];
    picker.target = pick;
    [cells addObject:picker];
    auto setPinned = callbacks.setPinned;
    [cells addObject:kit::button(row.pinned ? items.unpinTitle : items.pinTitle,
                                 [setPinned, bundleId = row.bundleId, pinned = row.pinned] {
                                   if (setPinned) setPinned(bundleId, !pinned);
                                 },
                                 targets)];
    if (items.shortcutsOffered) [cells addObject:shortcutCell(items, row)];
    return kit::row(cells, 8);
  }

  // The app's own shortcut: the chord (or the prompt while listening) on a button that starts and
  // cancels the recorder, and a button that clears it.
  NSView* shortcutCell(const PreferencesItemsState& items, const PreferencesItemRow& row) {
    const std::string shown =
        row.shortcutRecording ? items.shortcutPrompt : row.shortcut.value_or(items.shortcutRecordTitle);
    auto record = callbacks.recordAppShortcut;
    auto cancel = callbacks.cancelAppShortcut;
    NSButton* recorder = kit::button(shown,
                                     [record, cancel, recording = row.shortcutRecording, bundleId = row.bundleId] {
                                       if (recording && cancel) cancel();
                                       if (!recording && record) record(bundleId);
                                     },
                                     targets);
    recorder.accessibilityLabel = nsString(row.name + ", " + items.shortcutTitle + ": " + shown);
    NSMutableArray<NSView*>* parts = [NSMutableArray arrayWithObject:recorder];
    if (row.shortcut && !row.shortcutRecording) {
      auto clear = callbacks.clearAppShortcut;
      NSButton* clearButton = kit::button(items.shortcutClearTitle,
                                          [clear, bundleId = row.bundleId] {
                                            if (clear) clear(bundleId);
                                          },
                                          targets);
      clearButton.accessibilityLabel = nsString(row.name + ", " + items.shortcutClearTitle);
      [parts addObject:clearButton];
    }
    return kit::row(parts, 4);
  }

  NSView* itemsPage(const PreferencesViewState& state) {
    const auto& items = state.items;
    NSMutableArray<NSView*>* views = [NSMutableArray array];
    [views addObject:kit::detailLabel(items.subtitle, kWidth - 2 * kInset)];
    search.placeholderString = nsString(items.searchPlaceholder);
    if (stdString(search.stringValue) != items.searchText) search.stringValue = nsString(items.searchText);
    __weak NSSearchField* weakSearch = search;
    TRVActionTarget* searchTarget = [[TRVActionTarget alloc] initWithAction:[weakSearch, action = callbacks.search] {
      NSSearchField* strongSearch = weakSearch;
      if (strongSearch && action) action(stdString(strongSearch.stringValue));
    }];
    [targets addObject:searchTarget];
    search.target = searchTarget;
    search.action = @selector(perform:);
    [search removeFromSuperview];
    [views addObject:search];
    NSMutableArray<NSView*>* rows = [NSMutableArray array];
    for (const auto& row : items.rows) [rows addObject:itemRow(items, row)];
    if (items.emptyText) [rows addObject:kit::detailLabel(*items.emptyText, kWidth - 2 * kInset)];
    auto setOther = callbacks.setOtherRunningShown;
    [rows addObject:kit::button(items.otherRunningToggleTitle,
                                [setOther, shown = items.otherRunningShown] {
                                  if (setOther) setOther(!shown);
                                },
                                targets)];
    if (items.otherRunningShown) {
      [rows addObject:kit::detailLabel(items.otherRunningNote, kWidth - 2 * kInset)];
      for (const auto& row : items.otherRunningRows) [rows addObject:itemRow(items, row)];
    }
    NSStackView* list = kit::column(rows, 6);
    NSScrollView* scroll = [[NSScrollView alloc] init];
    scroll.hasVerticalScroller = YES;
    scroll.drawsBackground = NO;
    list.translatesAutoresizingMaskIntoConstraints = NO;
    scroll.documentView = list;
    [list.widthAnchor constraintEqualToAnchor:scroll.contentView.widthAnchor].active = YES;
    [scroll.heightAnchor constraintEqualToConstant:300].active = YES;
    [scroll.widthAnchor constraintEqualToConstant:kWidth - 2 * kInset].active = YES;
    [views addObject:scroll];
    if (items.toast) [views addObject:kit::detailLabel(*items.toast, kWidth - 2 * kInset)];
    NSButton* refresh = kit::button(items.refreshTitle, callbacks.refresh, targets);
    refresh.toolTip = nsString(items.refreshDetail);
    [views addObject:kit::row(@[ refresh, kit::button(items.arrangeTitle, callbacks.arrange, targets) ], 8)];
    [views addObject:kit::detailLabel(items.help, kWidth - 2 * kInset)];
    return padded(kit::column(views, 10));
  }

  NSView* hotkeysPage(const PreferencesViewState& state) {
    const auto& hotkeys = state.hotkeys;
    NSMutableArray<NSView*>* views = [NSMutableArray array];
    [views addObject:kit::label(hotkeys.title, NSFont.systemFontSize, NSFontWeightSemibold)];
    [views addObject:kit::detailLabel(hotkeys.tip, kWidth - 2 * kInset)];
    NSTextField* chord = kit::label(hotkeys.chord, NSFont.systemFontSize, NSFontWeightMedium);
    chord.accessibilityLabel = nsString(hotkeys.actionTitle + ": " + hotkeys.chord);
    NSButton* change = hotkeys.recording ? kit::button(hotkeys.cancelTitle, callbacks.cancelRecordingHotkey, targets)
                                         : kit::button(hotkeys.changeTitle, callbacks.startRecordingHotkey, targets);
    [views addObject:kit::row(@[ kit::label(hotkeys.actionTitle, NSFont.systemFontSize, NSFontWeightRegular), chord,
                                 change ],
                              10)];
    [views addObject:kit::detailLabel(hotkeys.actionDetail + " " + hotkeys.defaultNote, kWidth - 2 * kInset)];
    if (hotkeys.conflict) {
      NSTextField* conflict = kit::detailLabel(*hotkeys.conflict, kWidth - 2 * kInset);
      conflict.textColor = NSColor.systemRedColor;
      [views addObject:conflict];
    }
    [views addObject:kit::label(hotkeys.tipsSection, NSFont.systemFontSize, NSFontWeightSemibold)];
    [views addObject:kit::label(hotkeys.fullScreenTitle, NSFont.systemFontSize, NSFontWeightRegular)];
    [views addObject:kit::detailLabel(hotkeys.fullScreenDetail, kWidth - 2 * kInset)];
    return padded(kit::column(views, 8));
  }

  NSView* aboutPage(const PreferencesViewState& state) {
    const auto& about = state.about;
    NSMutableArray<NSView*>* views = [NSMutableArray array];
    NSImageView* icon = [NSImageView imageViewWithImage:NSApplication.sharedApplication.applicationIconImage];
    [icon.widthAnchor constraintEqualToConstant:64].active = YES;
    [icon.heightAnchor constraintEqualToConstant:64].active = YES;
    [views addObject:kit::row(@[ icon, kit::column(@[ kit::label(about.appName, 20, NSFontWeightSemibold),
                                                      kit::detailLabel(about.version, 300) ],
                                                   4) ],
                              12)];
    [views addObject:kit::label(about.nutshellSection, NSFont.systemFontSize, NSFontWeightSemibold)];
    for (const auto& sentence : about.sentences) [views addObject:kit::detailLabel(sentence, kWidth - 2 * kInset)];
    [views addObject:kit::label(about.privacyTitle, NSFont.systemFontSize, NSFontWeightSemibold)];
    [views addObject:kit::detailLabel(about.privacyDetail, kWidth - 2 * kInset)];
    [views addObject:kit::label(about.supportSection, NSFont.systemFontSize, NSFontWeightSemibold)];
    [views addObject:kit::detailLabel(about.docsTitle + " — " + about.docsDetail, kWidth - 2 * kInset)];
    NSMutableArray<NSView*>* links = [NSMutableArray array];
    for (const auto& link : about.links) {
      auto open = callbacks.openLink;
      [links addObject:kit::button(link.title, [open, address = link.id] {
               if (open) open(address);
             }, targets)];
    }
    [views addObject:kit::row(links, 8)];
    return padded(kit::column(views, 8));
  }

  void draw(const PreferencesViewState& state) {
    if (drawn && *drawn == state) return;
    targets = [NSMutableArray array];
    window.title = nsString(state.windowTitle);
    for (std::size_t i = 0; i < std::size(kTabs) && i < state.tabs.size(); ++i) {
      tabs.tabViewItems[i].label = nsString(state.tabs[i].title);
    }
    setPage(0, generalPage(state));
    setPage(1, itemsPage(state));
    setPage(2, hotkeysPage(state));
    setPage(3, aboutPage(state));
    for (std::size_t i = 0; i < std::size(kTabs); ++i) {
      if (kTabs[i] != state.tab || tabs.selectedTabViewItemIndex == static_cast<NSInteger>(i)) continue;
      tabs.quiet = YES;
      tabs.selectedTabViewItemIndex = static_cast<NSInteger>(i);
      tabs.quiet = NO;
    }
    drawn = state;
  }
};

MacPreferencesWindow::MacPreferencesWindow() : impl_(std::make_unique<Impl>()) {}

MacPreferencesWindow::~MacPreferencesWindow() {
  impl_->callbacks = {};
  impl_->window.delegate = nil;
  [impl_->window close];
}

void MacPreferencesWindow::show(const PreferencesViewState& state, PreferencesCallbacks callbacks) {
  if (!impl_->window) impl_->build();
  impl_->callbacks = std::move(callbacks);
  impl_->drawn.reset();
  impl_->draw(state);
  kit::activateApplication();
  [impl_->window makeKeyAndOrderFront:nil];
}

void MacPreferencesWindow::update(const PreferencesViewState& state) {
  if (!isShown()) return;
  impl_->draw(state);
}

void MacPreferencesWindow::close() { [impl_->window close]; }

bool MacPreferencesWindow::isShown() const { return impl_->window && impl_->window.visible; }

void MacPreferencesWindow::keepFront() {
  if (!impl_->window) return;
  impl_->window.hidesOnDeactivate = NO;
  impl_->window.collectionBehavior |= NSWindowCollectionBehaviorMoveToActiveSpace;
  kit::activateApplication();
  [impl_->window makeKeyAndOrderFront:nil];
  [impl_->window orderFrontRegardless];
}

}  // namespace tarvolo::platform::mac
