// Bringing a rejected collapse back to a working state without looping, the always-hidden
// separator's length in the shelf presentation, and telling the user when nothing works.

#include <algorithm>
#include <cmath>

#include "base/Log.h"
#include "statusbar/FoldPlaceholderController.h"
#include "statusbar/StatusBarController.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::CollapseLengthCache;
using Policy::CollapseRecoveryAction;
using Policy::CollapseRecoveryPhase;
using Policy::SeparatorLayoutVerdict;

namespace {

constexpr double kPinTolerance = Policy::collapsePinTolerance;
constexpr double kShelfFloorLength = Policy::defaultExpandedSeparatorLength;
constexpr const char* kStayExpandedNoticeKind = "collapseStayExpanded";
constexpr const char* kMenusNoticeKind = "collapseMenus";

}  // namespace

void StatusBarController::beginCollapseRecovery(const std::optional<std::string>& bundleID, bool allowOneStep) {
  collapseRecoveryPhase_ = CollapseRecoveryPhase::observing;
  collapseSessionDidStep_ = !allowOneStep;
  collapseSessionDidSearch_ = false;
  collapseRecoveryTrigger_ = bundleID;
  collapseRecoverySearch_ = false;
  collapseVerifyUnreadRetries_ = 0;
}

void StatusBarController::stopCollapseRecovery() {
  if (collapseRecoveryPhase_ != CollapseRecoveryPhase::observing) {
    MenuBarLog::log("collapse recovery done phase=" + std::string(rawValue(collapseRecoveryPhase_)));
  }
  collapseRecoveryPhase_ = CollapseRecoveryPhase::observing;
  collapseRecoverySearch_ = false;
}

void StatusBarController::stopEjectedRecovery(const std::string& key) {
  const auto bundle = CollapseLengthCache::bundlePart(key);
  perAppLengths_.forget(CollapseLengthCache::screenPart(key), bundle.value_or(""));
  persistPerAppLengths();
  collapseRecoveryPhase_ = CollapseRecoveryPhase::capped;
  stayExpandedBecauseFoldingFailed(StayExpandedReason::ejected, true);
}

void StatusBarController::clearCollapseBudget(const std::string& bundleID) {
  auto ofBundle = [&bundleID](const std::string& key) { return CollapseLengthCache::bundlePart(key) == bundleID; };
  std::erase_if(badUpperBoundByApp_, [&](const auto& entry) { return ofBundle(entry.first); });
  std::erase_if(badUpperBoundRecordedAt_, [&](const auto& entry) { return ofBundle(entry.first); });
  std::erase_if(collapseStepDownsByPair_, [&](const auto& entry) { return ofBundle(entry.first); });
  std::erase_if(collapseMenusNoticeKeys_, ofBundle);
  std::erase_if(collapseEjectedNoticeKeys_, ofBundle);
  std::erase_if(collapseFoldTailRejected_, ofBundle);
}

void StatusBarController::pruneCollapseBudgets() {
  auto keeping = connectedScreenKeys();
  auto gone = [&keeping](const std::string& key) {
    auto screen = CollapseLengthCache::screenPart(key);
    return std::find(keeping.begin(), keeping.end(), screen) == keeping.end();
  };
  std::erase_if(badUpperBoundByApp_, [&](const auto& entry) { return gone(entry.first); });
  std::erase_if(badUpperBoundRecordedAt_, [&](const auto& entry) { return gone(entry.first); });
  std::erase_if(collapseStepDownsByPair_, [&](const auto& entry) { return gone(entry.first); });
  std::erase_if(collapseMenusNoticeKeys_, gone);
  std::erase_if(collapseEjectedNoticeKeys_, gone);
}

void StatusBarController::applyRecoveredLength(const std::string& key, double length, double rejected) {
  const auto bundle = CollapseLengthCache::bundlePart(key);
  perAppLengths_.record({.screen = CollapseLengthCache::screenPart(key), .bundleID = bundle.value_or(""),
                         .length = length});
  persistPerAppLengths();
  MenuBarLog::log("collapse recovery apply length=" + numberText(length) + " rejected=" + numberText(rejected));
  applyVisibilityNow();
}

