#include "visibility/CollapseRecoveryPolicy.h"

#include <algorithm>
#include <cmath>

#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo::MenuBarVisibilityPolicy {

namespace {

using MenuBarVisibilityPolicy::collapseLengthHidesIcons;

// A step shorter than this would re-apply practically the same length.
constexpr double minimumStep = 0.5;

// The screen's verified minimum, when it hides something and is clearly below `length`.
std::optional<double> goodBelow(std::optional<double> knownGoodMin, double length) {
  if (!knownGoodMin || !collapseLengthHidesIcons(*knownGoodMin)) return std::nullopt;
  if (!(length - 1 > *knownGoodMin)) return std::nullopt;
  return knownGoodMin;
}

CollapseRecoveryDecision capped(SeparatorLayoutVerdict verdict) {
  const auto notice = verdict == SeparatorLayoutVerdict::ejected ? CollapseRecoveryAction::noticeEjected()
                                                                 : CollapseRecoveryAction::noticeMenus();
  return {CollapseRecoveryPhase::capped, notice};
}

}  // namespace

std::string_view rawValue(CollapseRecoveryPhase phase) {
  switch (phase) {
    case CollapseRecoveryPhase::observing: return "observing";
    case CollapseRecoveryPhase::stepped: return "stepped";
    case CollapseRecoveryPhase::searched: return "searched";
    case CollapseRecoveryPhase::capped: return "capped";
  }
  return "observing";
}

std::string_view rawValue(CollapseRecoveryAction::Kind kind) {
  switch (kind) {
    case CollapseRecoveryAction::Kind::stepDown: return "stepDown";
    case CollapseRecoveryAction::Kind::applyKnownGood: return "applyKnownGood";
    case CollapseRecoveryAction::Kind::hold: return "hold";
    case CollapseRecoveryAction::Kind::search: return "search";
    case CollapseRecoveryAction::Kind::noticeMenus: return "noticeMenus";
    case CollapseRecoveryAction::Kind::noticeEjected: return "noticeEjected";
  }
  return "hold";
}

CollapseRecoveryDecision nextCollapseRecovery(const NextCollapseRecoveryInput& in) {
  const bool exhaustedPhase =
      in.phase == CollapseRecoveryPhase::searched || in.phase == CollapseRecoveryPhase::capped;

  switch (in.verdict) {
    case SeparatorLayoutVerdict::laidOut:
    case SeparatorLayoutVerdict::unread:
    case SeparatorLayoutVerdict::untracked:
    case SeparatorLayoutVerdict::shifted:
    case SeparatorLayoutVerdict::unknown:
      return {in.phase, CollapseRecoveryAction::hold()};
    case SeparatorLayoutVerdict::underfold:
      if (exhaustedPhase || in.sessionDidSearch) return {in.phase, CollapseRecoveryAction::hold()};
      return {CollapseRecoveryPhase::searched, CollapseRecoveryAction::search()};
    case SeparatorLayoutVerdict::ejected:
    case SeparatorLayoutVerdict::menusEvicted:
      break;
  }

  if (exhaustedPhase || (in.sessionDidStep && in.sessionDidSearch)) return capped(in.verdict);

  const auto good = goodBelow(in.knownGoodMin, in.length);
  const bool mayStep = in.verdict == SeparatorLayoutVerdict::menusEvicted &&
                       in.phase != CollapseRecoveryPhase::stepped && !in.sessionDidStep;
  if (mayStep) {
    const double next = std::max(in.lowerBound, in.length - in.step);
    if (collapseLengthHidesIcons(next) && next < in.length - minimumStep) {
      return {CollapseRecoveryPhase::stepped, CollapseRecoveryAction::stepDown(next)};
    }
    if (good) return {CollapseRecoveryPhase::stepped, CollapseRecoveryAction::applyKnownGood(*good)};
  }
  if (!in.sessionDidSearch) {
    if (good) return {CollapseRecoveryPhase::searched, CollapseRecoveryAction::applyKnownGood(*good)};
    return {CollapseRecoveryPhase::searched, CollapseRecoveryAction::search()};
  }
  return capped(in.verdict);
}

bool collapseBudgetIsSpent(bool didStep, bool didSearch, bool badUpperBoundKnown) {
  return didSearch && (didStep || badUpperBoundKnown);
}

double safeCollapseLength(double rejected, std::optional<double> knownGoodMin, double lowerBound) {
  return goodBelow(knownGoodMin, rejected).value_or(lowerBound);
}

std::optional<double> usableKnownGoodMin(std::optional<double> knownGoodMin, double current) {
  return goodBelow(knownGoodMin, current);
}

std::optional<double> recoveryKnownGood(const RecoveryKnownGoodInput& in) {
  if (in.menuLimited) return std::nullopt;
  auto nearCliff = [&in](std::optional<double> length) {
    return length && collapseLengthHidesIcons(*length) && *length >= in.upperBound - in.margin;
  };
  if (nearCliff(in.perApp)) return in.perApp;
  if (nearCliff(in.screenMin)) return in.screenMin;
  return std::nullopt;
}

std::optional<double> notedBadUpperBound(std::optional<double> existing, double length) {
  if (!collapseLengthHidesIcons(length)) return existing;
  if (!existing || length < *existing) return length;
  return existing;
}

std::optional<double> lengthAfterBadUpperBound(const LengthAfterBadUpperBoundInput& in) {
  if (!in.badUpperBound || in.current < *in.badUpperBound) return in.current;
  const double bad = *in.badUpperBound;
  if (in.knownGoodMax && collapseLengthHidesIcons(*in.knownGoodMax) && *in.knownGoodMax < bad) {
    return in.knownGoodMax;
  }
  const double below = bad - in.step;
  if (collapseLengthHidesIcons(below)) return below;
  return std::nullopt;
}

bool shouldRetryCollapsedLength(const ShouldRetryCollapsedLengthInput& in) {
  if (!in.badUpperBound || in.length < *in.badUpperBound) return true;
  // Without a time the cooldown cannot be kept, and a bound must never block forever.
  if (!in.badUpperBoundRecordedAt) return true;
  return in.now - *in.badUpperBoundRecordedAt >= in.cooldown;
}

std::optional<double> shortDividerDistance(const ShortDividerDistanceInput& in) {
  auto isShort = [&in](double width) { return width > 0 && width <= in.shortLimit; };
  if (!isShort(in.foldWidth) || !isShort(in.hiddenWidth)) return std::nullopt;
  const double distance = in.foldMaxX - in.hiddenMaxX;
  if (!(distance > 0)) return std::nullopt;
  return distance;
}

double shelfHiddenSeparatorLength(const ShelfHiddenSeparatorLengthInput& in) {
  if (!in.dividerDistance || *in.dividerDistance <= 0) return in.floorLength;
  return std::max(in.floorLength, in.cliffLimit - *in.dividerDistance - in.safetyMargin);
}

bool shelfRoomGrew(const ShelfRoomGrewInput& in) {
  if (!in.cap) return false;
  return in.capRoom.value_or(*in.cap) + in.precision < in.room;
}

std::optional<double> nextShelfHiddenLength(const NextShelfHiddenLengthInput& in) {
  const double lo = std::max(in.accepted.value_or(in.floorLength), in.floorLength);
  if (in.ejected - lo <= in.precision) return std::nullopt;
  const double mid = std::floor((in.ejected + lo) / 2);
  if (lo < mid && mid < in.ejected) return mid;
  return std::nullopt;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
