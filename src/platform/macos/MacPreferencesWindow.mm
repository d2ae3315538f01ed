// The settings window: a standard toolbar-style tabbed window (NSTabViewController) showing the
// core's state.
//
// How this window is drawn (the Mac windows share the pattern):
// - Views are built once, the first time the window shows; an update only sets their values
//   (texts, states, choices, hidden). NSTabViewController shows the view each tab's controller
//   had when the tab was added, so a view made later would never appear.
// - Every control's action target lives as long as the window (`targets`): NSControl.target is
//   a weak reference, and a target dropped by a redraw leaves its control dead.
// - A target reads what it acts on when clicked (the callbacks and the state last shown), never
//   a copy taken when the control was built, since both change with every show and update.
// - A control is added in one place: the page builder that creates it also binds its values
//   (`bind`), and `fill` runs every binding. Lists (the items, the links) keep a pool of rows
//   that are reused by position and hidden when not needed.
//
// OS quirks handled here:
// - An accessory app is not active after launch; the window would open behind the frontmost
//   app unless the app activates itself first, and from macOS 14 activation is only a request
//   the system may decline, so the window is also ordered front regardless.
// - NSTabViewController makes itself the tab view's delegate; a selection is learned by
//   overriding its delegate method (calling super, as AppKit requires), never by replacing it.
// - Windows made in code are released when closed unless told otherwise; this one stays alive
//   (releasedWhenClosed = NO) and is reused by every way of opening it.
// - The search field keeps the focus and the text being typed: its value is set only when the
//   core's query differs from what the field holds.
// - A page's size comes from its constraints (fixed width, height from its content): the tab
//   controller sizes the window to the selected page's preferred content size.

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
constexpr CGFloat kTextWidth = kWidth - 2 * kInset;
constexpr CGFloat kItemsListHeight = 300;
constexpr PreferencesTab kTabs[] = {PreferencesTab::general, PreferencesTab::items, PreferencesTab::hotkeys,
                                    PreferencesTab::about};
NSString* const kTabSymbols[] = {@"gearshape", @"menubar.rectangle", @"keyboard", @"info.circle"};

using State = PreferencesViewState;

NSStackView* page(NSArray<NSView*>* views, CGFloat spacing) {
  NSStackView* content = kit::column(views, spacing);
  content.edgeInsets = NSEdgeInsetsMake(kInset, kInset, kInset, kInset);
  content.translatesAutoresizingMaskIntoConstraints = NO;
  [content.widthAnchor constraintEqualToConstant:kWidth].active = YES;
  return content;
}

void setText(NSTextField* field, const std::string& text) {
  NSString* value = nsString(text);
  if (![field.stringValue isEqualToString:value]) field.stringValue = value;
}

void setTitle(NSButton* button, const std::string& title) {
  NSString* value = nsString(title);
  if (![button.title isEqualToString:value]) button.title = value;
}

// Replaces a pop-up's entries only when they changed, so an open menu is not rebuilt under the
// pointer, and selects `selected`.
void setChoices(NSPopUpButton* popup, const std::vector<PreferencesChoice>& choices, const std::string& selected) {
  bool same = popup.numberOfItems == static_cast<NSInteger>(choices.size());
  for (std::size_t i = 0; same && i < choices.size(); ++i) {
    NSMenuItem* item = [popup itemAtIndex:static_cast<NSInteger>(i)];
    same = [item.title isEqualToString:nsString(choices[i].title)] &&
           [item.representedObject isEqual:nsString(choices[i].id)];
  }
  if (!same) {
    [popup removeAllItems];
    for (const auto& choice : choices) {
      [popup addItemWithTitle:nsString(choice.title)];
      popup.lastItem.representedObject = nsString(choice.id);
    }
  }
  for (std::size_t i = 0; i < choices.size(); ++i) {
    if (choices[i].id == selected) [popup selectItemAtIndex:static_cast<NSInteger>(i)];
  }
}

}  // namespace

