#pragma once

#include <optional>
#include <string_view>

#include "base/Geometry.h"

namespace tarvolo {

// Distances between the app's own items, in points.
struct MenuBarGapSample {
  double pinnedGap = 0;   // toggle to normal separator
  double foldedGap = 0;   // normal separator to always-hidden separator
  double hiddenMaxX = 0;  // right edge of the always-hidden separator

  friend bool operator==(const MenuBarGapSample&, const MenuBarGapSample&) = default;
};

// Which separator an item was dragged across.
enum class MenuBarGapCrossing {
  none,
  pinnedFolded,  // across the normal separator
  foldedHidden,  // across the always-hidden separator
};

std::string_view rawValue(MenuBarGapCrossing crossing);

namespace MenuBarGapPolicy {

inline constexpr double moveThreshold = 16;
inline constexpr double pairTolerance = 6;
inline constexpr double workspaceQuiet = 2;  // seconds

// Right after a desktop-space switch the system reshuffles the bar by itself.
bool workspaceIsQuiet(std::optional<double> age);
MenuBarGapCrossing crossing(const MenuBarGapSample& previous, const MenuBarGapSample& current,
                            std::optional<double> workspaceChangeAge);
// Only short, expanded separators give meaningful gaps.
bool measurable(double foldWidth, double hiddenWidth, double shortLimit);
// The gaps between the own items' frames: the toggle rightmost, the always-hidden separator leftmost.
MenuBarGapSample sample(const Rect& toggle, const Rect& normalSeparator, const Rect& hiddenSeparator);
// Either zone between the own items grew or shrank by an icon or more.
bool gapsDiffer(const MenuBarGapSample& before, const MenuBarGapSample& after);

}  // namespace MenuBarGapPolicy

// Follows the gaps while the bar is in use, to notice when an item was dragged across a separator.
struct MenuBarGapTracker {
  static constexpr double settleDelay = 0.3;          // seconds from a change to its sample
  static constexpr double dragSettle = 2;             // seconds after mouse-up before samples count
  static constexpr double stableMovement = 2;         // points a gap may wander and still be stable
  static constexpr int stableTicksBeforeMovement = 2;

  std::optional<MenuBarGapSample> baseline;
  int stableTicks = 0;
  bool dragFrozen = false;      // a drag is (or just was) under way; the baseline waits
  bool quietHeld = false;       // a movement was set aside because the workspace had just changed
  bool gapMoved = false;        // a gap moved past the threshold since last acknowledged
  bool pinnedGapMoved = false;  // the pinned gap did, after a stable stretch

  // `secondsSinceMouseUp` is absent when the mouse has not been released during this run.
  void observe(const MenuBarGapSample& sample, bool mouseDown, std::optional<double> secondsSinceMouseUp);
  // Compares an earlier sample with the baseline; returns the crossing, if any, and remembers
  // that gaps moved unless the workspace has just changed.
  MenuBarGapCrossing noteMovement(const MenuBarGapSample& against, std::optional<double> workspaceChangeAge);
  // The owner has acted on the movement flags.
  void acknowledgeMovement();

  friend bool operator==(const MenuBarGapTracker&, const MenuBarGapTracker&) = default;
};

// When the active desktop space last changed.
struct WorkspaceActivityClock {
  std::optional<double> lastChange;

  void note(double now) { lastChange = now; }
  std::optional<double> age(double now) const;
};

}  // namespace tarvolo