void StatusBarController::nextCollapseRecoveryStep(SeparatorLayoutVerdict verdict, double length,
                                                   const SeparatorMeasurement& measurement) {
  const auto bundle = collapseRecoveryTrigger_;
  const std::string screen = collapseScreenKey();
  const std::string key = collapsePairKey(bundle);
  const bool menuLimited = collapseMenuLimitedKeys_.count(key) > 0;
  const double upperBound = Policy::collapseSearchUpperBound(collapseScreenWidth());
  const bool rejectedBySystem =
      verdict == SeparatorLayoutVerdict::ejected || verdict == SeparatorLayoutVerdict::menusEvicted;

  if (rejectedBySystem) {
    revertCollapseFoldTailIfRejected(key, length);
    auto existing = badUpperBoundByApp_.find(key);
    auto noted = Policy::notedBadUpperBound(
        existing == badUpperBoundByApp_.end() ? std::nullopt : std::optional<double>(existing->second), length);
    if (noted && (existing == badUpperBoundByApp_.end() || *noted != existing->second)) {
      badUpperBoundByApp_[key] = *noted;
      badUpperBoundRecordedAt_[key] = platform_.clock().now();
    }
    // A remembered length the system has just thrown out is no longer the screen's cliff.
    auto record = cliffRecordForCurrentScreens();
    bool dragging = platform_.events().pressedMouseButtons() != 0;
    if (verdict == SeparatorLayoutVerdict::ejected && record && record->length <= length + 0.5 &&
        Policy::shouldInvalidateCachedLength(true, true, dragging)) {
      MenuBarLog::log("cliff forgotten length=" + numberText(record->length) + " screen=" + record->screenKey);
      cliffCache_.reset();
      persistCliffCache();
    }
  }

  if (verdict == SeparatorLayoutVerdict::underfold) {
    auto hidden = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
    auto screenInfo = statusItemScreen();
    const double menusRight = Policy::menusRightForFold(
        hidden ? std::optional<double>(hidden->maxX()) : std::nullopt, screenInfo ? screenInfo->frame.minX() : 0);
    if (tryCollapseFoldTail(key, length, foldLeadingEdge(measurement), menusRight)) return;
    bool search = Policy::underfoldShouldSearch({.length = length,
                                                 .upperBound = upperBound,
                                                 .margin = Policy::collapseLengthSafetyMargin,
                                                 .menuLimited = menuLimited,
                                                 .searchAlreadyRan = collapseSessionDidSearch_});
    if (!search) {
      MenuBarLog::log("collapse underfold hold length=" + numberText(length));
      publishFoldingEffective();
      return;
    }
  }

  auto steps = collapseStepDownsByPair_.find(key);
  const bool stepLimitReached =
      steps != collapseStepDownsByPair_.end() && steps->second >= Policy::menuEvictionStepLimit;
  const auto decision = Policy::nextCollapseRecovery({
      .verdict = verdict,
      .length = length,
      .phase = collapseRecoveryPhase_,
      .knownGoodMin = perAppLengths_.knownGoodMin(screen),
      .sessionDidStep = collapseSessionDidStep_ || stepLimitReached,
      .sessionDidSearch = collapseSessionDidSearch_,
      .lowerBound = Policy::collapseSearchLowerBound,
      .step = Policy::menuEvictionStep,
  });
  MenuBarLog::log("collapse recovery verdict=" + std::string(rawValue(verdict)) + " phase=" +
                  std::string(rawValue(decision.phase)) + " action=" + std::string(rawValue(decision.action.kind)) +
                  " length=" + numberText(length) +
                  (decision.action.length ? " next=" + numberText(*decision.action.length) : std::string()));
  collapseRecoveryPhase_ = decision.phase;
  if (decision.phase == CollapseRecoveryPhase::stepped) collapseSessionDidStep_ = true;

  using Kind = CollapseRecoveryAction::Kind;
  switch (decision.action.kind) {
    case Kind::stepDown:
      ++collapseStepDownsByPair_[key];
      applyRecoveredLength(key, *decision.action.length, length);
      return;
    case Kind::applyKnownGood:
      if (decision.phase == CollapseRecoveryPhase::searched) collapseSessionDidSearch_ = true;
      applyRecoveredLength(key, *decision.action.length, length);
      return;
    case Kind::hold:
      publishFoldingEffective();
      return;
    case Kind::search: {
      collapseSessionDidSearch_ = true;
      collapseRecoverySearch_ = true;
      // The pair's length failed: the search finds a new one, from a floor known to work.
      collapseSearchFloor_ = Policy::usableKnownGoodMin(perAppLengths_.knownGoodMin(screen), length);
      perAppLengths_.forget(screen, bundle.value_or(""));
      persistPerAppLengths();
      if (!beginCliffSearch(true) && !cliffProbeInFlight_ && !cliffSearchOwed_) {
        stopEjectedRecovery(key);
      }
      return;
    }
    case Kind::noticeMenus:
      presentCollapseNotice(kMenusNoticeKind, "collapse_menus_made_room", collapseMenusNoticeKeys_, key);
      // The app's menus need the room: its icons stay shown rather than fight them.
      dropToNormalExpandedShelf();
      return;
    case Kind::noticeEjected:
      collapseEjectedNoticeKeys_.insert(key);
      stopEjectedRecovery(key);
      return;
  }
}

void StatusBarController::presentCollapseNotice(const std::string& kind, const std::string& messageKey,
                                                std::set<std::string>& shownKeys, const std::string& key) {
  if (!shownKeys.insert(key).second) return;
  MenuBarLog::log("collapse notice kind=" + kind + " message=" + messageKey);
  platform_.userInterface().presentNotice(platform::NoticeRequest{
      .message = text(messageKey),
      .actionTitle = std::nullopt,
      .kind = kind,
  });
}