// One row of the Items tab: an app, its zone picker and its pin button. Rows are reused by
// position; `shown` is the entry the row shows now, which its controls act on.
struct PreferencesItemRowViews {
  NSStackView* view = nil;
  NSImageView* icon = nil;
  NSTextField* name = nil;
  NSTextField* note = nil;
  NSTextField* hint = nil;
  NSSegmentedControl* picker = nil;
  NSButton* pin = nil;
  NSTextField* shortcutProblem = nil;
  NSStackView* shortcutCell = nil;
  NSButton* shortcut = nil;
  NSButton* clearShortcut = nil;
  NSButton* moveForMe = nil;
  std::optional<std::string> iconPath;
  RowIcon iconShown;
  PreferencesItemRow shown;
};

// One connected display in the General tab, reused by position like the item rows.
struct PreferencesDisplayRowViews {
  NSStackView* view = nil;
  NSTextField* name = nil;
  NSButton* hide = nil;
  NSTextField* hideDetail = nil;
  NSTextField* delayTitle = nil;
  NSPopUpButton* delay = nil;
  PreferencesDisplayRow shown;
};

struct MacPreferencesWindow::Impl {
  explicit Impl(MacAppIcons& appIcons) : icons(appIcons) {}
  MacAppIcons& icons;
  NSWindow* window = nil;
  TRVPreferencesTabController* tabs = nil;
  TRVWindowCloseObserver* closeObserver = nil;
  NSSearchField* search = nil;
  // Every target of every control, for the window's life.
  NSMutableArray* targets = [NSMutableArray array];
  std::vector<std::function<void(const State&)>> bindings;
  std::vector<NSViewController*> pages;
  std::vector<std::unique_ptr<PreferencesItemRowViews>> rows;
  std::vector<std::unique_ptr<PreferencesItemRowViews>> otherRows;
  NSStackView* rowList = nil;
  NSStackView* otherRowList = nil;
  std::vector<std::unique_ptr<PreferencesDisplayRowViews>> displayRows;
  NSStackView* displayList = nil;
  NSStackView* linkRow = nil;
  std::vector<NSButton*> links;
  PreferencesCallbacks callbacks;
  State shown;
  bool filled = false;

  // --- Controls: each creates a view, its target and its binding -----------------------------

  void bind(std::function<void(const State&)> binding) { bindings.push_back(std::move(binding)); }

  NSTextField* label(std::function<std::string(const State&)> text, CGFloat size, NSFontWeight weight) {
    NSTextField* field = kit::label("", size, weight);
    bind([field, text = std::move(text)](const State& state) { setText(field, text(state)); });
    return field;
  }

  NSTextField* heading(std::function<std::string(const State&)> text) {
    return label(std::move(text), NSFont.systemFontSize, NSFontWeightSemibold);
  }

  // A secondary label, hidden while its text is absent or empty.
  NSTextField* detail(std::function<std::optional<std::string>(const State&)> text) {
    NSTextField* field = kit::detailLabel("", kTextWidth);
    bind([field, text = std::move(text)](const State& state) {
      auto value = text(state);
      field.hidden = !value || value->empty();
      setText(field, value.value_or(""));
    });
    return field;
  }

  TRVActionTarget* target(std::function<void()> action) {
    TRVActionTarget* made = [[TRVActionTarget alloc] initWithAction:std::move(action)];
    [targets addObject:made];
    return made;
  }

  // A push button, hidden while its title is absent.
  NSButton* button(std::function<std::optional<std::string>(const State&)> title, std::function<void()> action) {
    NSButton* made = [NSButton buttonWithTitle:@"" target:target(std::move(action)) action:@selector(perform:)];
    bind([made, title = std::move(title)](const State& state) {
      auto value = title(state);
      made.hidden = !value;
      setTitle(made, value.value_or(""));
    });
    return made;
  }

