#pragma once

#include <optional>

#include "visibility/CollapseVerdicts.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// Limits of the live cliff search.
inline constexpr int cliffProbeLimit = 24;       // probes per search before settling on low
inline constexpr int cliffGiveUpLimit = 3;       // give-ups before a search is no longer started
inline constexpr int cliffCampaignLimit = 4;     // retry campaigns after the first
inline constexpr double cliffProbeSettleDelay = 0.2;  // seconds between setting and reading a probe
inline constexpr double cliffBaselineLength = 16;     // separator length while the baseline is read

// One bisection for the longest separator length the system still lays out.
struct CollapseLengthSearch {
  double low = collapseSearchLowerBound;   // longest length known to hide without harm
  double high = collapseSearchLowerBound;  // shortest length known or assumed to be harmful
  double precision = collapseSearchPrecision;
  bool hitMenus = false;
  bool hitEjection = false;
  // The length whose far edge meets the frontmost app's menus, where the system tells where
  // they end. Probes aim just short of it and just past it before bisecting; the verdicts still
  // move the bracket.
  std::optional<double> menusMeetLength;
  // How far short of and past the meeting point the aimed probes land. Half the precision lets
  // two verdicts close the bracket.
  double aimMargin = collapseLengthSafetyMargin;
  // A length tried before any other, where the system's own limit is expected to hold: one
  // verdict there may finish the search. Dropped once it has been judged.
  std::optional<double> opening;

  // A new search below `upperBound`. A floor already proven to hide becomes the low end.
  static CollapseLengthSearch starting(double upperBound, std::optional<double> floor);

  bool isFinished() const { return high - low <= precision; }
  // The next length to try; absent once the search is finished. The opening goes first, then an
  // aim inside the open bracket; otherwise the bracket's middle.
  std::optional<double> nextProbe() const;
  CollapseLengthSearch advancing(SeparatorLayoutVerdict verdict, double probe) const;
  // The application menus, not the system, set the limit.
  bool isMenuLimited() const { return hitMenus && !hitEjection; }

  friend bool operator==(const CollapseLengthSearch&, const CollapseLengthSearch&) = default;
};

bool cliffSearchOwedAfterInterruption(bool cacheExists, int giveUps, int maxGiveUps);
// A search whose result verified as laid out clears the give-ups.
int cliffGiveUpsAfterSearch(int previous, bool verifiedLayoutA);
// A menu-limited length this close to the upper bound is as good as the screen's cliff.
bool keepsShortMenuCliff(double length, double upperBound, double margin);

}  // namespace tarvolo::MenuBarVisibilityPolicy
