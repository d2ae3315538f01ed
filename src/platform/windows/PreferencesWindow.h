#pragma once

// The settings window: what the backend draws, what the user can do in it, and the window.
// Every text arrives localized; the backend decides nothing.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows/RowIcon.h"

namespace tarvolo::platform {

enum class PreferencesTab { general, items, hotkeys, about };
std::string_view rawValue(PreferencesTab tab);
std::optional<PreferencesTab> preferencesTabFromRaw(std::string_view raw);

// One entry of a pop-up or segmented control.
struct PreferencesChoice {
  std::string id;
  std::string title;
  friend bool operator==(const PreferencesChoice&, const PreferencesChoice&) = default;
};

struct PreferencesSwitch {
  std::string title;
  std::string detail;
  bool on = false;
  bool enabled = true;
  friend bool operator==(const PreferencesSwitch&, const PreferencesSwitch&) = default;
};

// One connected display's rule.
struct PreferencesDisplayRow {
  std::string displayId;  // the display's lasting identity
  std::string name;       // as the system names it
  PreferencesSwitch hideIcons;
  std::string delayTitle;
  std::vector<PreferencesChoice> delays;  // "general" (the general delay), then whole seconds
  std::string selectedDelay;
  bool holdsMenuBar = false;  // the bar with the app's items is on this display now
  friend bool operator==(const PreferencesDisplayRow&, const PreferencesDisplayRow&) = default;
};

struct PreferencesGeneralState {
  std::string subtitle;
  std::string languageSection;
  std::string languageTitle;
  std::string languageDetail;
  std::vector<PreferencesChoice> languages;
  std::string selectedLanguage;  // an AppLanguage raw value
  std::string behaviourSection;
  std::string delayTitle;
  std::string delayDetail;
  std::vector<PreferencesChoice> delays;  // ids are whole seconds
  std::string selectedDelay;
  std::optional<PreferencesSwitch> launchAtLogin;  // absent where the system offers no login item
  std::optional<std::string> launchAtLoginNote;    // approval pending, or not supported
  std::optional<std::string> launchAtLoginSettingsTitle;
  std::optional<PreferencesSwitch> revealOnHover;
  PreferencesSwitch newAppNotices;
  std::string displaysSection;
  std::vector<PreferencesDisplayRow> displays;  // every connected display, menu-bar display first
  // Absent in an app built without the update framework.
  std::optional<PreferencesSwitch> automaticUpdates;
  friend bool operator==(const PreferencesGeneralState&, const PreferencesGeneralState&) = default;
};

struct PreferencesItemRow {
  std::string bundleId;
  std::string name;
  std::optional<std::string> iconPath;
  RowIcon icon;
  std::string zone;  // the raw category the zone picker shows selected
  bool pinned = false;
  bool recommended = false;
  std::optional<std::string> outOfPlaceNote;  // the icon sits outside its zone
  std::optional<std::string> hint;            // not seen in the bar yet
  // The app's own shortcut that opens its menu ("⌃⌥S"), absent when it has none.
  std::optional<std::string> shortcut;
  bool shortcutRecording = false;             // the recorder listens for this app's chord
  std::optional<std::string> shortcutProblem;  // refused: taken by the deep chord, another app or the system
  // The row offers "Move it for me": the app runs and its icon is outside the always-visible zone.
  bool offersMoveForMe = false;
  friend bool operator==(const PreferencesItemRow&, const PreferencesItemRow&) = default;
};

struct PreferencesItemsState {
  std::string subtitle;
  std::string help;
  std::string searchPlaceholder;
  std::string searchText;
  std::string searchClearTitle;
  std::vector<PreferencesChoice> zones;  // the picker's segments, in category order
  std::string pinTitle;
  std::string unpinTitle;
  std::string pinnedBadge;
  std::string recommendedBadge;
  std::vector<PreferencesItemRow> rows;
  // Shown when `rows` is empty: no match for the search, or no app at all.
  std::optional<std::string> emptyText;
  std::string otherRunningToggleTitle;
  bool otherRunningShown = false;
  std::string otherRunningNote;
  std::vector<PreferencesItemRow> otherRunningRows;  // empty while the section is folded away
  std::string refreshTitle;
  std::string refreshDetail;
  std::string arrangeTitle;
  // The per-app shortcut recorder's labels; `shortcutsOffered` false hides it.
  bool shortcutsOffered = false;
  std::string shortcutTitle;
  std::string shortcutRecordTitle;
  std::string shortcutClearTitle;
  std::string shortcutPrompt;  // shown on the row while the recorder listens
  std::string shortcutCancelTitle;
  std::string moveForMeTitle;
  std::optional<std::string> toast;  // what the last action did
  friend bool operator==(const PreferencesItemsState&, const PreferencesItemsState&) = default;
};

struct PreferencesHotkeysState {
  std::string title;
  std::string tip;
  std::string actionTitle;
  std::string actionDetail;
  std::string chord;  // "⌥⇧⌘B", or the prompt while recording
  std::string defaultNote;
  bool recording = false;
  std::string changeTitle;
  std::string cancelTitle;
  std::optional<std::string> conflict;
  std::string tipsSection;
  std::string fullScreenTitle;
  std::string fullScreenDetail;
  friend bool operator==(const PreferencesHotkeysState&, const PreferencesHotkeysState&) = default;
};

struct PreferencesAboutState {
  std::string appName;
  std::string version;
  std::string nutshellSection;
  std::vector<std::string> sentences;
  std::string privacyTitle;
  std::string privacyDetail;
  std::string supportSection;
  std::string docsTitle;
  std::string docsDetail;
  std::vector<PreferencesChoice> links;  // id is the address
  // The button that checks for a new version now; absent without the update framework.
  std::optional<std::string> checkForUpdatesTitle;
  // The button that copies the diagnostics report, and what it says once it has; absent where
  // the app has no report to give.
  std::optional<std::string> copyDiagnosticsTitle;
  std::optional<std::string> diagnosticsCopiedNote;
  friend bool operator==(const PreferencesAboutState&, const PreferencesAboutState&) = default;
};

struct PreferencesViewState {
  std::string windowTitle;
  PreferencesTab tab = PreferencesTab::general;
  std::vector<PreferencesChoice> tabs;  // ids are the tabs' raw values
  PreferencesGeneralState general;
  PreferencesItemsState items;
  PreferencesHotkeysState hotkeys;
  PreferencesAboutState about;
  friend bool operator==(const PreferencesViewState&, const PreferencesViewState&) = default;
};

// What the user can do; each runs on the main thread.
struct PreferencesCallbacks {
  std::function<void(PreferencesTab)> selectTab;
  std::function<void(const std::string& languageId)> chooseLanguage;
  std::function<void(double seconds)> chooseDelay;
  std::function<void(bool)> setLaunchAtLogin;
  std::function<void()> openLoginItemsSettings;
  std::function<void(bool)> setRevealOnHover;
  std::function<void(bool)> setNewAppNotices;
  std::function<void(const std::string& displayId, bool hide)> setDisplayHidesIcons;
  // `delayId`: "general" or whole seconds.
  std::function<void(const std::string& displayId, const std::string& delayId)> chooseDisplayDelay;
  std::function<void(bool)> setAutomaticUpdates;
  std::function<void(const std::string& query)> search;
  std::function<void(bool)> setOtherRunningShown;
  std::function<void(const std::string& bundleId, const std::string& zone)> pickZone;
  std::function<void(const std::string& bundleId, bool pinned)> setPinned;
  std::function<void(const std::string& bundleId)> moveForMe;
  std::function<void()> refresh;
  std::function<void()> arrange;
  std::function<void(const std::string& bundleId)> recordAppShortcut;
  std::function<void(const std::string& bundleId)> clearAppShortcut;
  std::function<void()> cancelAppShortcut;
  std::function<void()> startRecordingHotkey;
  std::function<void()> cancelRecordingHotkey;
  std::function<void(const std::string& address)> openLink;
  std::function<void()> checkForUpdates;
  std::function<void()> copyDiagnostics;
  std::function<void()> closed;
};

class PreferencesWindow {
 public:
  virtual ~PreferencesWindow() = default;
  // Opens the window (or brings it front) with `state`; the app activates for it.
  virtual void show(const PreferencesViewState& state, PreferencesCallbacks callbacks) = 0;
  // Redraws an open window; does nothing while it is closed.
  virtual void update(const PreferencesViewState& state) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
  // Keeps it up even when the app deactivates, and brings it front.
  virtual void keepFront() = 0;
};

}  // namespace tarvolo::platform
