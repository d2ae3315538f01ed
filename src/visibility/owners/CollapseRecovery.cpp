#include "visibility/owners/CollapseRecovery.h"

#include <algorithm>

#include "base/Log.h"
#include "localization/LocalizationManager.h"
#include "platform/windows/UserInterface.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::CollapseRecoveryAction;
using Policy::SeparatorLayoutVerdict;

namespace {
constexpr const char* kMenusNoticeKind = "collapseMenus";
constexpr const char* kMenusNoticeMessage = "collapse_menus_made_room";
}  // namespace

CollapseRecovery::CollapseRecovery(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      screens_(dependencies.screens),
      lengths_(dependencies.lengths),
      fold_(dependencies.fold),
      budgets_(dependencies.budgets),
      cliff_(dependencies.cliff),
      localization_(dependencies.localization),
      host_(dependencies.host) {}

void CollapseRecovery::beginCollapseRecovery(const CollapseAttempt& attempt) {
  const CollapsePair pair{.screen = attempt.screenKey, .bundleID = attempt.frontmostBundleID};
  collapseRecoveryPhase_ = Phase::observing;
  collapseSessionDidStep_ = !budgets_.mayStepDown(pair.key());
  collapseSessionDidSearch_ = false;
  attempt_ = attempt;
  collapseRecoverySearch_ = false;
}

std::optional<std::string> CollapseRecovery::collapseRecoveryTrigger() const {
  return attempt_ ? attempt_->frontmostBundleID : std::nullopt;
}

CollapsePair CollapseRecovery::currentPair() const {
  return {.screen = screens_.collapseScreenKey(), .bundleID = collapseRecoveryTrigger()};
}

void CollapseRecovery::stopCollapseRecovery() {
  if (collapseRecoveryPhase_ != Phase::observing) {
    MenuBarLog::log(LogLine("collapse recovery done").add("phase", rawValue(collapseRecoveryPhase_)));
  }
  collapseRecoveryPhase_ = Phase::observing;
  collapseRecoverySearch_ = false;
}

// --- recovering ----------------------------------------------------------------------------------------

void CollapseRecovery::noteRejectedLength(const std::string& pairKey, SeparatorLayoutVerdict verdict,
                                          double length) {
  fold_.revertCollapseFoldTailIfRejected(pairKey, length);
  auto known = budgets_.badUpperBound(pairKey);
  auto existing = known ? std::optional<double>(known->length) : std::nullopt;
  auto noted = Policy::notedBadUpperBound(existing, length);
  if (noted && (!existing || *noted != *existing)) {
    budgets_[pairKey].badUpperBound =
        CollapseBudget::BadUpperBound{.length = *noted, .recordedAt = platform_.clock().now()};
  }
  // A remembered length the system has just thrown out is no longer the screen's cliff.
  auto record = lengths_.cliffRecordForCurrentScreens();
  const auto drag = platform_.events().pressedMouseButtons() != 0 ? Policy::Drag::inProgress : Policy::Drag::none;
  if (verdict == SeparatorLayoutVerdict::ejected && record && record->length <= length + 0.5 &&
      Policy::shouldInvalidateCachedLength(Policy::ScreenMatch::same, Policy::Ejection::proven, drag)) {
    MenuBarLog::log(LogLine("cliff forgotten").add("length", record->length).add("screen", record->screenKey));
    lengths_.forgetCliffRecord();
  }
}

bool CollapseRecovery::answerUnderfold(const std::string& pairKey, double length,
                                       const SeparatorMeasurement& measurement) {
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  auto screen = screens_.statusItemScreen();
  const double menusRight = Policy::menusRightForFold(hidden ? std::optional<double>(hidden->maxX()) : std::nullopt,
                                                      screen ? screen->frame.minX() : 0);
  if (fold_.tryCollapseFoldTail({.pairKey = pairKey,
                                 .length = length,
                                 .separatorLeading = fold_.foldLeadingEdge(measurement),
                                 .menusRight = menusRight})) {
    return true;
  }
  const double upperBound = screens_.searchUpperBound();
  bool search = Policy::underfoldShouldSearch({.length = length,
                                               .upperBound = upperBound,
                                               .margin = Policy::collapseLengthSafetyMargin,
                                               .menuLimited = lengths_.isMenuLimited(pairKey),
                                               .searchAlreadyRan = collapseSessionDidSearch_});
  if (search) return false;
  MenuBarLog::log(LogLine("collapse underfold hold").add("length", length));
  host_.publishFoldingEffective();
  return true;
}

void CollapseRecovery::nextCollapseRecoveryStep(SeparatorLayoutVerdict verdict, double length,
                                                const SeparatorMeasurement& measurement) {
  const CollapsePair pair = currentPair();
  const std::string& screen = pair.screen;
  const std::string key = pair.key();

  if (verdict == SeparatorLayoutVerdict::ejected || verdict == SeparatorLayoutVerdict::menusEvicted) {
    noteRejectedLength(key, verdict, length);
  }
  if (verdict == SeparatorLayoutVerdict::underfold && answerUnderfold(key, length, measurement)) return;

  const auto decision = Policy::nextCollapseRecovery({
      .verdict = verdict,
      .length = length,
      .phase = collapseRecoveryPhase_,
      .knownGoodMin = lengths_.perAppLengths().knownGoodMin(screen),
      .sessionDidStep = collapseSessionDidStep_ || !budgets_.mayStepDown(key),
      .sessionDidSearch = collapseSessionDidSearch_,
      .lowerBound = Policy::collapseSearchLowerBound,
      .step = Policy::menuEvictionStep,
  });
  LogLine line("collapse recovery");
  line.add("verdict", rawValue(verdict))
      .add("phase", rawValue(decision.phase))
      .add("action", rawValue(decision.action.kind))
      .add("length", length);
  if (decision.action.length) line.add("next", *decision.action.length);
  MenuBarLog::log(line);
  collapseRecoveryPhase_ = decision.phase;
  if (decision.phase == Phase::stepped) collapseSessionDidStep_ = true;

  using Kind = CollapseRecoveryAction::Kind;
  switch (decision.action.kind) {
    case Kind::stepDown:
      ++budgets_[key].stepDowns;
      applyRecoveredLength(pair, *decision.action.length, length);
      return;
    case Kind::applyKnownGood:
      if (decision.phase == Phase::searched) collapseSessionDidSearch_ = true;
      applyRecoveredLength(pair, *decision.action.length, length);
      return;
    case Kind::hold:
      host_.publishFoldingEffective();
      return;
    case Kind::search:
      collapseSessionDidSearch_ = true;
      collapseRecoverySearch_ = true;
      // The pair's length failed: the search finds a new one, from a floor known to work.
      cliff_.setCollapseSearchFloor(Policy::usableKnownGoodMin(lengths_.perAppLengths().knownGoodMin(screen), length));
      lengths_.forgetLength(screen, pair.bundleID.value_or(""));
      if (!cliff_.beginCliffSearch(CliffSearch::Start::forced) && !cliff_.cliffSearchInFlight() &&
          !cliff_.cliffSearchOwed()) {
        stopEjectedRecovery(pair);
      }
      return;
    case Kind::noticeMenus:
      presentMenusNotice(key);
      // The app's menus need the room: its icons stay shown rather than fight them.
      host_.dropToNormalExpandedShelf();
      return;
    case Kind::noticeEjected:
      budgets_[key].ejectedNoticeShown = true;
      stopEjectedRecovery(pair);
      return;
  }
}

void CollapseRecovery::applyRecoveredLength(const CollapsePair& pair, double length, double rejected) {
  lengths_.recordLength(pair.screen, pair.bundleID.value_or(""), length);
  MenuBarLog::log(LogLine("collapse recovery apply").add("length", length).add("rejected", rejected));
  host_.reapplyVisibility();
}

void CollapseRecovery::stopEjectedRecovery(const CollapsePair& pair) {
  lengths_.forgetLength(pair.screen, pair.bundleID.value_or(""));
  collapseRecoveryPhase_ = Phase::capped;
  host_.stayExpandedBecauseFoldingFailed(StayExpandedReason::ejected, RepairOffer::collapseAgain);
}

void CollapseRecovery::presentMenusNotice(const std::string& pairKey) {
  auto& budget = budgets_[pairKey];
  if (budget.menusNoticeShown) return;
  budget.menusNoticeShown = true;
  MenuBarLog::log(LogLine("collapse notice").add("kind", kMenusNoticeKind).add("message", kMenusNoticeMessage));
  platform_.userInterface().presentNotice(platform::NoticeRequest{
      .message = localization_.tr(kMenusNoticeMessage),
      .actionTitle = std::nullopt,
      .kind = kMenusNoticeKind,
  });
}

}  // namespace tarvolo
