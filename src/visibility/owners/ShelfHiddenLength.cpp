#include "visibility/owners/ShelfHiddenLength.h"

#include <algorithm>

#include "base/Log.h"
#include "visibility/CollapseRecoveryPolicy.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::SeparatorLayoutVerdict;

namespace {
constexpr double kPinTolerance = Policy::collapsePinTolerance;
constexpr double kShelfFloorLength = Policy::defaultExpandedSeparatorLength;
}  // namespace

ShelfHiddenLength::ShelfHiddenLength(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      chooser_(dependencies.chooser),
      bar_(dependencies.bar),
      host_(dependencies.host),
      shelfVerifyWork_(dependencies.platform.mainQueue()) {}

void ShelfHiddenLength::captureDividerDistanceIfShort() {
  // Only two short separators give a distance, which rules out a probe's reading.
  auto fold = items_.separatorFrame();
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  if (!fold || !hidden) return;
  auto distance = Policy::shortDividerDistance({.foldMaxX = fold->maxX(),
                                                .hiddenMaxX = hidden->maxX(),
                                                .foldWidth = fold->width,
                                                .hiddenWidth = hidden->width});
  if (!distance) return;
  dividerDistance_ = distance;
  shelfHiddenReference_ = SeparatorReference{.arrowFacingEdge = hidden->maxX(),
                                             .leadingEdge = hidden->minX(),
                                             .toggleAnchor = fold->minX(),
                                             .length = hidden->width};
}

std::optional<double> ShelfHiddenLength::shelfHiddenRoom(double collapseLength) const {
  if (!dividerDistance_) return std::nullopt;
  return Policy::shelfHiddenSeparatorLength({.cliffLimit = collapseLength,
                                             .dividerDistance = dividerDistance_,
                                             .floorLength = kShelfFloorLength});
}

void ShelfHiddenLength::noteShelfCapBeforeCollapse(const CollapseAttempt& attempt) {
  mainThread_.check();
  if (platform_.system().osMajorVersion() <= 26 || !shelfHiddenCap_) return;
  auto room = shelfHiddenRoom(attempt.length);
  if (!room) return;
  if (!Policy::shelfRoomGrew({.cap = shelfHiddenCap_, .room = *room, .capRoom = shelfCapRoom_})) return;
  MenuBarLog::log(LogLine("shelf cap cleared").add("room", *room).add("cap", *shelfHiddenCap_));
  shelfHiddenCap_.reset();
  shelfCapRoom_.reset();
  shelfHiddenAccepted_.reset();
  shelfHiddenEjected_.reset();
  shelfStepDowns_ = 0;
}

void ShelfHiddenLength::scheduleShelfHiddenVerify() {
  mainThread_.check();
  const auto generation = ++shelfVerifyGeneration_;
  shelfVerifyWork_.schedule(Policy::collapseVerifyDelay,
                            bindWeak(weak(), &ShelfHiddenLength::verifyShelfHiddenLength, generation));
}

void ShelfHiddenLength::verifyShelfHiddenLength(unsigned long long generation) {
  if (generation != shelfVerifyGeneration_ || bar_.presentation != MenuBarPresentation::shelfExpanded) return;
  auto applied = bar_.lastAppliedHiddenLength;
  if (!shelfHiddenReference_ || !applied) return;
  const double length = *applied;
  auto button = items_.alwaysHiddenSeparatorFrame();
  auto window = items_.alwaysHiddenSeparatorWindowFrame();
  auto fold = items_.separatorFrame();
  if (!button) return;
  const auto verdict = Policy::classifySeparatorLayout({
      .baselineArrowFacingEdge = shelfHiddenReference_->arrowFacingEdge,
      .probedArrowFacingEdge = button->maxX(),
      .windowWidth = window ? window->width : 0,
      .buttonWidth = button->width,
      .requestedLength = length,
      .pinTolerance = kPinTolerance,
      .baselineLeadingEdge = shelfHiddenReference_->leadingEdge,
      .probedLeadingEdge = button->minX(),
      .baselineLength = shelfHiddenReference_->length,
      .baselineToggleAnchor = shelfHiddenReference_->toggleAnchor,
      .probedToggleAnchor = fold ? std::optional<double>(fold->minX()) : std::nullopt,
  });
  MenuBarLog::log(LogLine("shelf hidden verify").add("length", length).add("verdict", rawValue(verdict)));
  switch (verdict) {
    case SeparatorLayoutVerdict::laidOut:
    case SeparatorLayoutVerdict::shifted:
    case SeparatorLayoutVerdict::underfold:
      shelfHiddenAccepted_ = std::max(shelfHiddenAccepted_.value_or(0), length);
      return;
    case SeparatorLayoutVerdict::ejected:
    case SeparatorLayoutVerdict::menusEvicted:
      shelfHiddenEjected_ = length;
      stepDownShelfHidden(length);
      return;
    case SeparatorLayoutVerdict::unread:
    case SeparatorLayoutVerdict::untracked:
    case SeparatorLayoutVerdict::unknown:
      return;
  }
}

void ShelfHiddenLength::stepDownShelfHidden(double ejected) {
  auto next = shelfStepDowns_ < Policy::menuEvictionStepLimit
                  ? Policy::nextShelfHiddenLength({.accepted = shelfHiddenAccepted_,
                                                   .ejected = ejected,
                                                   .floorLength = kShelfFloorLength})
                  : std::nullopt;
  if (!next) {
    shelfHiddenCap_ = shelfHiddenAccepted_.value_or(kShelfFloorLength);
    shelfCapRoom_ = shelfHiddenRoom(chooser_.lengthForFrontmost());
    MenuBarLog::log(LogLine("shelf hidden settled").add("cap", *shelfHiddenCap_));
    host_.dropToNormalExpandedShelf();
    return;
  }
  ++shelfStepDowns_;
  shelfHiddenCap_ = next;
  shelfCapRoom_ = shelfHiddenRoom(chooser_.lengthForFrontmost());
  MenuBarLog::log(LogLine("shelf hidden step").add("length", *next).add("ejected", ejected));
  host_.reapplyVisibility();
}

}  // namespace tarvolo
