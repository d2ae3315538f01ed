#pragma once

// What a run leaves behind: the bar as it stood when Tarvolo quit, the defaults store, the log
// and what became of each step, as one JSON document.

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "discovery/MenuBarCatalogPolicy.h"
#include "base/vocabulary/PlacementTypes.h"
#include "harness/WindowEntry.h"
#include "platform/sim/SimDesktop.h"
#include "visibility/CollapseLengthCache.h"

namespace tarvolo {
class AppEnvironment;
class StatusBarController;
class StatusItemManager;
}  // namespace tarvolo

namespace tarvolo::scenario {

// One of Tarvolo's items as the desktop truly lays it out (not the lagging reported frame).
struct OwnItemFrame {
  double minX = 0;
  double maxX = 0;
  double length = 0;  // the width it takes in the bar
  bool onScreen = false;
};

struct ForeignItemFrame {
  std::string bundleId;
  std::string appName;
  std::string autosaveName;
  std::optional<Rect> frame;
  bool onScreen = false;
  // Relative to Tarvolo's items; absent while they are missing or out of order.
  std::optional<PlacementZone> zone;
  // What Tarvolo's catalogue says of the app; absent when it does not list the app.
  std::optional<ItemCategory> category;
  // The zone Tarvolo last saw the icon in, as a raw category.
  std::optional<std::string> observedZone;
  std::optional<bool> outOfPlace;
};

// One application of Tarvolo's catalogue.
struct CatalogEntry {
  std::string bundleId;
  std::string name;
  MenuBarCatalogSection section = MenuBarCatalogSection::likely;
};

struct ControllerState {
  bool isExpanded = false;
  bool isDeepExpanded = false;
  bool foldingEffective = false;
};

// The frontmost app's menus as the bar shows them.
struct MenusState {
  std::optional<std::string> frontmost;  // none: the Finder-like default
  double width = 0;                      // all its titles, Apple menu included
  int titlesDropped = 0;                 // titles the system dropped to make room for a long item
};

// What the collapse-length engine has stored in the defaults.
struct CollapseCacheState {
  std::optional<CliffRecord> cliff;
  std::map<std::string, double> perApp;  // "<screen key>\t<bundle id>" -> length
};

// Which engine hides the bar, as Tarvolo shows it, and what the system was asked to allow.
struct HidingState {
  std::string engine;       // "nativeAllowList" or "publicSpacer"
  std::string nativeState;  // "unsupported", "ready", "activating", "active", "failed"
  std::string symbol;
  std::optional<std::string> badge;
  std::optional<std::vector<std::string>> allowList;  // sorted; absent when nothing is restricted
  int assertionsMade = 0;      // assertions the desktop was asked for
  int assertionsActivated = 0;  // of which the system answered with success
};

// Auto-collapse: whether its timer runs, and what it last waited for.
struct AutoCollapseState {
  bool armed = false;
  std::optional<std::string> waitingFor;  // the deferral reason, while armed
  double delay = 0;
  bool revealOnHover = false;
};

// An app's own shortcut that opens its menu.
struct AppShortcutState {
  std::string bundleId;  // lower-cased
  std::string chord;
  bool systemHotKey = false;  // registered with the system
};

struct HotkeyState {
  std::string chord;  // "⌥⇧⌘B"
  int keyCode = 0;
  std::uint32_t modifiers = 0;
  bool systemHotKey = false;    // registered with the system
  bool fallbackMonitor = false;  // the passive monitor listens instead
  bool conflict = false;
  std::optional<std::string> conflictMessage;
  std::vector<AppShortcutState> apps;
};

struct LoginItemState {
  std::string status;  // as the system reports it
  int registrations = 0;
  int unregistrations = 0;
  std::optional<std::string> lastResult;
};

struct OrderRepairState {
  int attempts = 0;
  bool inFlight = false;
  std::optional<std::string> notice;
};

// The Accessibility permission as System Settings holds it, and what Tarvolo did to ask for it.
struct AccessibilityState {
  bool trusted = false;
  int prompts = 0;
  std::vector<std::string> openedURLs;
};

// What the app last put on the pasteboard through its own commands, line by line.
struct PasteboardState {
  int copies = 0;
  std::vector<std::string> lines;
};

struct WindowShot {
  std::string_view name;  // the entry's
  std::shared_ptr<const WindowView> view;
};

struct BarSnapshot {
  double time = 0;
  bool tarvoloRunning = false;
  std::optional<ControllerState> state;
  std::optional<OwnItemFrame> toggle;
  std::optional<OwnItemFrame> separator;
  std::optional<OwnItemFrame> alwaysHiddenSeparator;
  std::vector<ForeignItemFrame> items;  // left to right
  // Main section first, each in the catalogue's own order.
  std::vector<CatalogEntry> catalog;
  MenusState menus;
  std::optional<int> probes;  // cliff probes made since Tarvolo started; absent when it is not running
  CollapseCacheState cache;
  // Each window as its entry sees it (WindowEntry.h), in the entries' order.
  std::vector<WindowShot> windows;
  std::optional<HidingState> hiding;  // absent when Tarvolo is not running
  std::vector<sim::SimPostedEvent> postedEvents;
  Point cursor;  // top-left global space
  // Absent while Tarvolo is not running.
  std::optional<AutoCollapseState> autoCollapse;
  std::optional<HotkeyState> hotkey;
  std::optional<OrderRepairState> orderRepair;
  LoginItemState loginItem;
  AccessibilityState accessibility;
  PasteboardState pasteboard;
};

// Where an item spanning minX…maxX sits among Tarvolo's items, by its midpoint.
std::optional<PlacementZone> barZone(double minX, double maxX, const BarSnapshot& bar);

// `now`: the desktop's clock, passed in because only a running desktop hands out its queue.
BarSnapshot snapshotBar(const sim::SimDesktop& desktop, const StatusBarController* controller,
                        const StatusItemManager* catalog, double now, AppEnvironment* environment = nullptr);

struct StepOutcome {
  double at = 0;
  std::string action;
  bool performed = true;
  std::string note;  // why a step could not be performed
};

struct Report {
  std::string scenario;
  // Taken just before Tarvolo's final termination.
  BarSnapshot atQuit;
  nlohmann::json defaults;
  std::vector<sim::SimLogLine> log;
  std::vector<StepOutcome> steps;
  std::vector<std::string> warnings;
};

// "12.345 [menubar] tarvolo collapse reason=startup ..."
std::string logLineText(const sim::SimLogLine& line);

// Keys in reading order: when, what state, where things stood, then the record of the run.
nlohmann::ordered_json toJson(const BarSnapshot& bar);
nlohmann::ordered_json toJson(const Report& report);

}  // namespace tarvolo::scenario
