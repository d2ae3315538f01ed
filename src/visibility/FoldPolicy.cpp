#include "visibility/FoldPolicy.h"

#include <algorithm>
#include <cmath>

namespace tarvolo::MenuBarVisibilityPolicy {

namespace {
// Less than a point of uncovered fold or of room is measurement noise.
constexpr double meaningfulPoint = 1;
constexpr double ceilingTolerance = 0.5;
}  // namespace

std::optional<double> collapseTailExtra(const CollapseTailExtraInput& in) {
  if (in.menuLimited) return std::nullopt;
  const double uncovered = in.separatorLeading - in.menusRight - in.slack;
  if (!(uncovered > meaningfulPoint) || in.upperBound - in.margin > in.length) return std::nullopt;
  const double room = MenuBarVisibilityPolicy::collapseTailCeiling(in.screenWidth, in.sizing) - in.length;
  if (room < meaningfulPoint) return std::nullopt;
  return std::min(room, uncovered);
}

double rememberedFoldTail(const RememberedFoldTailInput& in) {
  if (in.tailRejected || in.menuLimited || !in.storedTail) return in.preferredLength;
  const double tail = *in.storedTail;
  const bool fitsScreen = tail <= MenuBarVisibilityPolicy::collapseTailCeiling(in.screenWidth, in.sizing) + ceilingTolerance;
  if (MenuBarVisibilityPolicy::collapseLengthHidesIcons(tail) && fitsScreen && tail >= in.preferredLength) return tail;
  return in.preferredLength;
}

bool underfoldShouldSearch(const UnderfoldShouldSearchInput& in) {
  if (in.menuLimited || in.searchAlreadyRan) return false;
  return in.length < in.upperBound - in.margin;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy

namespace tarvolo::FoldPlaceholderPolicy {

namespace {

constexpr int firstSystemWithPlaceholder = 27;

// At most a third of the screen, and at least the shortest length; `kept` stays free before the menus.
double collapsedLengthKeeping(double foldLeadingEdge, double menusRight, double screenWidth, double kept) {
  const double screenCap = std::max(minCollapsedLength, std::floor(screenWidth * maxCollapsedScreenFraction));
  const double room = std::max(minCollapsedLength, std::floor(foldLeadingEdge - menusRight - kept));
  return std::min(screenCap, room);
}

}  // namespace

std::string_view rawValue(Placement::Kind kind) {
  switch (kind) {
    case Placement::Kind::separated: return "separated";
    case Placement::Kind::adjacent: return "adjacent";
    case Placement::Kind::rightOfFold: return "rightOfFold";
    case Placement::Kind::leftOfHidden: return "leftOfHidden";
    case Placement::Kind::unread: return "unread";
  }
  return "unread";
}

bool isActive(std::optional<bool> storedEnabled, int majorVersion) {
  return majorVersion >= firstSystemWithPlaceholder && storedEnabled.value_or(true);
}

bool isActive(std::optional<bool> storedEnabled, int majorVersion, bool ejectionCapped) {
  return (majorVersion >= firstSystemWithPlaceholder || ejectionCapped) && storedEnabled.value_or(true);
}

double collapsedLength(double foldLeadingEdge, double menusRight, double screenWidth) {
  return collapsedLengthKeeping(foldLeadingEdge, menusRight, screenWidth, chevronAllowance + safetyMargin);
}

double collapsedLengthWithoutChevron(double foldLeadingEdge, double menusRight, double screenWidth) {
  return collapsedLengthKeeping(foldLeadingEdge, menusRight, screenWidth, safetyMargin);
}

double length(MenuBarPresentation presentation, double collapsedLength,
              std::optional<bool> placedBesideFold) {
  if (!placedBesideFold) return expandedLength;
  const bool beside = *placedBesideFold;
  switch (presentation) {
    case MenuBarPresentation::collapsed:
      return beside ? collapsedLength : expandedLength;
    case MenuBarPresentation::shelfExpanded:
    case MenuBarPresentation::deepExpanded:
      // A misplaced placeholder stays wide enough to be dragged back.
      return beside ? expandedLength : misplacedExpandedLength;
  }
  return expandedLength;
}

Placement placement(const PlacementInput& in) {
  if (!in.placeholderMinX || !in.placeholderMaxX || !in.foldMinX) return Placement::unread();
  if (*in.foldMinX <= *in.placeholderMinX) return Placement::rightOfFold();
  if (in.hiddenMaxX && *in.hiddenMaxX <= *in.foldMinX && *in.placeholderMaxX <= *in.hiddenMaxX) {
    return Placement::leftOfHidden();
  }
  const double gap = *in.foldMinX - *in.placeholderMaxX;
  if (gap <= in.tolerance) return Placement::adjacent();
  return Placement::separated(gap);
}

bool collapsedReadingConfirms(std::optional<bool> current, const Placement& placement) {
  if (!current) return false;
  switch (placement.kind) {
    case Placement::Kind::unread: return false;
    case Placement::Kind::adjacent: return *current;
    case Placement::Kind::separated:
    case Placement::Kind::rightOfFold:
    case Placement::Kind::leftOfHidden:
      return !*current;
  }
  return false;
}

}  // namespace tarvolo::FoldPlaceholderPolicy

namespace tarvolo::HiddenPlaceholderPolicy {

bool isActive(int majorVersion) {
  return MenuBarVisibilityPolicy::collapseUsesStatusRegionCliff(majorVersion) ==
         MenuBarVisibilityPolicy::PublicCollapseSizing::statusRegion;
}

double shelfLength(const LengthInput& in) {
  const double toEdge = in.hiddenLeadingEdge - in.screenMinX;
  if (toEdge <= 0) return 0;
  if (toEdge + overshoot <= in.cap) return std::floor(toEdge + overshoot);
  if (!in.menusRight) return 0;
  const double room = std::floor(in.hiddenLeadingEdge - *in.menusRight - FoldPlaceholderPolicy::chevronAllowance -
                                 FoldPlaceholderPolicy::safetyMargin);
  return room > 0 ? std::min(in.cap, room) : 0;
}

}  // namespace tarvolo::HiddenPlaceholderPolicy
