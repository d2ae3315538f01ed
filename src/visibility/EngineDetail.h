#pragma once

#include <algorithm>
#include <cmath>

#include "visibility/VisibilityConstants.h"

// Stand-ins for a few bounds and types the visibility policy owns; the collapse-length engine
// uses them through this one header so that switching to the policy's own names is one edit.
namespace tarvolo::engine_detail {

// The longest collapse a fold tail may grow to on a screen this wide.
inline double collapseTailCeiling(double screenWidth) {
  return std::clamp(std::floor(screenWidth / 2) - 16, 33.0, 10000.0);
}

// A separator this long or shorter pushes nothing off screen.
inline bool collapseLengthHidesIcons(double length) {
  return length > MenuBarVisibilityPolicy::collapseSearchLowerBound;
}

enum class MenuBarPresentation { collapsed, shelfExpanded, deepExpanded };

}  // namespace tarvolo::engine_detail