  // A checkbox with its detail below, both hidden while the switch is absent.
  NSView* checkbox(std::function<std::optional<PreferencesSwitch>(const State&)> control,
                   std::function<void(bool)> PreferencesCallbacks::*action) {
    NSButton* box = [NSButton checkboxWithTitle:@"" target:nil action:@selector(perform:)];
    __weak NSButton* weakBox = box;
    box.target = target([this, weakBox, action] {
      NSButton* strongBox = weakBox;
      if (strongBox && callbacks.*action) (callbacks.*action)(strongBox.state == NSControlStateValueOn);
    });
    NSTextField* note = kit::detailLabel("", kTextWidth);
    NSStackView* group = kit::column(@[ box, note ], 4);
    bind([group, box, note, control = std::move(control)](const State& state) {
      auto value = control(state);
      group.hidden = !value;
      if (!value) return;
      setTitle(box, value->title);
      box.state = value->on ? NSControlStateValueOn : NSControlStateValueOff;
      box.enabled = value->enabled;
      note.hidden = value->detail.empty();
      setText(note, value->detail);
    });
    return group;
  }

  // A titled pop-up; the row is hidden while it offers no choice.
  NSView* popUp(std::function<std::string(const State&)> title,
                std::function<std::pair<std::vector<PreferencesChoice>, std::string>(const State&)> choices,
                std::function<void(const std::string&)> choose) {
    NSPopUpButton* popup = [[NSPopUpButton alloc] initWithFrame:NSZeroRect pullsDown:NO];
    __weak NSPopUpButton* weakPopup = popup;
    popup.target = target([weakPopup, choose = std::move(choose)] {
      NSPopUpButton* strongPopup = weakPopup;
      NSString* chosen = strongPopup.selectedItem.representedObject;
      if (chosen) choose(stdString(chosen));
    });
    popup.action = @selector(perform:);
    NSTextField* caption = kit::label("", NSFont.systemFontSize, NSFontWeightRegular);
    NSStackView* line = kit::row(@[ caption, popup ], 8);
    bind([line, caption, popup, title = std::move(title), choices = std::move(choices)](const State& state) {
      auto [entries, selected] = choices(state);
      line.hidden = entries.empty();
      setText(caption, title(state));
      popup.accessibilityLabel = nsString(title(state));
      setChoices(popup, entries, selected);
    });
    return line;
  }

  // --- Pages ---------------------------------------------------------------------------------

  NSView* generalPage() {
    return page(@[
      detail([](const State& s) { return s.general.subtitle; }),
      heading([](const State& s) { return s.general.languageSection; }),
      popUp([](const State& s) { return s.general.languageTitle; },
            [](const State& s) { return std::pair{s.general.languages, s.general.selectedLanguage}; },
            [this](const std::string& id) {
              if (callbacks.chooseLanguage) callbacks.chooseLanguage(id);
            }),
      detail([](const State& s) { return s.general.languageDetail; }),
      heading([](const State& s) { return s.general.behaviourSection; }),
      popUp([](const State& s) { return s.general.delayTitle; },
            [](const State& s) { return std::pair{s.general.delays, s.general.selectedDelay}; },
            [this](const std::string& id) {
              // The ids are whole seconds written by the core; anything else is ignored.
              char* end = nullptr;
              double seconds = std::strtod(id.c_str(), &end);
              if (end != id.c_str() && *end == '\0' && callbacks.chooseDelay) callbacks.chooseDelay(seconds);
            }),
      detail([](const State& s) -> std::optional<std::string> {
        if (s.general.delays.empty()) return std::nullopt;
        return s.general.delayDetail;
      }),
      checkbox([](const State& s) { return s.general.launchAtLogin; }, &PreferencesCallbacks::setLaunchAtLogin),
      detail([](const State& s) { return s.general.launchAtLoginNote; }),
      button([](const State& s) { return s.general.launchAtLoginSettingsTitle; },
             [this] {
               if (callbacks.openLoginItemsSettings) callbacks.openLoginItemsSettings();
             }),
      checkbox([](const State& s) { return s.general.revealOnHover; }, &PreferencesCallbacks::setRevealOnHover),
      checkbox([](const State& s) { return std::optional(s.general.newAppNotices); },
               &PreferencesCallbacks::setNewAppNotices),
      checkbox([](const State& s) { return s.general.automaticUpdates; }, &PreferencesCallbacks::setAutomaticUpdates),
      heading([](const State& s) { return s.general.displays.empty() ? std::string() : s.general.displaysSection; }),
      displaysList(),
    ],
                8);
  }