void StatusBarController::stayExpandedBecauseFoldingFailed(StayExpandedReason reason, bool offerAutomaticRepair) {
  MenuBarLog::log("collapse stays expanded reason=" + std::string(rawValue(reason)) +
                  " offerRepair=" + boolText(offerAutomaticRepair));
  isExpanded = true;
  isDeepExpanded = true;
  updateButtonAppearance();
  applyVisibilityNow();

  const double now = platform_.clock().now();
  if (!Policy::shouldRepeatStayExpandedNotice(collapseRefusedNoticeAt_, now,
                                              Policy::collapseStayExpandedNoticeInterval)) {
    return;
  }
  collapseRefusedNoticeAt_ = now;
  const bool order = reason == StayExpandedReason::order;
  platform::NoticeRequest notice{
      .message = text(order ? "folding_ineffective_banner" : "collapse_folding_unavailable"),
      .actionTitle = std::nullopt,
      .kind = kStayExpandedNoticeKind,
  };
  if (order) {
    notice.actionTitle = text("menu_repair_order");
  } else if (offerAutomaticRepair) {
    // Measuring again later may succeed where this attempt could not.
    notice.actionTitle = text("menu_collapse");
    notice.onAction = [weak = weak()] {
      if (auto* self = weak.get()) self->collapseBar(CollapseReason::menu);
    };
  }
  MenuBarLog::log("collapse notice kind=" + std::string(kStayExpandedNoticeKind) +
                  " reason=" + std::string(rawValue(reason)));
  platform_.userInterface().presentNotice(std::move(notice));
}

void StatusBarController::dropToNormalExpandedShelf() {
  MenuBarLog::log("collapse dropped to shelf frontmost=" + frontmostBundleID().value_or("none"));
  isExpanded = true;
  isDeepExpanded = false;
  updateButtonAppearance();
  applyVisibilityNow();
}

// --- the always-hidden separator in the shelf presentation ---------------------------------------------

std::optional<double> StatusBarController::shelfHiddenRoom() const {
  if (!dividerDistance_) return std::nullopt;
  return Policy::shelfHiddenSeparatorLength({.cliffLimit = collapseLength(frontmostBundleID()),
                                             .dividerDistance = dividerDistance_,
                                             .floorLength = kShelfFloorLength});
}

void StatusBarController::noteShelfCapBeforeCollapse() {
  if (platform_.system().osMajorVersion() <= 26 || !shelfHiddenCap_) return;
  auto room = shelfHiddenRoom();
  if (!room) return;
  if (!Policy::shelfRoomGrew({.cap = shelfHiddenCap_, .room = *room, .capRoom = shelfCapRoom_})) return;
  MenuBarLog::log("shelf cap cleared room=" + numberText(*room) + " cap=" + numberText(*shelfHiddenCap_));
  shelfHiddenCap_.reset();
  shelfCapRoom_.reset();
  shelfHiddenAccepted_.reset();
  shelfHiddenEjected_.reset();
  shelfStepDowns_ = 0;
}

void StatusBarController::scheduleShelfHiddenVerify() {
  const auto generation = ++shelfVerifyGeneration_;
  shelfVerifyWork_.schedule(Policy::collapseVerifyDelay, [weak = weak(), generation] {
    if (auto* self = weak.get()) self->verifyShelfHiddenLength(generation);
  });
}

void StatusBarController::verifyShelfHiddenLength(unsigned long long generation) {
  if (generation != shelfVerifyGeneration_ || currentPresentation() != MenuBarPresentation::shelfExpanded) return;
  if (!shelfHiddenReference_ || !lastAppliedHidden_ || !alwaysHiddenSeparatorStatusItem_) return;
  const double length = *lastAppliedHidden_;
  auto button = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
  auto window = alwaysHiddenSeparatorStatusItem_->windowFrame();
  auto fold = separatorStatusItem_->buttonFrameOnScreen();
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
  MenuBarLog::log("shelf hidden verify length=" + numberText(length) + " verdict=" + std::string(rawValue(verdict)));
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

void StatusBarController::stepDownShelfHidden(double ejected) {
  auto next = shelfStepDowns_ < Policy::menuEvictionStepLimit
                  ? Policy::nextShelfHiddenLength({.accepted = shelfHiddenAccepted_,
                                                   .ejected = ejected,
                                                   .floorLength = kShelfFloorLength})
                  : std::nullopt;
  if (!next) {
    shelfHiddenCap_ = shelfHiddenAccepted_.value_or(kShelfFloorLength);
    shelfCapRoom_ = shelfHiddenRoom();
    MenuBarLog::log("shelf hidden settled cap=" + numberText(*shelfHiddenCap_));
    dropToNormalExpandedShelf();
    return;
  }
  ++shelfStepDowns_;
  shelfHiddenCap_ = next;
  shelfCapRoom_ = shelfHiddenRoom();
  MenuBarLog::log("shelf hidden step length=" + numberText(*next) + " ejected=" + numberText(ejected));
  applyVisibilityNow();
}

}  // namespace tarvolo
