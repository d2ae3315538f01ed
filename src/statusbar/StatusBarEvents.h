#pragma once

// How the status bar speaks to the layers above it, and what they tell it in return.
//
// Up: the state machine publishes every change of what it shows and every command its clicks
// and context menu give through one list of typed events (StatusBarController::observe). The
// app layer routes each command to the owner that carries it out (src/app/StatusBarRouter), and
// a missing route does not compile.
// Down: what the bar needs to know of the windows above it is told to it as state
// (StatusBarController::notePlacementGuide), never asked for.

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Geometry.h"
#include "platform/MenuBarAccessTier.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

// What the bar shows.
struct BarState {
  bool isExpanded = false;                // the hidden zone is shown
  bool isDeepExpanded = false;            // the always-hidden zone too (meaningful only while expanded)
  bool foldingEffective = false;          // the last applied collapse really hid items
  bool alwaysVisibleAnchorReady = false;  // the own items were last read standing in order

  MenuBarPresentation presentation() const {
    return MenuBarVisibilityPolicy::presentationFor(isExpanded, isDeepExpanded);
  }
  friend bool operator==(const BarState&, const BarState&) = default;
};

// The placement guide as it tells the bar of itself.
struct PlacementGuidePresence {
  bool available = false;    // a guide exists that can walk the user through an anchor repair
  bool open = false;         // a guide runs: the user is arranging icons
  std::vector<Rect> chrome;  // its panel and ring, while shown

  bool covers(Point pointer) const {
    for (const Rect& frame : chrome) {
      if (pointer.x >= frame.minX() && pointer.x <= frame.maxX() && pointer.y >= frame.minY() &&
          pointer.y <= frame.maxY()) {
        return true;
      }
    }
    return false;
  }
};

// What the state machine knows around what it shows; its companions read it.
struct BarSurroundings {
  int menuTrackingCount = 0;     // menus open now, the app's own and other apps'
  bool manualPlacement = false;  // the user places items by hand
  PlacementGuidePresence guide;
  // When an app last launched or quit, in clock seconds.
  std::optional<double> menuBarMembershipChangedAt;

  bool menuTracking() const { return menuTrackingCount > 0; }
  // The user is arranging icons, by hand or with the guide.
  bool placementInProgress() const { return manualPlacement || guide.open; }
};

namespace BarEvent {

// --- what happened
struct StateChanged {
  BarState state;
};
// A gap between the own items moved: an icon arrived, left or was dragged.
struct GapsChanged {};
// The bar collapsed, by whatever path.
struct Collapsed {};
// The first-launch coach is wanted: at start-up without onboarding, and on each collapse that
// onboarding blocks.
struct CoachWanted {};

// --- commands of the clicks and the context menu
// Without a tier the shelf opens on the tier last chosen.
struct ShowIconShelf {
  std::optional<MenuBarAccessTier> tier;
};
// Closes the shelf when shown, shows it otherwise.
struct ToggleIconShelf {};
struct CloseIconShelf {};
// Without a focus the settings open on the page last shown.
struct OpenPreferences {
  std::optional<std::string> focus;
};
// The placement guide's tour of every icon out of place.
struct Arrange {};
// The user asked for a new version now.
struct CheckForUpdates {};
// Rewriting positions did not put the own items back in order: the guide shows how to drag them.
struct RepairAnchors {
  bool openedByCollapseAttempt = false;
  bool userInitiated = false;
};

}  // namespace BarEvent

using StatusBarEvent = std::variant<BarEvent::StateChanged, BarEvent::GapsChanged, BarEvent::Collapsed,
                                    BarEvent::CoachWanted, BarEvent::ShowIconShelf, BarEvent::ToggleIconShelf,
                                    BarEvent::CloseIconShelf, BarEvent::OpenPreferences, BarEvent::Arrange,
                                    BarEvent::RepairAnchors, BarEvent::CheckForUpdates>;

}  // namespace tarvolo
