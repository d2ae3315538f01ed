#pragma once

// The settings window's view model: everything it shows, localized, and what each control
// does. General: language, the auto-collapse delay, the login item, reveal on hover and new-app
// notices, a rule per display. Icons: the catalogue with a zone picker and a shortcut recorder per app. Shortcuts: the deep-expand chord.
// About: version, privacy, support, and the diagnostics a user can send. Main thread only.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "base/vocabulary/BundleID.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "platform/Platform.h"
#include "platform/windows/PreferencesWindow.h"
#include "statusbar/DisplayRulePolicy.h"

namespace tarvolo {

class CategoryStore;
class LocalizationManager;
class NewAppNoticeLedger;
class PlacementGuideController;
class StatusItemManager;
struct MenuBarAppItem;

class PreferencesController {
 public:
  static constexpr const char* versionText = "1.0";
  static constexpr double delayChoices[] = {2, 3, 5, 8, 10, 15, 20, 30};

  // The login item as the settings show it.
  struct LoginItemState {
    bool supported = true;
    bool enabled = false;
    bool needsApproval = false;
  };
  // Why "Move it for me" moved nothing: the user's hand was on the mouse, or the icon or its
  // slot could not be verified (or the system allows no posted events).
  enum class MoveRefusal { userBusy, unavailable };
  // After the drag, the placement ledger has this long to confirm the icon in its zone.
  static constexpr double moveConfirmationWindow = 3.0;

  // The owners of the behaviour settings, reached through what they offer; a hook left empty
  // hides its control.
  struct Behaviour {
    std::function<double()> autoCollapseDelay;
    std::function<void(double)> setAutoCollapseDelay;
    std::function<LoginItemState()> loginItem;
    std::function<void(bool)> setLaunchAtLogin;
    std::function<void()> openLoginItemsSettings;
    std::function<bool()> revealOnHover;
    std::function<void(bool)> setRevealOnHover;
    std::function<std::string()> hotkeyDisplay;
    std::function<bool()> hotkeyRecording;
    std::function<std::optional<std::string>()> hotkeyConflict;
    std::function<void()> beginHotkeyRecording;
    std::function<void()> cancelHotkeyRecording;
    std::function<bool()> nativeEngineAvailable;
    // One synthesized ⌘-drag of the app's icon beside the right separator; `done` says why none
    // was made, if none was. Empty hides "Move it for me".
    std::function<void(const std::string& bundleID, std::function<void(std::optional<MoveRefusal>)> done)> moveIcon;
    // Each app's own shortcut (lower-cased bundle ids); empty hooks hide the recorder.
    std::function<std::optional<std::string>(const std::string& bundleID)> appShortcut;
    std::function<std::optional<std::string>()> appShortcutRecording;
    std::function<std::optional<std::string>(const std::string& bundleID)> appShortcutProblem;
    std::function<void(const std::string& bundleID)> beginAppShortcutRecording;
    std::function<void()> cancelAppShortcutRecording;
    std::function<void(const std::string& bundleID)> clearAppShortcut;
    // The rules per display and the display the bar is on; empty hooks hide the section.
    std::function<DisplayRule(const std::string& displayID)> displayRule;
    std::function<void(const std::string& displayID, const DisplayRule& rule)> setDisplayRule;
    std::function<std::string()> barDisplayID;
    std::function<bool()> automaticUpdateChecks;
    std::function<void(bool)> setAutomaticUpdateChecks;
    std::function<void()> checkForUpdates;
  };

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    LocalizationManager& localization;
    StatusItemManager& catalog;
    CategoryStore& categories;
    NewAppNoticeLedger& notices;
    MenuBarPlacementLedger& ledger;
    PlacementGuideController& guide;
    Behaviour behaviour;
  };

  explicit PreferencesController(Dependencies dependencies);
  ~PreferencesController();
  PreferencesController(const PreferencesController&) = delete;
  PreferencesController& operator=(const PreferencesController&) = delete;