  std::unique_ptr<PreferencesDisplayRowViews> makeDisplayRow() {
    auto row = std::make_unique<PreferencesDisplayRowViews>();
    PreferencesDisplayRowViews* views = row.get();  // lives as long as the window, as its targets do
    row->name = kit::label("", NSFont.systemFontSize, NSFontWeightMedium);
    row->hide = [NSButton checkboxWithTitle:@"" target:nil action:@selector(perform:)];
    row->hide.target = target([this, views] {
      if (callbacks.setDisplayHidesIcons) {
        callbacks.setDisplayHidesIcons(views->shown.displayId, views->hide.state == NSControlStateValueOn);
      }
    });
    row->hideDetail = kit::detailLabel("", kTextWidth);
    row->delayTitle = kit::label("", NSFont.systemFontSize, NSFontWeightRegular);
    row->delay = [[NSPopUpButton alloc] initWithFrame:NSZeroRect pullsDown:NO];
    row->delay.target = target([this, views] {
      NSString* chosen = views->delay.selectedItem.representedObject;
      if (chosen && callbacks.chooseDisplayDelay) callbacks.chooseDisplayDelay(views->shown.displayId, stdString(chosen));
    });
    row->delay.action = @selector(perform:);
    row->view = kit::column(@[ row->name, row->hide, row->hideDetail, kit::row(@[ row->delayTitle, row->delay ], 8) ], 4);
    return row;
  }

  void fillDisplayRow(PreferencesDisplayRowViews& row, const PreferencesDisplayRow& entry) {
    row.shown = entry;
    setText(row.name, entry.name);
    setTitle(row.hide, entry.hideIcons.title);
    row.hide.state = entry.hideIcons.on ? NSControlStateValueOn : NSControlStateValueOff;
    row.hide.enabled = entry.hideIcons.enabled;
    row.hide.accessibilityLabel = nsString(entry.name + ", " + entry.hideIcons.title);
    row.hideDetail.hidden = entry.hideIcons.detail.empty();
    setText(row.hideDetail, entry.hideIcons.detail);
    setText(row.delayTitle, entry.delayTitle);
    row.delay.accessibilityLabel = nsString(entry.name + ", " + entry.delayTitle);
    setChoices(row.delay, entry.delays, entry.selectedDelay);
  }

  NSView* displaysList() {
    displayList = kit::column(@[], 12);
    bind([this](const State& s) {
      const auto& entries = s.general.displays;
      while (displayRows.size() < entries.size()) {
        displayRows.push_back(makeDisplayRow());
        [displayList addArrangedSubview:displayRows.back()->view];
      }
      for (std::size_t i = 0; i < displayRows.size(); ++i) {
        displayRows[i]->view.hidden = i >= entries.size();
        if (i < entries.size()) fillDisplayRow(*displayRows[i], entries[i]);
      }
    });
    return displayList;
  }

