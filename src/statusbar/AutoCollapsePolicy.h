#pragma once

// When an expanded bar collapses again by itself, and when resting the pointer on the bar's empty
// side expands it. Pure.

#include <optional>
#include <string_view>

#include "base/Geometry.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Auto-collapse --------------------------------------------------------------------------

// "autoCollapseDelay" as stored: absent or not a number is the default, then clamped.
double autoCollapseDelay(std::optional<double> stored);

// Why auto-collapse waits; the raw values are what the log says.
enum class AutoCollapseDeferral {
  menu,           // "menu": a menu is open
  mouse,          // "mouse": a mouse button is down
  command,        // "command": ⌘ is held, as for dragging icons
  menuBar,        // "menubar": the pointer is in the menu bar
  menuBarRecent,  // "menubar-recent": it left the menu bar moments ago
  chrome,         // "chrome": the pointer is over the placement guide
  toggle,         // "toggle": the pointer is on the toggle
};
std::string_view rawValue(AutoCollapseDeferral deferral);

struct AutoCollapseAction {
  enum class Kind {
    collapse,
    keepDeepOrPlacement,  // deep-expanded or a placement in progress: not the timer's to end
    wait,
  };
  Kind kind = Kind::collapse;
  std::optional<AutoCollapseDeferral> reason;  // set exactly when waiting
  friend bool operator==(const AutoCollapseAction&, const AutoCollapseAction&) = default;
};

struct AutoCollapseInput {
  bool deepOrPlacement = false;
  bool commandHeld = false;
  bool pointerInMenuBar = false;
  bool pointerOverChrome = false;
  bool pointerOnToggle = false;
  bool menuTracking = false;
  bool mouseButtonDown = false;
  bool pointerInMenuBarRecently = false;
};
// A user busy with menus, the mouse or the menu bar comes first; then the guide and the toggle;
// then a deep expansion or a placement.
AutoCollapseAction autoCollapseAction(const AutoCollapseInput& input);

// The pointer was seen in the menu bar `recentPointerDeferral` seconds ago or less.
bool pointerInMenuBarRecently(std::optional<double> lastMenuBarPresence, double now);

// ---- Reveal on hover --------------------------------------------------------------------------

struct HoverRevealInput {
  Point pointer;
  Rect menuBar;          // the bar of the screen holding the status items
  double emptyMinX = 0;  // right end of the app menus (and the notch)
  double emptyMaxX = 0;  // left end of the icons that stay visible
};
// The pointer lies on the empty stretch of the bar between the app menus and the visible icons.
bool pointerOnEmptyStatusSide(const HoverRevealInput& input);

}  // namespace tarvolo::MenuBarVisibilityPolicy
