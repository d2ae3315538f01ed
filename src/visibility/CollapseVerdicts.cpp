#include "visibility/CollapseVerdicts.h"

#include <algorithm>
#include <cmath>

#include "visibility/VisibilityConstants.h"

namespace tarvolo::MenuBarVisibilityPolicy {

namespace {

// How far a width may stray from the request and still belong to it.
double widthSlack(double requestedLength) { return std::max(0.12 * requestedLength, 40.0); }

// Above this, a window narrower than three buttons is still believable.
constexpr double smallWindowLimit = 200;

// The share of the request a far edge must follow before the layout counts as tracked.
constexpr double trackedGrowthShare = 0.45;
// The share of the request an edge must jump by to count as an ejection.
constexpr double ejectionJumpShare = 0.55;
// An ejection is never reported for a jump smaller than this.
constexpr double minimumEjectionJump = menuEvictionLeftMax + 1;

bool edgeMovedIntoMenus(double leftward) {
  return leftward >= menuEvictionLeftMin && leftward <= menuEvictionLeftMax;
}

}  // namespace

std::string_view rawValue(SeparatorLayoutVerdict verdict) {
  switch (verdict) {
    case SeparatorLayoutVerdict::laidOut: return "laidOut";
    case SeparatorLayoutVerdict::ejected: return "ejected";
    case SeparatorLayoutVerdict::unread: return "unread";
    case SeparatorLayoutVerdict::untracked: return "untracked";
    case SeparatorLayoutVerdict::shifted: return "shifted";
    case SeparatorLayoutVerdict::unknown: return "unknown";
    case SeparatorLayoutVerdict::menusEvicted: return "menus-evicted";
    case SeparatorLayoutVerdict::underfold: return "underfold";
  }
  return "unknown";
}

bool measurementIsFresh(double windowWidth, double buttonWidth, double requestedLength) {
  const double slack = widthSlack(requestedLength);
  if (buttonWidth > 0 && std::abs(buttonWidth - requestedLength) <= slack) return true;
  if (windowWidth <= 0 || std::abs(windowWidth - requestedLength) > slack) return false;
  if (buttonWidth <= 0) return true;
  // A window far wider than its button is left over from an earlier, longer layout.
  const double buttonSpan = 3 * buttonWidth;
  if (buttonSpan <= smallWindowLimit) return windowWidth <= smallWindowLimit;
  return windowWidth <= buttonSpan;
}

bool hiddenFrameLooksStale(double buttonWidth, double requestedLength) {
  return buttonWidth > 0 && requestedLength > 40 &&
         std::abs(buttonWidth - requestedLength) > std::max(0.5 * requestedLength, 40.0);
}

SeparatorLayoutVerdict classifySeparatorLayout(const ClassifySeparatorLayoutInput& in) {
  const double requested = in.requestedLength;
  if (!measurementIsFresh(in.windowWidth, in.buttonWidth, requested)) return SeparatorLayoutVerdict::unread;

  const double d = in.probedArrowFacingEdge - in.baselineArrowFacingEdge;
  if (in.baselineToggleAnchor && in.probedToggleAnchor) {
    const double t = *in.probedToggleAnchor - *in.baselineToggleAnchor;
    const bool toggleStill = std::abs(t) <= menuEvictionToggleSlack;
    if (toggleStill && edgeMovedIntoMenus(-d)) return SeparatorLayoutVerdict::menusEvicted;
    if (toggleStill && std::abs(d) >= ejectionJumpShare * requested) return SeparatorLayoutVerdict::ejected;
    const bool movedApart = std::abs(d - t) > in.pinTolerance;
    if (std::abs(d) > in.pinTolerance && !movedApart) return SeparatorLayoutVerdict::shifted;
    if (movedApart) return SeparatorLayoutVerdict::ejected;
  } else if (std::abs(d) > in.pinTolerance) {
    return SeparatorLayoutVerdict::ejected;
  }

  if (!in.baselineLeadingEdge || !in.probedLeadingEdge) return SeparatorLayoutVerdict::laidOut;
  const double asked = requested - in.baselineLength;
  const double grew = *in.baselineLeadingEdge - *in.probedLeadingEdge;
  if (2 * in.pinTolerance < asked && grew < trackedGrowthShare * asked) return SeparatorLayoutVerdict::untracked;
  return SeparatorLayoutVerdict::laidOut;
}

SeparatorLayoutVerdict collapseGapVerdict(const CollapseGapVerdictInput& in) {
  const double requested = in.requestedLength;
  if (in.windowWidth && in.buttonWidth && !measurementIsFresh(*in.windowWidth, *in.buttonWidth, requested)) {
    return SeparatorLayoutVerdict::unread;
  }
  // The gap grows where the separator's edge moves left.
  const double g = in.observedGap - in.knownGoodGap;
  if (edgeMovedIntoMenus(g)) return SeparatorLayoutVerdict::menusEvicted;
  const double jump = ejectionJumpShare * requested;
  if (g >= std::max(jump, minimumEjectionJump)) return SeparatorLayoutVerdict::ejected;
  if (std::abs(g) <= in.pinTolerance) return SeparatorLayoutVerdict::laidOut;
  if (g > menuEvictionLeftMax) return SeparatorLayoutVerdict::ejected;
  return SeparatorLayoutVerdict::shifted;
}

double menusRightForFold(std::optional<double> hiddenMaxX, double screenMinX) {
  if (!hiddenMaxX) return screenMinX;
  return std::max(*hiddenMaxX, screenMinX);
}

bool foldZoneIsCovered(double separatorLeading, double menusRight, double slack) {
  return separatorLeading <= menusRight + slack;
}

SeparatorLayoutVerdict verdictAccountingForFold(SeparatorLayoutVerdict layout, double separatorLeading,
                                                double menusRight) {
  switch (layout) {
    case SeparatorLayoutVerdict::laidOut:
    case SeparatorLayoutVerdict::shifted:
      if (foldZoneIsCovered(separatorLeading, menusRight, foldCoverSlack)) return layout;
      return SeparatorLayoutVerdict::underfold;
    case SeparatorLayoutVerdict::ejected:
    case SeparatorLayoutVerdict::unread:
    case SeparatorLayoutVerdict::untracked:
    case SeparatorLayoutVerdict::unknown:
    case SeparatorLayoutVerdict::menusEvicted:
    case SeparatorLayoutVerdict::underfold:
      return layout;
  }
  return layout;
}

std::optional<SeparatorLayoutVerdict> verdictWhenGapUnknown(ShortReference reference, GapKnowledge gap) {
  if (reference == ShortReference::fresh || gap == GapKnowledge::known) return std::nullopt;
  return SeparatorLayoutVerdict::unknown;
}

bool recordsVerifiedLayoutA(SeparatorLayoutVerdict verdict, ShortReference reference) {
  return verdict == SeparatorLayoutVerdict::laidOut && reference == ShortReference::fresh;
}

bool gapChangeIsLayoutB(SeparatorLayoutVerdict rawVerdict, bool foldLengthUnchanged, bool frontmostUnchanged) {
  return rawVerdict == SeparatorLayoutVerdict::menusEvicted && !(foldLengthUnchanged && frontmostUnchanged);
}

bool cliffGapIsEjected(double pinnedGap, double observedGap, double pinTolerance) {
  return std::abs(observedGap - pinnedGap) > pinTolerance;
}

bool shouldInvalidateCachedLength(ScreenMatch screen, Ejection ejection, Drag drag) {
  return screen == ScreenMatch::other || (ejection == Ejection::proven && drag == Drag::none);
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
