#pragma once

#include <optional>
#include <string_view>

#include "visibility/CollapseVerdicts.h"
#include "visibility/VisibilityConstants.h"

// Bringing a rejected collapse back to a working length without looping.
namespace tarvolo::MenuBarVisibilityPolicy {

enum class CollapseRecoveryPhase { observing, stepped, searched, capped };

std::string_view rawValue(CollapseRecoveryPhase phase);

struct CollapseRecoveryAction {
  enum class Kind { stepDown, applyKnownGood, hold, search, noticeMenus, noticeEjected };
  Kind kind = Kind::hold;
  std::optional<double> length;  // stepDown and applyKnownGood only

  static CollapseRecoveryAction stepDown(double length) { return {Kind::stepDown, length}; }
  static CollapseRecoveryAction applyKnownGood(double length) { return {Kind::applyKnownGood, length}; }
  static CollapseRecoveryAction hold() { return {Kind::hold, std::nullopt}; }
  static CollapseRecoveryAction search() { return {Kind::search, std::nullopt}; }
  static CollapseRecoveryAction noticeMenus() { return {Kind::noticeMenus, std::nullopt}; }
  static CollapseRecoveryAction noticeEjected() { return {Kind::noticeEjected, std::nullopt}; }

  friend bool operator==(const CollapseRecoveryAction&, const CollapseRecoveryAction&) = default;
};

std::string_view rawValue(CollapseRecoveryAction::Kind kind);

struct CollapseRecoveryDecision {
  CollapseRecoveryPhase phase = CollapseRecoveryPhase::observing;
  CollapseRecoveryAction action;

  friend bool operator==(const CollapseRecoveryDecision&, const CollapseRecoveryDecision&) = default;
};

struct NextCollapseRecoveryInput {
  SeparatorLayoutVerdict verdict = SeparatorLayoutVerdict::unknown;
  double length = 0;
  CollapseRecoveryPhase phase = CollapseRecoveryPhase::observing;
  std::optional<double> knownGoodMin;
  bool sessionDidStep = false;
  bool sessionDidSearch = false;
  double lowerBound = collapseSearchLowerBound;
  double step = menuEvictionStep;
};

// One collapse gets at most one step down and one search before the user is told.
CollapseRecoveryDecision nextCollapseRecovery(const NextCollapseRecoveryInput& input);

bool collapseBudgetIsSpent(bool didStep, bool didSearch, bool badUpperBoundKnown);
// The screen's verified minimum when it is shorter than the rejected length, else lowerBound.
double safeCollapseLength(double rejected, std::optional<double> knownGoodMin, double lowerBound);
std::optional<double> usableKnownGoodMin(std::optional<double> knownGoodMin, double current);

struct RecoveryKnownGoodInput {
  std::optional<double> perApp;
  std::optional<double> screenMin;
  bool menuLimited = false;
  double upperBound = 0;
  double margin = 0;
};
// A remembered length close enough to the cliff to recover to without a search.
std::optional<double> recoveryKnownGood(const RecoveryKnownGoodInput& input);

// The bad bound is the shortest length that failed.
std::optional<double> notedBadUpperBound(std::optional<double> existing, double length);

struct LengthAfterBadUpperBoundInput {
  double current = 0;
  std::optional<double> badUpperBound;
  std::optional<double> knownGoodMax;
  double step = menuEvictionStep;
};
// A length below the pair's bad bound: the verified maximum when there is one under it, else a
// step below the bound. Absent when nothing under the bound hides anything.
std::optional<double> lengthAfterBadUpperBound(const LengthAfterBadUpperBoundInput& input);

struct ShouldRetryCollapsedLengthInput {
  double length = 0;
  std::optional<double> badUpperBound;
  std::optional<double> badUpperBoundRecordedAt;  // seconds, same clock as now
  double now = 0;
  double cooldown = collapseRetryCooldown;
};
// A length at or above a failed one waits out the cooldown before it is tried again.
bool shouldRetryCollapsedLength(const ShouldRetryCollapsedLengthInput& input);

// ---- The always-hidden separator while the shelf presentation is shown

struct ShortDividerDistanceInput {
  double foldMaxX = 0;
  double hiddenMaxX = 0;
  double foldWidth = 0;
  double hiddenWidth = 0;
  double shortLimit = shortDividerWidthLimit;
};
// The distance between the two separators, readable only while both are short.
std::optional<double> shortDividerDistance(const ShortDividerDistanceInput& input);

struct ShelfHiddenSeparatorLengthInput {
  double cliffLimit = 0;
  std::optional<double> dividerDistance;
  double safetyMargin = shelfHiddenSafetyMargin;
  double floorLength = 0;
};
double shelfHiddenSeparatorLength(const ShelfHiddenSeparatorLengthInput& input);

struct ShelfRoomGrewInput {
  std::optional<double> cap;
  double room = 0;
  std::optional<double> capRoom;
  double precision = collapseSearchPrecision;
};
bool shelfRoomGrew(const ShelfRoomGrewInput& input);

struct NextShelfHiddenLengthInput {
  std::optional<double> accepted;
  double ejected = 0;
  double floorLength = 0;
  double precision = collapseSearchPrecision;
};
// The next length to try after an ejection; absent when the bisection is done.
std::optional<double> nextShelfHiddenLength(const NextShelfHiddenLengthInput& input);

}  // namespace tarvolo::MenuBarVisibilityPolicy
