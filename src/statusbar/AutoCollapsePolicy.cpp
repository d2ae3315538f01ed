#include "statusbar/AutoCollapsePolicy.h"

#include <algorithm>
#include <cmath>

#include "visibility/VisibilityConstants.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Auto-collapse --------------------------------------------------------------------------

double autoCollapseDelay(std::optional<double> stored) {
  if (!stored || std::isnan(*stored)) return autoCollapseDefaultDelay;
  return std::clamp(*stored, autoCollapseMinimumDelay, autoCollapseMaximumDelay);
}

std::string_view rawValue(AutoCollapseDeferral deferral) {
  switch (deferral) {
    case AutoCollapseDeferral::menu: return "menu";
    case AutoCollapseDeferral::mouse: return "mouse";
    case AutoCollapseDeferral::command: return "command";
    case AutoCollapseDeferral::menuBar: return "menubar";
    case AutoCollapseDeferral::menuBarRecent: return "menubar-recent";
    case AutoCollapseDeferral::chrome: return "chrome";
    case AutoCollapseDeferral::toggle: return "toggle";
  }
  return "menu";
}

AutoCollapseAction autoCollapseAction(const AutoCollapseInput& input) {
  auto wait = [](AutoCollapseDeferral reason) { return AutoCollapseAction{AutoCollapseAction::Kind::wait, reason}; };
  if (input.menuTracking) return wait(AutoCollapseDeferral::menu);
  if (input.mouseButtonDown) return wait(AutoCollapseDeferral::mouse);
  if (input.commandHeld) return wait(AutoCollapseDeferral::command);
  if (input.pointerInMenuBar) return wait(AutoCollapseDeferral::menuBar);
  if (input.pointerInMenuBarRecently) return wait(AutoCollapseDeferral::menuBarRecent);
  if (input.pointerOverChrome) return wait(AutoCollapseDeferral::chrome);
  if (input.pointerOnToggle) return wait(AutoCollapseDeferral::toggle);
  if (input.deepOrPlacement) return AutoCollapseAction{AutoCollapseAction::Kind::keepDeepOrPlacement, std::nullopt};
  return AutoCollapseAction{};
}

bool pointerInMenuBarRecently(std::optional<double> lastMenuBarPresence, double now) {
  if (!lastMenuBarPresence) return false;
  double since = now - *lastMenuBarPresence;
  return since >= 0 && since < recentPointerDeferral;
}

// ---- Reveal on hover --------------------------------------------------------------------------

bool pointerOnEmptyStatusSide(const HoverRevealInput& input) {
  const Point& p = input.pointer;
  bool inBar = p.y >= input.menuBar.minY() && p.y <= input.menuBar.maxY() && p.x >= input.menuBar.minX() &&
               p.x <= input.menuBar.maxX();
  return inBar && input.emptyMaxX > input.emptyMinX && p.x > input.emptyMinX && p.x < input.emptyMaxX;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