  std::unique_ptr<PreferencesItemRowViews> makeItemRow() {
    auto row = std::make_unique<PreferencesItemRowViews>();
    PreferencesItemRowViews* views = row.get();  // the row outlives its targets: both live as long as the window
    row->icon = [[NSImageView alloc] init];
    [row->icon.widthAnchor constraintEqualToConstant:20].active = YES;
    [row->icon.heightAnchor constraintEqualToConstant:20].active = YES;
    row->name = kit::label("", NSFont.systemFontSize, NSFontWeightRegular);
    row->note = kit::detailLabel("", 260);
    row->hint = kit::detailLabel("", 260);
    row->shortcutProblem = kit::detailLabel("", 260);
    NSStackView* names = kit::column(@[ row->name, row->note, row->hint, row->shortcutProblem ], 2);
    [names setContentHuggingPriority:NSLayoutPriorityDefaultLow forOrientation:NSLayoutConstraintOrientationHorizontal];
    row->picker = [NSSegmentedControl segmentedControlWithLabels:@[]
                                                    trackingMode:NSSegmentSwitchTrackingSelectOne
                                                          target:nil
                                                          action:@selector(perform:)];
    row->picker.target = target([this, views] {
      NSInteger index = views->picker.selectedSegment;
      const auto& zones = shown.items.zones;
      if (callbacks.pickZone && index >= 0 && index < static_cast<NSInteger>(zones.size())) {
        callbacks.pickZone(views->shown.bundleId, zones[static_cast<std::size_t>(index)].id);
      }
    });
    row->pin = [NSButton buttonWithTitle:@"" target:target([this, views] {
                                      if (callbacks.setPinned) callbacks.setPinned(views->shown.bundleId, !views->shown.pinned);
                                    })
                                  action:@selector(perform:)];
    // The app's own shortcut: one button starts and cancels the recorder, the other clears it.
    row->shortcut = [NSButton buttonWithTitle:@"" target:target([this, views] {
                                           const PreferencesItemRow& entry = views->shown;
                                           if (entry.shortcutRecording && callbacks.cancelAppShortcut) {
                                             callbacks.cancelAppShortcut();
                                           } else if (!entry.shortcutRecording && callbacks.recordAppShortcut) {
                                             callbacks.recordAppShortcut(entry.bundleId);
                                           }
                                         })
                                       action:@selector(perform:)];
    row->clearShortcut = [NSButton buttonWithTitle:@"" target:target([this, views] {
                                                if (callbacks.clearAppShortcut) callbacks.clearAppShortcut(views->shown.bundleId);
                                              })
                                            action:@selector(perform:)];
    row->shortcutCell = kit::row(@[ row->shortcut, row->clearShortcut ], 4);
    row->moveForMe = [NSButton buttonWithTitle:@"" target:target([this, views] {
                                            if (callbacks.moveForMe) callbacks.moveForMe(views->shown.bundleId);
                                          })
                                        action:@selector(perform:)];
    row->view = kit::row(@[ row->icon, names, row->picker, row->moveForMe, row->pin, row->shortcutCell ], 8);
    return row;
  }

