#pragma once

// How long a collapsed separator may be on a screen of a given width, and which lengths hide
// anything at all. Pure.

#include "visibility/VisibilityConstants.h"

namespace tarvolo::MenuBarVisibilityPolicy {

enum class PublicCollapseSizing { legacy, statusRegion };

// Newer systems lay out the status region on their own terms, so the normal separator alone hides.
PublicCollapseSizing collapseUsesStatusRegionCliff(int majorVersion);

// ---- Length bounds (w = screen width in points) ----------------------------------------------

double legacyCollapsedSeparatorLength(double widestScreenWidth);
double collapseSearchUpperBound(double widestScreenWidth);
double collapseTailCeiling(double screenWidth);
// The length used before anything has been measured.
double collapseUnmeasuredLength(double widestScreenWidth);
// Keeps a probe from reaching past the screen edge the arrow faces.
double collapseProbeCeiling(double screenWidth, double arrowFacingEdge, double screenMinX);

// The bounds as the sizing has them. Under `statusRegion` (macOS 27 on) the system drops an
// item of half the display, so the half-width bounds above hold. Under `legacy` the system lays
// out far longer items, and only the room left of the separator bounds a collapse: the search
// and the fold tail reach up to `legacyCollapsedSeparatorLength`, and the probe ceiling's room
// rule applies beneath it.
double collapseSearchUpperBound(double screenWidth, PublicCollapseSizing sizing);
double collapseTailCeiling(double screenWidth, PublicCollapseSizing sizing);
struct CollapseProbeCeilingInput {
  double screenWidth = 0;
  double arrowFacingEdge = 0;
  double screenMinX = 0;
  PublicCollapseSizing sizing = PublicCollapseSizing::statusRegion;
};
double collapseProbeCeiling(const CollapseProbeCeilingInput& input);
bool collapseLengthHidesIcons(double length);

}  // namespace tarvolo::MenuBarVisibilityPolicy
