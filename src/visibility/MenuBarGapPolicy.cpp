#include "visibility/MenuBarGapPolicy.h"

#include <cmath>

namespace tarvolo {

std::string_view rawValue(MenuBarGapCrossing crossing) {
  switch (crossing) {
    case MenuBarGapCrossing::none: return "none";
    case MenuBarGapCrossing::pinnedFolded: return "pinnedFolded";
    case MenuBarGapCrossing::foldedHidden: return "foldedHidden";
  }
  return "none";
}

namespace MenuBarGapPolicy {

bool workspaceIsQuiet(std::optional<double> age) { return age && *age >= 0 && *age < workspaceQuiet; }

MenuBarGapCrossing crossing(const MenuBarGapSample& previous, const MenuBarGapSample& current,
                            std::optional<double> workspaceChangeAge) {
  if (workspaceIsQuiet(workspaceChangeAge)) return MenuBarGapCrossing::none;
  const double dPinned = current.pinnedGap - previous.pinnedGap;
  const double dFolded = current.foldedGap - previous.foldedGap;
  const double dHidden = current.hiddenMaxX - previous.hiddenMaxX;
  // An item that crossed a separator takes its width from one gap to the neighbouring one.
  if (std::abs(dPinned) >= moveThreshold && std::abs(dPinned + dFolded) <= pairTolerance) {
    return MenuBarGapCrossing::pinnedFolded;
  }
  if (std::abs(dPinned) <= pairTolerance && std::abs(dFolded) >= moveThreshold &&
      std::abs(dFolded + dHidden) <= pairTolerance) {
    return MenuBarGapCrossing::foldedHidden;
  }
  return MenuBarGapCrossing::none;
}

bool measurable(double foldWidth, double hiddenWidth, double shortLimit) {
  return foldWidth > 0 && hiddenWidth > 0 && foldWidth <= shortLimit && hiddenWidth <= shortLimit;
}

bool gapsDiffer(const MenuBarGapSample& before, const MenuBarGapSample& after) {
  return std::abs(before.pinnedGap - after.pinnedGap) >= moveThreshold ||
         std::abs(before.foldedGap - after.foldedGap) >= moveThreshold;
}

MenuBarGapSample sample(const Rect& toggle, const Rect& normalSeparator, const Rect& hiddenSeparator) {
  return {.pinnedGap = toggle.minX() - normalSeparator.maxX(),
          .foldedGap = normalSeparator.minX() - hiddenSeparator.maxX(),
          .hiddenMaxX = hiddenSeparator.maxX()};
}

}  // namespace MenuBarGapPolicy

void MenuBarGapTracker::observe(const MenuBarGapSample& sample, bool mouseDown,
                                std::optional<double> secondsSinceMouseUp) {
  if (mouseDown || (secondsSinceMouseUp && *secondsSinceMouseUp < dragSettle)) {
    dragFrozen = true;
    return;
  }
  // A freeze keeps the baseline and the stable ticks from before the drag, so the first sample
  // after it compares the bar as the user left it with the bar as it was.
  dragFrozen = false;
  if (!baseline) {
    baseline = sample;
    stableTicks = 0;
    return;
  }

  const double pinnedMove = std::abs(sample.pinnedGap - baseline->pinnedGap);
  const double foldedMove = std::abs(sample.foldedGap - baseline->foldedGap);
  if (pinnedMove < stableMovement && foldedMove < stableMovement) {
    ++stableTicks;
  } else {
    const bool settled = stableTicks >= stableTicksBeforeMovement;
    if (settled && pinnedMove >= MenuBarGapPolicy::moveThreshold) pinnedGapMoved = true;
    if (settled && (pinnedMove >= MenuBarGapPolicy::moveThreshold || foldedMove >= MenuBarGapPolicy::moveThreshold)) {
      gapMoved = true;
    }
    stableTicks = 0;
  }
  baseline = sample;
}

MenuBarGapCrossing MenuBarGapTracker::noteMovement(const MenuBarGapSample& against,
                                                   std::optional<double> workspaceChangeAge) {
  if (!baseline) return MenuBarGapCrossing::none;
  if (MenuBarGapPolicy::workspaceIsQuiet(workspaceChangeAge)) {
    quietHeld = true;
    return MenuBarGapCrossing::none;
  }
  quietHeld = false;
  const MenuBarGapCrossing crossed = MenuBarGapPolicy::crossing(against, *baseline, workspaceChangeAge);
  const bool moved = std::abs(baseline->pinnedGap - against.pinnedGap) >= MenuBarGapPolicy::moveThreshold ||
                     std::abs(baseline->foldedGap - against.foldedGap) >= MenuBarGapPolicy::moveThreshold;
  if (crossed != MenuBarGapCrossing::none || moved) gapMoved = true;
  return crossed;
}

void MenuBarGapTracker::acknowledgeMovement() {
  gapMoved = false;
  pinnedGapMoved = false;
  quietHeld = false;
}

std::optional<double> WorkspaceActivityClock::age(double now) const {
  if (!lastChange) return std::nullopt;
  return now - *lastChange;
}

}  // namespace tarvolo
