#include "visibility/CollapseLengthBounds.h"

#include <algorithm>
#include <cmath>

namespace tarvolo::MenuBarVisibilityPolicy {
namespace {

constexpr double maximumSeparatorLength = 10000;
constexpr double smallestHidingLength = collapseSearchLowerBound + 1;
constexpr double searchHalfScreenMargin = 32;
constexpr double tailHalfScreenMargin = 16;
constexpr double legacyMinimumLength = 600;
constexpr double unmeasuredLengthCap = 600;
constexpr double probeEdgeSlack = 8;
constexpr double smallestProbeRoom = 41;

// Half the widest screen less a margin, clamped to lengths that hide something.
double halfScreenBound(double width, double margin) {
  return std::clamp(std::floor(width / 2) - margin, smallestHidingLength, maximumSeparatorLength);
}

}  // namespace

PublicCollapseSizing collapseUsesStatusRegionCliff(int majorVersion) {
  return majorVersion > 26 ? PublicCollapseSizing::statusRegion : PublicCollapseSizing::legacy;
}

double legacyCollapsedSeparatorLength(double widestScreenWidth) {
  return std::max(legacyMinimumLength, std::min(maximumSeparatorLength, 2 * widestScreenWidth));
}

double collapseSearchUpperBound(double widestScreenWidth) {
  return halfScreenBound(widestScreenWidth, searchHalfScreenMargin);
}

double collapseTailCeiling(double screenWidth) { return halfScreenBound(screenWidth, tailHalfScreenMargin); }

double collapseUnmeasuredLength(double widestScreenWidth) {
  return std::min(unmeasuredLengthCap, halfScreenBound(widestScreenWidth, searchHalfScreenMargin));
}

double collapseProbeCeiling(double screenWidth, double arrowFacingEdge, double screenMinX) {
  const double base = halfScreenBound(screenWidth, searchHalfScreenMargin);
  const double room = arrowFacingEdge - screenMinX - probeEdgeSlack;
  if (room < base && room >= smallestProbeRoom) return room;
  return base;
}

double collapseSearchUpperBound(double screenWidth, PublicCollapseSizing sizing) {
  switch (sizing) {
    case PublicCollapseSizing::legacy:
      return legacyCollapsedSeparatorLength(screenWidth);
    case PublicCollapseSizing::statusRegion:
      return collapseSearchUpperBound(screenWidth);
  }
  return collapseSearchUpperBound(screenWidth);
}

double collapseTailCeiling(double screenWidth, PublicCollapseSizing sizing) {
  switch (sizing) {
    case PublicCollapseSizing::legacy:
      return legacyCollapsedSeparatorLength(screenWidth);
    case PublicCollapseSizing::statusRegion:
      return collapseTailCeiling(screenWidth);
  }
  return collapseTailCeiling(screenWidth);
}

double collapseProbeCeiling(const CollapseProbeCeilingInput& in) {
  const double base = collapseSearchUpperBound(in.screenWidth, in.sizing);
  const double room = in.arrowFacingEdge - in.screenMinX - probeEdgeSlack;
  if (room < base && room >= smallestProbeRoom) return room;
  return base;
}

bool collapseLengthHidesIcons(double length) { return length > collapseSearchLowerBound; }

}  // namespace tarvolo::MenuBarVisibilityPolicy