  // Opens the window, or brings it front; "items" (or "hiding"), "hotkeys", "about" and
  // "general" choose a tab.
  void open(std::optional<std::string> focus);
  void close();
  bool isShown() const;
  // Something the window shows changed elsewhere (a hotkey recorded, the login item approved).
  void refresh();
  // Runs when the user has closed the window: a settled moment.
  void setClosedByUserHandler(std::function<void()> handler) { closedByUser_ = std::move(handler); }
  // What "Copy Diagnostics" puts on the pasteboard; without it About offers no such button.
  void setDiagnosticsSource(std::function<std::string()> source) { diagnostics_ = std::move(source); }

  platform::PreferencesViewState viewState() const;
  platform::PreferencesTab tab() const { return tab_; }

  // --- what the controls do
  void selectTab(platform::PreferencesTab tab);
  void chooseLanguage(const std::string& languageId);
  void chooseDelay(double seconds);
  void setLaunchAtLogin(bool enabled);
  void openLoginItemsSettings();
  void setRevealOnHover(bool enabled);
  void setNewAppNotices(bool enabled);
  void setDisplayHidesIcons(const std::string& displayId, bool hide);
  void chooseDisplayDelay(const std::string& displayId, const std::string& delayId);
  void setAutomaticUpdates(bool enabled);
  void checkForUpdates();
  void search(const std::string& query);
  void setOtherRunningShown(bool shown);
  void pickZone(const std::string& bundleId, const std::string& zone);
  void setPinned(const std::string& bundleId, bool pinned);
  // "Move it for me": the guide comes up and Tarvolo drags the icon into the always-visible
  // zone itself; where the system's own engine hides, the zone simply applies.
  void moveForMe(const std::string& bundleId);
  void rescan();
  void arrange();
  void startRecordingHotkey();
  void cancelRecordingHotkey();
  void recordAppShortcut(const std::string& bundleId);
  void clearAppShortcut(const std::string& bundleId);
  void cancelAppShortcut();
  void openLink(const std::string& address);
  // Reads the report and copies it; changes nothing else.
  void copyDiagnostics();

 private:
  platform::PreferencesCallbacks callbacks();
  platform::PreferencesGeneralState generalState() const;
  std::vector<platform::PreferencesDisplayRow> displayRows() const;
  platform::PreferencesItemsState itemsState() const;
  platform::PreferencesHotkeysState hotkeysState() const;
  platform::PreferencesAboutState aboutState() const;
  platform::PreferencesItemRow row(const MenuBarAppItem& item) const;
  bool matchesSearch(const MenuBarAppItem& item) const;
  void windowClosed();
  bool offersMoveForMe(const MenuBarAppItem& item, const std::string& zone) const;
  void moveDragged(std::uint64_t generation, std::optional<MoveRefusal> refusal);
  // The ledger changed or the window for it ran out: the move is over either way.
  void settleMove(bool confirmedNow);
  void closedByUser();
  std::string tr(std::string_view key) const;
  WeakHandle<PreferencesController> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  LocalizationManager& localization_;
  StatusItemManager& catalog_;
  CategoryStore& categories_;
  NewAppNoticeLedger& notices_;
  MenuBarPlacementLedger& ledger_;
  PlacementGuideController& guide_;
  Behaviour behaviour_;

  platform::PreferencesTab tab_ = platform::PreferencesTab::general;
  std::string searchQuery_;
  bool otherRunningShown_ = false;
  std::optional<std::string> toast_;
  std::function<void()> closedByUser_;
  std::function<std::string()> diagnostics_;
  bool diagnosticsCopied_ = false;
  Cancellables cancellables_;
  std::optional<MenuBarPlacementLedger::ObserverId> ledgerObserver_;
  // The app "Move it for me" works on, until the ledger confirms it or the window runs out.
  struct PendingMove {
    BundleID bundle;
    std::string name;
    bool dragged = false;
  };
  std::optional<PendingMove> move_;
  std::uint64_t moveGeneration_ = 0;
  WorkItem moveVerdictWork_;
  WeakHandleFactory<PreferencesController> weakFactory_{this};
};

}  // namespace tarvolo