  void fillItemRow(PreferencesItemRowViews& row, const PreferencesItemsState& items, const PreferencesItemRow& entry) {
    row.shown = entry;
    if (row.iconPath != entry.iconPath || row.iconShown != entry.icon) {
      row.iconPath = entry.iconPath;
      row.iconShown = entry.icon;
      row.icon.image = icons.image(entry.icon, entry.iconPath);
    }
    row.icon.hidden = !row.icon.image;
    setText(row.name, entry.name);
    row.note.hidden = !entry.outOfPlaceNote;
    setText(row.note, entry.outOfPlaceNote ? "⚠︎ " + *entry.outOfPlaceNote : "");
    row.hint.hidden = !entry.hint;
    setText(row.hint, entry.hint.value_or(""));
    row.picker.segmentCount = static_cast<NSInteger>(items.zones.size());
    NSInteger selected = -1;
    for (std::size_t i = 0; i < items.zones.size(); ++i) {
      [row.picker setLabel:nsString(items.zones[i].title) forSegment:static_cast<NSInteger>(i)];
      if (items.zones[i].id == entry.zone) selected = static_cast<NSInteger>(i);
    }
    row.picker.selectedSegment = selected;
    row.picker.accessibilityLabel = nsString(entry.name);
    setTitle(row.pin, entry.pinned ? items.unpinTitle : items.pinTitle);
    row.moveForMe.hidden = !entry.offersMoveForMe;
    setTitle(row.moveForMe, items.moveForMeTitle);
    row.moveForMe.accessibilityLabel = nsString(entry.name + ", " + items.moveForMeTitle);
    row.shortcutProblem.hidden = !entry.shortcutProblem;
    setText(row.shortcutProblem, entry.shortcutProblem ? "⚠︎ " + *entry.shortcutProblem : "");
    row.shortcutCell.hidden = !items.shortcutsOffered;
    const std::string chord =
        entry.shortcutRecording ? items.shortcutPrompt : entry.shortcut.value_or(items.shortcutRecordTitle);
    setTitle(row.shortcut, chord);
    row.shortcut.accessibilityLabel = nsString(entry.name + ", " + items.shortcutTitle + ": " + chord);
    row.clearShortcut.hidden = !entry.shortcut || entry.shortcutRecording;
    setTitle(row.clearShortcut, items.shortcutClearTitle);
    row.clearShortcut.accessibilityLabel = nsString(entry.name + ", " + items.shortcutClearTitle);
  }

  // Shows `entries` in `list`, growing the pool when it is too small and hiding what is left.
  void fillItemRows(NSStackView* list, std::vector<std::unique_ptr<PreferencesItemRowViews>>& pool,
                    const PreferencesItemsState& items, const std::vector<PreferencesItemRow>& entries) {
    while (pool.size() < entries.size()) {
      pool.push_back(makeItemRow());
      [list addArrangedSubview:pool.back()->view];
    }
    for (std::size_t i = 0; i < pool.size(); ++i) {
      pool[i]->view.hidden = i >= entries.size();
      if (i < entries.size()) fillItemRow(*pool[i], items, entries[i]);
    }
  }

  NSView* itemsPage() {
    search = [[NSSearchField alloc] init];
    search.sendsSearchStringImmediately = YES;
    __weak NSSearchField* weakSearch = search;
    search.target = target([this, weakSearch] {
      NSSearchField* strongSearch = weakSearch;
      if (strongSearch && callbacks.search) callbacks.search(stdString(strongSearch.stringValue));
    });
    search.action = @selector(perform:);
    bind([this](const State& s) {
      search.placeholderString = nsString(s.items.searchPlaceholder);
      if (stdString(search.stringValue) != s.items.searchText) search.stringValue = nsString(s.items.searchText);
    });
    rowList = kit::column(@[], 6);
    otherRowList = kit::column(@[], 6);
    NSStackView* list = kit::column(@[
      rowList,
      detail([](const State& s) { return s.items.emptyText; }),
      button([](const State& s) { return std::optional(s.items.otherRunningToggleTitle); },
             [this] {
               if (callbacks.setOtherRunningShown) callbacks.setOtherRunningShown(!shown.items.otherRunningShown);
             }),
      detail([](const State& s) -> std::optional<std::string> {
        if (!s.items.otherRunningShown) return std::nullopt;
        return s.items.otherRunningNote;
      }),
      otherRowList,
    ],
                                    6);
    bind([this](const State& s) {
      fillItemRows(rowList, rows, s.items, s.items.rows);
      fillItemRows(otherRowList, otherRows, s.items, s.items.otherRunningShown ? s.items.otherRunningRows
                                                                                : std::vector<PreferencesItemRow>{});
    });
    NSScrollView* scroll = [[NSScrollView alloc] init];
    scroll.hasVerticalScroller = YES;
    scroll.drawsBackground = NO;
    list.translatesAutoresizingMaskIntoConstraints = NO;
    scroll.documentView = list;
    [list.widthAnchor constraintEqualToAnchor:scroll.contentView.widthAnchor].active = YES;
    [scroll.heightAnchor constraintEqualToConstant:kItemsListHeight].active = YES;
    [scroll.widthAnchor constraintEqualToConstant:kTextWidth].active = YES;
    NSButton* refresh = button([](const State& s) { return std::optional(s.items.refreshTitle); },
                               [this] {
                                 if (callbacks.refresh) callbacks.refresh();
                               });
    bind([refresh](const State& s) { refresh.toolTip = nsString(s.items.refreshDetail); });
    NSButton* arrange = button([](const State& s) { return std::optional(s.items.arrangeTitle); },
                               [this] {
                                 if (callbacks.arrange) callbacks.arrange();
                               });
    return page(@[
      detail([](const State& s) { return s.items.subtitle; }),
      search,
      scroll,
      detail([](const State& s) { return s.items.toast; }),
      kit::row(@[ refresh, arrange ], 8),
      detail([](const State& s) { return s.items.help; }),
    ],
                10);
  }

