#pragma once

#include <optional>
#include <string_view>

namespace tarvolo::MenuBarVisibilityPolicy {

// What the system did with a separator length.
enum class SeparatorLayoutVerdict {
  laidOut,       // took the length, layout as expected
  ejected,       // removed or displaced: too long
  unread,        // stale or unusable measurement: measure again
  untracked,     // the far edge did not follow the requested length
  shifted,       // toggle and separator moved together
  unknown,       // nothing to compare against
  menusEvicted,  // ran into the application menus
  underfold,     // laid out, but the far edge stops short of the fold
};

// The word used in log lines.
std::string_view rawValue(SeparatorLayoutVerdict verdict);

// Whether a reading of the separator belongs to the requested length rather than to an earlier
// layout. Widths of 0 or less mean "not read".
bool measurementIsFresh(double windowWidth, double buttonWidth, double requestedLength);

// A button whose width is far from the request still shows a previous layout.
bool hiddenFrameLooksStale(double buttonWidth, double requestedLength);

struct ClassifySeparatorLayoutInput {
  double baselineArrowFacingEdge = 0;
  double probedArrowFacingEdge = 0;
  double windowWidth = 0;
  double buttonWidth = 0;
  double requestedLength = 0;
  double pinTolerance = 0;
  std::optional<double> baselineLeadingEdge;
  std::optional<double> probedLeadingEdge;
  double baselineLength = 0;
  std::optional<double> baselineToggleAnchor;
  std::optional<double> probedToggleAnchor;
};

// Judges one probe of the separator against the reading taken while it was short.
SeparatorLayoutVerdict classifySeparatorLayout(const ClassifySeparatorLayoutInput& input);

struct CollapseGapVerdictInput {
  double knownGoodGap = 0;
  double observedGap = 0;
  double requestedLength = 0;
  double pinTolerance = 0;
  std::optional<double> windowWidth;
  std::optional<double> buttonWidth;
};

// Judges a collapse by the gap between the toggle and the separator, once a verified collapse
// on this screen has left a known-good gap to compare with.
SeparatorLayoutVerdict collapseGapVerdict(const CollapseGapVerdictInput& input);

// Right end of the application menus as far as the fold is concerned.
double menusRightForFold(std::optional<double> hiddenMaxX, double screenMinX);
bool foldZoneIsCovered(double separatorLeading, double menusRight, double slack);
// A layout that holds but leaves the fold uncovered is an underfold; other verdicts pass.
SeparatorLayoutVerdict verdictAccountingForFold(SeparatorLayoutVerdict layout, double separatorLeading,
                                                double menusRight);

// Whether a reading of the separator taken while it was short is at hand to judge against.
enum class ShortReference { none, fresh };
// Whether a verified collapse on this screen left a gap to judge by.
enum class GapKnowledge { unknown, known };
std::optional<SeparatorLayoutVerdict> verdictWhenGapUnknown(ShortReference reference, GapKnowledge gap);
bool recordsVerifiedLayoutA(SeparatorLayoutVerdict verdict, ShortReference reference);
bool gapChangeIsLayoutB(SeparatorLayoutVerdict rawVerdict, bool foldLengthUnchanged, bool frontmostUnchanged);
bool cliffGapIsEjected(double pinnedGap, double observedGap, double pinTolerance);
enum class ScreenMatch { other, same };
enum class Ejection { unproven, proven };
enum class Drag { none, inProgress };
bool shouldInvalidateCachedLength(ScreenMatch screen, Ejection ejection, Drag drag);

}  // namespace tarvolo::MenuBarVisibilityPolicy
