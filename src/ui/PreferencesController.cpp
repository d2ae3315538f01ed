#include "ui/PreferencesController.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/Log.h"
#include "base/Text.h"
#include "discovery/PlacementPolicy.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "discovery/owners/StatusItemManager.h"
#include "localization/AppLanguage.h"
#include "localization/LocalizationManager.h"
#include "localization/StringFormat.h"
#include "platform/windows/UserInterface.h"
#include "ui/PlacementGuideController.h"

namespace tarvolo {

using platform::PreferencesTab;

namespace {

constexpr const char* kWebsite = "https://tarvolo.app";
constexpr const char* kGuide = "https://tarvolo.app/guide";
constexpr const char* kPrivacy = "https://tarvolo.app/privacy";

std::optional<PreferencesTab> tabForFocus(const std::optional<std::string>& focus) {
  if (!focus) return std::nullopt;
  // The context menu's "hide in settings" lands on the list of apps.
  if (*focus == "hiding") return PreferencesTab::items;
  return platform::preferencesTabFromRaw(*focus);
}

std::string secondsId(double seconds) { return std::to_string(static_cast<long>(std::lround(seconds))); }

constexpr const char* kGeneralDelayId = "general";

}  // namespace

PreferencesController::PreferencesController(Dependencies dependencies)
    : platform_(dependencies.platform),
      localization_(dependencies.localization),
      catalog_(dependencies.catalog),
      categories_(dependencies.categories),
      notices_(dependencies.notices),
      ledger_(dependencies.ledger),
      guide_(dependencies.guide),
      behaviour_(std::move(dependencies.behaviour)),
      moveVerdictWork_(dependencies.platform.mainQueue()) {
  auto& queue = platform_.mainQueue();
  auto redraw = [refresh = bindWeak(weak(), &PreferencesController::refresh)](const Notification&) { refresh(); };
  auto& center = dependencies.defaultCenter;
  // A new language relabels every control at once.
  cancellables_.push_back(center.addObserver(Notifications::appLanguageDidChange, onMainQueue(queue, redraw)));
  cancellables_.push_back(center.addObserver(Notifications::menuBarCatalogDidChange, onMainQueue(queue, redraw)));
  cancellables_.push_back(center.addObserver(Notifications::itemCategoryDidChange, onMainQueue(queue, redraw)));
  // A display connected or gone adds or drops its rule's row.
  cancellables_.push_back(
      center.addObserver(Notifications::applicationDidChangeScreenParameters, onMainQueue(queue, redraw)));
  cancellables_.push_back(catalog_.observedZones.subscribe(
      [refresh = bindWeak(weak(), &PreferencesController::refresh)](const auto&) { refresh(); }));
  ledgerObserver_ = ledger_.addObserver([self = weak()](const PlacementLedgerSnapshot&) {
    if (auto* preferences = self.get()) {
      if (preferences->move_ && preferences->move_->dragged) preferences->settleMove(false);
      preferences->refresh();
    }
  });
}

PreferencesController::~PreferencesController() {
  if (ledgerObserver_) ledger_.removeObserver(*ledgerObserver_);
  auto& window = platform_.userInterface().preferences();
  if (window.isShown()) window.close();
}

std::string PreferencesController::tr(std::string_view key) const { return localization_.tr(key); }

// --- the window ----------------------------------------------------------------------------------

void PreferencesController::open(std::optional<std::string> focus) {
  if (auto tab = tabForFocus(focus)) tab_ = *tab;
  MenuBarLog::log(LogLine("preferences open").add("tab", platform::rawValue(tab_)));
  platform_.userInterface().preferences().show(viewState(), callbacks());
}

void PreferencesController::close() {
  auto& window = platform_.userInterface().preferences();
  if (window.isShown()) window.close();
  windowClosed();
}

bool PreferencesController::isShown() const { return platform_.userInterface().preferences().isShown(); }

void PreferencesController::refresh() {
  auto& window = platform_.userInterface().preferences();
  if (window.isShown()) window.update(viewState());
}

void PreferencesController::windowClosed() {
  if (behaviour_.hotkeyRecording && behaviour_.hotkeyRecording() && behaviour_.cancelHotkeyRecording) {
    behaviour_.cancelHotkeyRecording();
  }
  if (behaviour_.cancelAppShortcutRecording) behaviour_.cancelAppShortcutRecording();
  toast_.reset();
  diagnosticsCopied_ = false;
}

void PreferencesController::closedByUser() {
  windowClosed();
  if (closedByUser_) closedByUser_();
}

platform::PreferencesCallbacks PreferencesController::callbacks() {
  using Self = PreferencesController;
  return platform::PreferencesCallbacks{
      .selectTab = bindWeak(weak(), &Self::selectTab),
      .chooseLanguage = bindWeak(weak(), &Self::chooseLanguage),
      .chooseDelay = bindWeak(weak(), &Self::chooseDelay),
      .setLaunchAtLogin = bindWeak(weak(), &Self::setLaunchAtLogin),
      .openLoginItemsSettings = bindWeak(weak(), &Self::openLoginItemsSettings),
      .setRevealOnHover = bindWeak(weak(), &Self::setRevealOnHover),
      .setNewAppNotices = bindWeak(weak(), &Self::setNewAppNotices),
      .setDisplayHidesIcons = bindWeak(weak(), &Self::setDisplayHidesIcons),
      .chooseDisplayDelay = bindWeak(weak(), &Self::chooseDisplayDelay),
      .setAutomaticUpdates = bindWeak(weak(), &Self::setAutomaticUpdates),
      .search = bindWeak(weak(), &Self::search),
      .setOtherRunningShown = bindWeak(weak(), &Self::setOtherRunningShown),
      .pickZone = bindWeak(weak(), &Self::pickZone),
      .setPinned = bindWeak(weak(), &Self::setPinned),
      .moveForMe = bindWeak(weak(), &Self::moveForMe),
      .refresh = bindWeak(weak(), &Self::rescan),
      .arrange = bindWeak(weak(), &Self::arrange),
      .recordAppShortcut = bindWeak(weak(), &Self::recordAppShortcut),
      .clearAppShortcut = bindWeak(weak(), &Self::clearAppShortcut),
      .cancelAppShortcut = bindWeak(weak(), &Self::cancelAppShortcut),
      .startRecordingHotkey = bindWeak(weak(), &Self::startRecordingHotkey),
      .cancelRecordingHotkey = bindWeak(weak(), &Self::cancelRecordingHotkey),
      .openLink = bindWeak(weak(), &Self::openLink),
      .checkForUpdates = bindWeak(weak(), &Self::checkForUpdates),
      .copyDiagnostics = bindWeak(weak(), &Self::copyDiagnostics),
      .closed = bindWeak(weak(), &Self::closedByUser),
  };
}

// --- actions -------------------------------------------------------------------------------------

void PreferencesController::selectTab(PreferencesTab tab) {
  tab_ = tab;
  toast_.reset();
  refresh();
}

void PreferencesController::chooseLanguage(const std::string& languageId) {
  auto language = appLanguageFromRaw(languageId);
  if (!language) {
    MenuBarLog::log(LogLine("preferences language ignored").add("value", languageId));
    return;
  }
  // The change notification relabels the window along with everything else.
  localization_.setCurrentLanguage(*language);
  refresh();
}

void PreferencesController::chooseDelay(double seconds) {
  if (!behaviour_.setAutoCollapseDelay || !std::isfinite(seconds)) return;
  behaviour_.setAutoCollapseDelay(seconds);
  MenuBarLog::log(LogLine("preferences delay").add("seconds", seconds));
  refresh();
}

void PreferencesController::setLaunchAtLogin(bool enabled) {
  if (!behaviour_.setLaunchAtLogin) return;
  behaviour_.setLaunchAtLogin(enabled);
  refresh();
}

void PreferencesController::openLoginItemsSettings() {
  if (behaviour_.openLoginItemsSettings) behaviour_.openLoginItemsSettings();
}

void PreferencesController::setRevealOnHover(bool enabled) {
  if (!behaviour_.setRevealOnHover) return;
  behaviour_.setRevealOnHover(enabled);
  refresh();
}

void PreferencesController::setNewAppNotices(bool enabled) {
  notices_.setNewAppNoticesEnabled(enabled);
  refresh();
}

void PreferencesController::setDisplayHidesIcons(const std::string& displayId, bool hide) {
  if (!behaviour_.displayRule || !behaviour_.setDisplayRule || displayId.empty()) return;
  DisplayRule rule = behaviour_.displayRule(displayId);
  rule.hideIcons = hide;
  behaviour_.setDisplayRule(displayId, rule);
  refresh();
}

void PreferencesController::chooseDisplayDelay(const std::string& displayId, const std::string& delayId) {
  if (!behaviour_.displayRule || !behaviour_.setDisplayRule || displayId.empty()) return;
  DisplayRule rule = behaviour_.displayRule(displayId);
  if (delayId == kGeneralDelayId) {
    rule.autoCollapseDelay.reset();
  } else {
    char* end = nullptr;
    const double seconds = std::strtod(delayId.c_str(), &end);
    if (delayId.empty() || *end != '\0' || !std::isfinite(seconds) || seconds < 0) {
      MenuBarLog::log(LogLine("preferences display delay ignored").add("value", delayId));
      return;
    }
    rule.autoCollapseDelay = seconds;
  }
  behaviour_.setDisplayRule(displayId, rule);
  refresh();
}

void PreferencesController::search(const std::string& query) {
  searchQuery_ = query;
  refresh();
}

void PreferencesController::setOtherRunningShown(bool shown) {
  otherRunningShown_ = shown;
  refresh();
}

void PreferencesController::pickZone(const std::string& bundleId, const std::string& zone) {
  const MenuBarAppItem* item = catalog_.item(bundleId);
  auto category = itemCategoryFromRaw(zone);
  if (!item || !category) return;
  const std::string current(row(*item).zone);
  if (PlacementPolicy::reselectIsNoOp(zone, current)) return;
  const bool native = behaviour_.nativeEngineAvailable && behaviour_.nativeEngineAvailable();
  MenuBarLog::log(LogLine("preferences zone").add("bundle", item->bundleId).add("zone", zone).add("native", native));
  if (PlacementPolicy::clickAssignsTier(native, zone)) {
    // Setting the category rebuilds the catalogue, and `item` with it.
    const std::string bundle = item->bundleId;
    const std::string name = item->name;
    categories_.setCategory(bundle, *category);
    // Folding away an icon that was confirmed always visible retires that confirmation.
    if (*category != ItemCategory::alwaysVisible && ledger_.confirmedCategory(bundle)) {
      ledger_.confirm(bundle, *category);
    }
    toast_ = formatText(tr("toast_item_category_set"), {name, tr(titleKey(*category))});
    refresh();
    return;
  }
  // Only the user can seat an icon beside the toggle: the guide shows them how.
  toast_ = tr("toast_visible_needs_slot");
  guide_.startPlacement(item->bundleId, *category,
                        PlacementGuideController::Staged{.category = std::string(rawValue(item->category)),
                                                         .hadSavedTier = item->hasSavedTier});
  refresh();
}

bool PreferencesController::offersMoveForMe(const MenuBarAppItem& item, const std::string& zone) const {
  if (!behaviour_.moveIcon || zone == rawValue(ItemCategory::alwaysVisible)) return false;
  // Only a running app has an icon to drag; the system's engine needs none.
  const bool native = behaviour_.nativeEngineAvailable && behaviour_.nativeEngineAvailable();
  return native || item.pid != 0;
}

void PreferencesController::moveForMe(const std::string& bundleId) {
  const MenuBarAppItem* item = catalog_.item(bundleId);
  if (!item || !offersMoveForMe(*item, row(*item).zone) || move_) return;
  const std::string alwaysVisible(rawValue(ItemCategory::alwaysVisible));
  if (behaviour_.nativeEngineAvailable && behaviour_.nativeEngineAvailable()) {
    // The system's engine keeps whatever the allow-list names: nothing needs to move.
    MenuBarLog::log(LogLine("move-for-me native").add("bundle", item->bundleId));
    pickZone(bundleId, alwaysVisible);
    return;
  }
  move_ = PendingMove{.bundle = BundleID(item->bundleId), .name = item->name};
  const std::uint64_t generation = ++moveGeneration_;
  // The guide expands the bar so the icon shows, and confirms the icon in the ledger once it
  // sees it seated; should the drag fail, it is there to show the user how.
  pickZone(bundleId, alwaysVisible);
  toast_ = tr("toast_move_for_me_moving");
  refresh();
  behaviour_.moveIcon(move_->bundle.spelling(), bindWeak(weak(), &PreferencesController::moveDragged, generation));
}

void PreferencesController::moveDragged(std::uint64_t generation, std::optional<MoveRefusal> refusal) {
  if (generation != moveGeneration_ || !move_) return;
  if (refusal) {
    const std::string name = move_->name;
    move_.reset();
    toast_ = formatText(tr(*refusal == MoveRefusal::userBusy ? "toast_move_for_me_hand" : "toast_move_for_me_failed"),
                        {name});
    refresh();
    return;
  }
  move_->dragged = true;
  if (ledger_.confirmedCategory(move_->bundle.key()) == std::string(rawValue(ItemCategory::alwaysVisible))) {
    settleMove(true);
    return;
  }
  moveVerdictWork_.schedule(moveConfirmationWindow, bindWeak(weak(), [generation](PreferencesController& self) {
                              if (generation == self.moveGeneration_) self.settleMove(false);
                            }));
}

void PreferencesController::settleMove(bool confirmedNow) {
  if (!move_) return;
  const bool confirmed =
      confirmedNow || ledger_.confirmedCategory(move_->bundle.key()) == std::string(rawValue(ItemCategory::alwaysVisible));
  // Until the window runs out, only a confirmation ends the move.
  if (!confirmed && moveVerdictWork_.isScheduled()) return;
  MenuBarLog::log(LogLine("move-for-me end").add("bundle", move_->bundle.key()).add("confirmed", confirmed));
  const std::string name = move_->name;
  move_.reset();
  moveVerdictWork_.cancel();
  toast_ = formatText(tr(confirmed ? "toast_move_for_me_done" : "toast_move_for_me_failed"), {name});
  refresh();
}

void PreferencesController::setPinned(const std::string& bundleId, bool pinned) {
  const MenuBarAppItem* item = catalog_.item(bundleId);
  if (!item) return;
  const std::string name = item->name;
  categories_.setPinned(bundleId, pinned);
  toast_ = formatText(tr(pinned ? "toast_item_pinned" : "toast_item_unpinned"), {name});
  refresh();
}

void PreferencesController::rescan() {
  catalog_.scanRunningApplications();
  catalog_.refreshObservedZones();
  refresh();
}

void PreferencesController::arrange() { guide_.startTour(); }

void PreferencesController::startRecordingHotkey() {
  if (behaviour_.beginHotkeyRecording) behaviour_.beginHotkeyRecording();
  refresh();
}

void PreferencesController::cancelRecordingHotkey() {
  if (behaviour_.cancelHotkeyRecording) behaviour_.cancelHotkeyRecording();
  refresh();
}

void PreferencesController::recordAppShortcut(const std::string& bundleId) {
  if (!behaviour_.beginAppShortcutRecording || !catalog_.item(bundleId)) return;
  behaviour_.beginAppShortcutRecording(bundleId);
  refresh();
}

void PreferencesController::clearAppShortcut(const std::string& bundleId) {
  if (!behaviour_.clearAppShortcut) return;
  behaviour_.clearAppShortcut(bundleId);
  refresh();
}

void PreferencesController::cancelAppShortcut() {
  if (!behaviour_.cancelAppShortcutRecording) return;
  behaviour_.cancelAppShortcutRecording();
  refresh();
}

void PreferencesController::setAutomaticUpdates(bool enabled) {
  if (!behaviour_.setAutomaticUpdateChecks) return;
  behaviour_.setAutomaticUpdateChecks(enabled);
  refresh();
}

void PreferencesController::checkForUpdates() {
  if (behaviour_.checkForUpdates) behaviour_.checkForUpdates();
}

void PreferencesController::openLink(const std::string& address) {
  if (address == kWebsite || address == kGuide || address == kPrivacy) platform_.application().openURL(address);
}

void PreferencesController::copyDiagnostics() {
  if (!diagnostics_) return;
  platform_.application().copyToPasteboard(diagnostics_());
  diagnosticsCopied_ = true;
  refresh();
}

// --- the state drawn -----------------------------------------------------------------------------

platform::PreferencesViewState PreferencesController::viewState() const {
  platform::PreferencesViewState state;
  state.windowTitle = tr("preferences_window_title");
  state.tab = tab_;
  state.tabs = {{"general", tr("tab_general")},
                {"items", tr("tab_items")},
                {"hotkeys", tr("tab_hotkeys")},
                {"about", tr("tab_about")}};
  state.general = generalState();
  state.items = itemsState();
  state.hotkeys = hotkeysState();
  state.about = aboutState();
  return state;
}

platform::PreferencesGeneralState PreferencesController::generalState() const {
  platform::PreferencesGeneralState general;
  general.subtitle = tr("general_header_subtitle");
  general.languageSection = tr("section_appearance_language");
  general.languageTitle = tr("language_setting");
  general.languageDetail = tr("language_setting_subtitle");
  for (AppLanguage language : kAllAppLanguages) {
    general.languages.push_back({std::string(rawValue(language)), localization_.displayName(language)});
  }
  general.selectedLanguage = std::string(rawValue(localization_.currentLanguage()));
  general.behaviourSection = tr("section_basic_behavior");
  general.delayTitle = tr("auto_collapse_delay");
  general.delayDetail = tr("auto_collapse_delay_subtitle");
  if (behaviour_.autoCollapseDelay) {
    const double current = behaviour_.autoCollapseDelay();
    std::vector<double> seconds(std::begin(delayChoices), std::end(delayChoices));
    if (std::find(seconds.begin(), seconds.end(), std::round(current)) == seconds.end()) {
      seconds.push_back(std::round(current));
      std::sort(seconds.begin(), seconds.end());
    }
    for (double value : seconds) {
      general.delays.push_back({secondsId(value), formatText(tr("auto_collapse_seconds"), {secondsId(value)})});
    }
    general.selectedDelay = secondsId(current);
  }
  if (behaviour_.loginItem) {
    const auto login = behaviour_.loginItem();
    general.launchAtLogin = platform::PreferencesSwitch{.title = tr("launch_at_login"),
                                                        .detail = tr("launch_at_login_desc"),
                                                        .on = login.enabled || login.needsApproval,
                                                        .enabled = login.supported};
    if (!login.supported) {
      general.launchAtLoginNote = tr("launch_at_login_unsupported");
    } else if (login.needsApproval) {
      general.launchAtLoginNote = tr("launch_at_login_approval");
      general.launchAtLoginSettingsTitle = tr("launch_at_login_settings");
    }
  }
  if (behaviour_.revealOnHover) {
    general.revealOnHover = platform::PreferencesSwitch{.title = tr("reveal_on_hover"),
                                                        .detail = tr("reveal_on_hover_desc"),
                                                        .on = behaviour_.revealOnHover()};
  }
  general.newAppNotices = platform::PreferencesSwitch{.title = tr("new_app_notices_title"),
                                                      .detail = tr("new_app_notices_desc"),
                                                      .on = notices_.newAppNoticesEnabled()};
  general.displaysSection = tr("display_rules_section");
  general.displays = displayRows();
  if (behaviour_.automaticUpdateChecks) {
    general.automaticUpdates = platform::PreferencesSwitch{.title = tr("update.automatic"),
                                                           .detail = tr("update.automatic_desc"),
                                                           .on = behaviour_.automaticUpdateChecks()};
  }
  return general;
}

std::vector<platform::PreferencesDisplayRow> PreferencesController::displayRows() const {
  std::vector<platform::PreferencesDisplayRow> rows;
  if (!behaviour_.displayRule) return rows;
  const std::string barDisplay = behaviour_.barDisplayID ? behaviour_.barDisplayID() : std::string();
  for (const auto& screen : platform_.screens().screens()) {
    if (screen.displayID.empty()) continue;
    const DisplayRule rule = behaviour_.displayRule(screen.displayID);
    platform::PreferencesDisplayRow row;
    row.displayId = screen.displayID;
    row.name = screen.name.empty() ? screen.displayID : screen.name;
    row.hideIcons = platform::PreferencesSwitch{
        .title = tr("display_hide_icons"), .detail = tr("display_hide_icons_desc"), .on = rule.hideIcons};
    row.delayTitle = tr("display_delay_title");
    row.delays.push_back({kGeneralDelayId, tr("display_delay_general")});
    std::vector<double> seconds(std::begin(delayChoices), std::end(delayChoices));
    if (rule.autoCollapseDelay &&
        std::find(seconds.begin(), seconds.end(), std::round(*rule.autoCollapseDelay)) == seconds.end()) {
      seconds.push_back(std::round(*rule.autoCollapseDelay));
      std::sort(seconds.begin(), seconds.end());
    }
    for (double value : seconds) {
      row.delays.push_back({secondsId(value), formatText(tr("auto_collapse_seconds"), {secondsId(value)})});
    }
    row.selectedDelay = rule.autoCollapseDelay ? secondsId(*rule.autoCollapseDelay) : std::string(kGeneralDelayId);
    row.holdsMenuBar = screen.displayID == barDisplay;
    rows.push_back(std::move(row));
  }
  // The display the bar is on comes first.
  std::stable_partition(rows.begin(), rows.end(), [](const auto& row) { return row.holdsMenuBar; });
  return rows;
}

bool PreferencesController::matchesSearch(const MenuBarAppItem& item) const {
  const std::string query = text::folded(text::trimmed(searchQuery_));
  if (query.empty()) return true;
  return text::folded(item.name).find(query) != std::string::npos ||
         text::folded(item.bundleId).find(query) != std::string::npos;
}

platform::PreferencesItemRow PreferencesController::row(const MenuBarAppItem& item) const {
  platform::PreferencesItemRow row;
  row.bundleId = item.bundleId;
  row.name = item.name;
  row.iconPath = item.iconPath;
  row.icon.application = BundleID::from(item.bundleId);
  std::optional<std::string> saved;
  if (item.hasSavedTier) saved = std::string(rawValue(item.category));
  row.zone = PlacementPolicy::displayedTier(saved, ledger_.confirmedCategory(item.bundleId),
                                            catalog_.observedZone(item.bundleId));
  row.pinned = item.isPinned;
  row.recommended = item.isRecommended;
  if (catalog_.isOutOfPlace(item.bundleId)) row.outOfPlaceNote = tr("placement_out_of_slot");
  if (item.needsDiscovery && !catalog_.observedZone(item.bundleId)) row.hint = tr("catalog_unconfirmed_hint");
  if (behaviour_.appShortcut) row.shortcut = behaviour_.appShortcut(item.bundleId);
  if (behaviour_.appShortcutRecording) {
    const auto recording = behaviour_.appShortcutRecording();
    row.shortcutRecording = recording && text::equalsIgnoringCase(*recording, item.bundleId);
  }
  if (behaviour_.appShortcutProblem) row.shortcutProblem = behaviour_.appShortcutProblem(item.bundleId);
  row.offersMoveForMe = offersMoveForMe(item, row.zone);
  return row;
}

platform::PreferencesItemsState PreferencesController::itemsState() const {
  platform::PreferencesItemsState items;
  items.subtitle = tr("items_header_subtitle");
  items.help = tr("items_help_body");
  items.searchPlaceholder = tr("search_placeholder");
  items.searchText = searchQuery_;
  items.searchClearTitle = tr("search_clear");
  items.moveForMeTitle = tr("items_move_for_me");
  for (ItemCategory category : kAllItemCategories) {
    items.zones.push_back({std::string(rawValue(category)), tr(shortTitleKey(category))});
  }
  items.pinTitle = tr("pin_app");
  items.unpinTitle = tr("unpin_app");
  items.pinnedBadge = tr("item_pinned");
  items.recommendedBadge = tr("recommended_tag");
  for (const auto& item : catalog_.items.get()) {
    if (matchesSearch(item)) items.rows.push_back(row(item));
  }
  if (items.rows.empty()) {
    items.emptyText = text::trimmed(searchQuery_).empty() ? tr("empty_list_next") : tr("search_no_results");
  }
  items.otherRunningShown = otherRunningShown_;
  items.otherRunningToggleTitle = tr(otherRunningShown_ ? "catalog_other_running_hide" : "catalog_other_running_show");
  items.otherRunningNote = tr("catalog_other_running_note");
  if (otherRunningShown_) {
    for (const auto& item : catalog_.otherRunningItems.get()) {
      if (matchesSearch(item)) items.otherRunningRows.push_back(row(item));
    }
  }
  items.refreshTitle = tr("refresh_button");
  items.refreshDetail = tr("refresh_action");
  items.arrangeTitle = tr("zones_settings_button");
  items.shortcutsOffered = static_cast<bool>(behaviour_.beginAppShortcutRecording);
  items.shortcutTitle = tr("app_shortcut_title");
  items.shortcutRecordTitle = tr("app_shortcut_record");
  items.shortcutClearTitle = tr("app_shortcut_clear");
  items.shortcutPrompt = tr("hotkey_press");
  items.shortcutCancelTitle = tr("placement_cancel");
  items.toast = toast_;
  return items;
}

platform::PreferencesHotkeysState PreferencesController::hotkeysState() const {
  platform::PreferencesHotkeysState hotkeys;
  hotkeys.title = tr("hotkeys_title");
  hotkeys.tip = tr("hotkeys_tip");
  hotkeys.actionTitle = tr("hotkey_expand_all");
  hotkeys.actionDetail = tr("hotkey_expand_all_desc");
  hotkeys.defaultNote = tr("hotkey_expand_all_combo");
  hotkeys.recording = behaviour_.hotkeyRecording && behaviour_.hotkeyRecording();
  if (hotkeys.recording) {
    hotkeys.chord = tr("hotkey_press");
  } else if (behaviour_.hotkeyDisplay) {
    hotkeys.chord = behaviour_.hotkeyDisplay();
  } else {
    hotkeys.chord = "⌥⇧⌘B";
  }
  hotkeys.changeTitle = tr("hotkey_change");
  hotkeys.cancelTitle = tr("placement_cancel");
  if (behaviour_.hotkeyConflict) hotkeys.conflict = behaviour_.hotkeyConflict();
  hotkeys.tipsSection = tr("hotkey_tips_section");
  hotkeys.fullScreenTitle = tr("hotkey_tip_fullscreen_title");
  hotkeys.fullScreenDetail = tr("hotkey_tip_fullscreen_desc");
  return hotkeys;
}

platform::PreferencesAboutState PreferencesController::aboutState() const {
  platform::PreferencesAboutState about;
  about.appName = "Tarvolo";
  about.version = formatText(tr("about_version_label"), {versionText});
  about.nutshellSection = tr("about_plain_section");
  about.sentences = {tr("about_sentence_click"), tr("about_sentence_pinned"), tr("about_sentence_arrange")};
  std::size_t total = 0;
  std::size_t hidden = 0;
  for (const auto& item : catalog_.items.get()) {
    ++total;
    if (row(item).zone != PlacementPolicy::alwaysVisibleRaw) ++hidden;
  }
  if (total > 0) {
    about.sentences.push_back(
        formatText(tr("about_sentence_stats"), {std::to_string(hidden), std::to_string(total)}));
  }
  about.privacyTitle = tr("about_feature_privacy_title");
  // With the updater the app does go online, for its feed and nothing else.
  const bool updates = static_cast<bool>(behaviour_.checkForUpdates);
  about.privacyDetail =
      tr("about_feature_privacy_desc") + " " + tr(updates ? "update.network_desc" : "about_feature_network_desc");
  if (updates) about.checkForUpdatesTitle = tr("update.check_now");
  if (diagnostics_) about.copyDiagnosticsTitle = tr("about_copy_diagnostics");
  if (diagnostics_ && diagnosticsCopied_) about.diagnosticsCopiedNote = tr("about_diagnostics_copied");
  about.supportSection = tr("about_support_section");
  about.docsTitle = tr("about_support_docs_title");
  about.docsDetail = tr("about_support_docs_desc");
  about.links = {{kWebsite, tr("official_website")}, {kGuide, tr("support_guide")}, {kPrivacy, tr("privacy_policy")}};
  return about;
}

}  // namespace tarvolo
