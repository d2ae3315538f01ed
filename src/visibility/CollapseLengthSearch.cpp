#include "visibility/CollapseLengthSearch.h"

#include <algorithm>
#include <cmath>

namespace tarvolo::MenuBarVisibilityPolicy {

CollapseLengthSearch CollapseLengthSearch::starting(double upperBound, std::optional<double> floor) {
  CollapseLengthSearch search;
  search.high = upperBound;
  if (floor && *floor > collapseSearchLowerBound) search.low = std::min(*floor, upperBound);
  return search;
}

std::optional<double> CollapseLengthSearch::nextProbe() const {
  if (isFinished()) return std::nullopt;
  if (opening) {
    const double probe = std::floor(*opening);
    if (probe > low && probe <= high) return probe;
  }
  if (menusMeetLength) {
    for (double aim : {*menusMeetLength - aimMargin, *menusMeetLength + aimMargin}) {
      const double probe = std::floor(aim);
      if (probe > low && probe < high) return probe;
    }
  }
  return std::floor((low + high) / 2);
}

CollapseLengthSearch CollapseLengthSearch::advancing(SeparatorLayoutVerdict verdict, double probe) const {
  CollapseLengthSearch next = *this;
  // Tried once: an ejection at the bracket's top leaves the bracket as it was.
  if (opening && probe == std::floor(*opening)) next.opening.reset();
  switch (verdict) {
    case SeparatorLayoutVerdict::laidOut:
    case SeparatorLayoutVerdict::shifted:
    case SeparatorLayoutVerdict::underfold:
      next.low = std::max(low, probe);
      next.high = std::max(high, next.low);
      return next;
    case SeparatorLayoutVerdict::ejected:
      next.high = std::max(low, std::min(probe, high));
      next.hitEjection = true;
      return next;
    case SeparatorLayoutVerdict::menusEvicted:
      next.high = std::max(low, std::min(probe, high));
      next.hitMenus = true;
      return next;
    case SeparatorLayoutVerdict::unread:
    case SeparatorLayoutVerdict::untracked:
    case SeparatorLayoutVerdict::unknown:
      next.high = std::max(high, low);
      return next;
  }
  return next;
}

bool cliffSearchOwedAfterInterruption(bool cacheExists, int giveUps, int maxGiveUps) {
  return !cacheExists && giveUps < maxGiveUps;
}

int cliffGiveUpsAfterSearch(int previous, bool verifiedLayoutA) { return verifiedLayoutA ? 0 : previous; }

bool keepsShortMenuCliff(double length, double upperBound, double margin) {
  return upperBound - margin <= length && length > collapseSearchLowerBound;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