  NSView* hotkeysPage() {
    NSTextField* chord = label([](const State& s) { return s.hotkeys.chord; }, NSFont.systemFontSize,
                               NSFontWeightMedium);
    bind([chord](const State& s) { chord.accessibilityLabel = nsString(s.hotkeys.actionTitle + ": " + s.hotkeys.chord); });
    NSButton* change = button(
        [](const State& s) { return std::optional(s.hotkeys.recording ? s.hotkeys.cancelTitle : s.hotkeys.changeTitle); },
        [this] {
          auto& action = shown.hotkeys.recording ? callbacks.cancelRecordingHotkey : callbacks.startRecordingHotkey;
          if (action) action();
        });
    NSTextField* conflict = detail([](const State& s) { return s.hotkeys.conflict; });
    conflict.textColor = NSColor.systemRedColor;
    return page(@[
      heading([](const State& s) { return s.hotkeys.title; }),
      detail([](const State& s) { return s.hotkeys.tip; }),
      kit::row(@[ label([](const State& s) { return s.hotkeys.actionTitle; }, NSFont.systemFontSize,
                        NSFontWeightRegular),
                  chord, change ],
               10),
      detail([](const State& s) { return s.hotkeys.actionDetail + " " + s.hotkeys.defaultNote; }),
      conflict,
      heading([](const State& s) { return s.hotkeys.tipsSection; }),
      label([](const State& s) { return s.hotkeys.fullScreenTitle; }, NSFont.systemFontSize, NSFontWeightRegular),
      detail([](const State& s) { return s.hotkeys.fullScreenDetail; }),
    ],
                8);
  }

  NSView* aboutPage() {
    NSImageView* icon = [NSImageView imageViewWithImage:NSApplication.sharedApplication.applicationIconImage];
    [icon.widthAnchor constraintEqualToConstant:64].active = YES;
    [icon.heightAnchor constraintEqualToConstant:64].active = YES;
    NSTextField* version = kit::detailLabel("", 300);
    bind([version](const State& s) { setText(version, s.about.version); });
    NSStackView* sentences = kit::column(@[], 8);
    bind([sentences](const State& s) {
      while (sentences.arrangedSubviews.count < s.about.sentences.size()) {
        [sentences addArrangedSubview:kit::detailLabel("", kTextWidth)];
      }
      for (NSUInteger i = 0; i < sentences.arrangedSubviews.count; ++i) {
        NSTextField* line = (NSTextField*)sentences.arrangedSubviews[i];
        line.hidden = i >= s.about.sentences.size();
        if (i < s.about.sentences.size()) setText(line, s.about.sentences[i]);
      }
    });
    linkRow = kit::row(@[], 8);
    bind([this](const State& s) {
      while (links.size() < s.about.links.size()) {
        std::size_t index = links.size();
        NSButton* link = [NSButton buttonWithTitle:@""
                                            target:target([this, index] {
                                              if (index < shown.about.links.size() && callbacks.openLink) {
                                                callbacks.openLink(shown.about.links[index].id);
                                              }
                                            })
                                            action:@selector(perform:)];
        links.push_back(link);
        [linkRow addArrangedSubview:link];
      }
      for (std::size_t i = 0; i < links.size(); ++i) {
        links[i].hidden = i >= s.about.links.size();
        if (i < s.about.links.size()) setTitle(links[i], s.about.links[i].title);
      }
    });
    return page(@[
      kit::row(@[ icon, kit::column(@[ label([](const State& s) { return s.about.appName; }, 20, NSFontWeightSemibold),
                                       version ],
                                    4) ],
               12),
      heading([](const State& s) { return s.about.nutshellSection; }),
      sentences,
      heading([](const State& s) { return s.about.privacyTitle; }),
      detail([](const State& s) { return s.about.privacyDetail; }),
      heading([](const State& s) { return s.about.supportSection; }),
      detail([](const State& s) { return s.about.docsTitle + " — " + s.about.docsDetail; }),
      linkRow,
      button([](const State& s) { return s.about.checkForUpdatesTitle; },
             [this] {
               if (callbacks.checkForUpdates) callbacks.checkForUpdates();
             }),
      button([](const State& s) { return s.about.copyDiagnosticsTitle; },
             [this] {
               if (callbacks.copyDiagnostics) callbacks.copyDiagnostics();
             }),
      detail([](const State& s) { return s.about.diagnosticsCopiedNote; }),
    ],
                8);
  }

  // --- The window ----------------------------------------------------------------------------

  void build() {
    tabs = [[TRVPreferencesTabController alloc] init];
    tabs.tabStyle = NSTabViewControllerTabStyleToolbar;
    NSView* contents[] = {generalPage(), itemsPage(), hotkeysPage(), aboutPage()};
    for (std::size_t i = 0; i < std::size(kTabs); ++i) {
      NSViewController* controller = [[NSViewController alloc] init];
      controller.view = contents[i];
      pages.push_back(controller);
      NSTabViewItem* item = [NSTabViewItem tabViewItemWithViewController:controller];
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
  }

  void fill(const State& state) {
    if (filled && shown == state) return;
    shown = state;
    filled = true;
    window.title = nsString(state.windowTitle);
    for (std::size_t i = 0; i < std::size(kTabs) && i < state.tabs.size(); ++i) {
      tabs.tabViewItems[i].label = nsString(state.tabs[i].title);
    }
    for (const auto& binding : bindings) binding(state);
    for (NSViewController* controller : pages) {
      [controller.view layoutSubtreeIfNeeded];
      controller.preferredContentSize = controller.view.fittingSize;
    }
    for (std::size_t i = 0; i < std::size(kTabs); ++i) {
      if (kTabs[i] != state.tab || tabs.selectedTabViewItemIndex == static_cast<NSInteger>(i)) continue;
      tabs.quiet = YES;
      tabs.selectedTabViewItemIndex = static_cast<NSInteger>(i);
      tabs.quiet = NO;
    }
  }
};

MacPreferencesWindow::MacPreferencesWindow(MacAppIcons& icons) : impl_(std::make_unique<Impl>(icons)) {}

MacPreferencesWindow::~MacPreferencesWindow() {
  impl_->callbacks = {};
  impl_->tabs.onSelect = nullptr;
  impl_->window.delegate = nil;
  [impl_->window close];
}

void MacPreferencesWindow::show(const PreferencesViewState& state, PreferencesCallbacks callbacks) {
  if (!impl_->window) {
    impl_->build();
    [impl_->window center];
  }
  impl_->callbacks = std::move(callbacks);
  impl_->filled = false;
  impl_->fill(state);
  kit::activateApplication();
  [impl_->window makeKeyAndOrderFront:nil];
  [impl_->window orderFrontRegardless];
}

void MacPreferencesWindow::update(const PreferencesViewState& state) {
  if (!isShown()) return;
  impl_->fill(state);
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
