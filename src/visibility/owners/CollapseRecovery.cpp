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
  collapseRecoveryPhase_ = Phase::observing;
  collapseSessionDidStep_ = !budgets_.mayStepDown(PerAppKey(attempt.screenKey, attempt.frontmostBundleID));
  collapseSessionDidSearch_ = false;
  attempt_ = attempt;
  collapseRecoverySearch_ = false;
}

std::optional<BundleID> CollapseRecovery::collapseRecoveryTrigger() const {
  return attempt_ ? attempt_->frontmostBundleID : std::nullopt;
}

PerAppKey CollapseRecovery::currentPair() const {
  return PerAppKey(screens_.collapseScreenKey(), collapseRecoveryTrigger());
}

void CollapseRecovery::stopCollapseRecovery() {
  if (collapseRecoveryPhase_ != Phase::observing) {
    MenuBarLog::log(LogLine("collapse recovery done").add("phase", rawValue(collapseRecoveryPhase_)));
  }
  collapseRecoveryPhase_ = Phase::observing;
  collapseRecoverySearch_ = false;
}

// --- recovering ----------------------------------------------------------------------------------------

void CollapseRecovery::noteRejectedLength(const PerAppKey& pair, SeparatorLayoutVerdict verdict,
                                          double length) {
  fold_.revertCollapseFoldTailIfRejected(pair, length);
  auto known = budgets_.badUpperBound(pair);
  auto existing = known ? std::optional<double>(known->length) : std::nullopt;
  auto noted = Policy::notedBadUpperBound(existing, length);
  if (noted && (!existing || *noted != *existing)) {
    budgets_[pair].badUpperBound =
        CollapseBudget::BadUpperBound{.length = *noted, .recordedAt = platform_.clock().now()};
  }
  // A remembered length the system has just thrown out is no longer the screen's cliff.
  auto record = lengths_.cliffRecordForCurrentScreens();
  const auto drag = platform_.events().pressedMouseButtons() != 0 ? Policy::Drag::inProgress : Policy::Drag::none;
  if (verdict == SeparatorLayoutVerdict::ejected && record && record->length <= length + 0.5 &&
      Policy::shouldInvalidateCachedLength(Policy::ScreenMatch::same, Policy::Ejection::proven, drag)) {
    MenuBarLog::log(LogLine("cliff forgotten").add("length", record->length).add("screen", record->screenKey.text()));
    lengths_.forgetCliffRecord();
  }
}

bool CollapseRecovery::atEjectionCap(const ScreenKey& screen, double length) {
  // Newer systems bound the search by the status region and have the placeholder from the start.
  if (screens_.sizing() != Policy::PublicCollapseSizing::legacy) return false;
  constexpr double tolerance = 0.5;
  if (auto searched = cliff_.searchedEjectionCap(screen); searched && length + tolerance >= *searched) {
    // The placeholder, if it comes in now, fills the rest once it has been seen beside the fold.
    if (fold_.noteEjectionCap(screen, *searched)) host_.reapplyVisibility();
    return true;
  }
  auto remembered = fold_.ejectionCap(screen);
  return remembered && length + tolerance >= *remembered;
}

bool CollapseRecovery::answerUnderfold(const PerAppKey& pair, double length,
                                       const SeparatorMeasurement& measurement) {
  // Longer is ejected and a new search would only find the same length again.
  if (atEjectionCap(pair.screen(), length)) {
    MenuBarLog::log(LogLine("collapse underfold hold").add("length", length).add("reason", "ejection-cap"));
    host_.publishFoldingEffective();
    return true;
  }
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  auto screen = screens_.statusItemScreen();
  const double menusRight = Policy::menusRightForFold(hidden ? std::optional<double>(hidden->maxX()) : std::nullopt,
                                                      screen ? screen->frame.minX() : 0);
  if (fold_.tryCollapseFoldTail({.pair = pair,
                                 .length = length,
                                 .separatorLeading = fold_.foldLeadingEdge(measurement),
                                 .menusRight = menusRight})) {
    return true;
  }
  const double upperBound = screens_.searchUpperBound();
  bool search = Policy::underfoldShouldSearch({.length = length,
                                               .upperBound = upperBound,
                                               .margin = Policy::collapseLengthSafetyMargin,
                                               .menuLimited = lengths_.isMenuLimited(pair),
                                               .searchAlreadyRan = collapseSessionDidSearch_});
  if (search) return false;
  MenuBarLog::log(LogLine("collapse underfold hold").add("length", length));
  host_.publishFoldingEffective();
  return true;
}

void CollapseRecovery::nextCollapseRecoveryStep(SeparatorLayoutVerdict verdict, double length,
                                                const SeparatorMeasurement& measurement) {
  const PerAppKey pair = currentPair();
  const ScreenKey& screen = pair.screen();

  if (verdict == SeparatorLayoutVerdict::ejected || verdict == SeparatorLayoutVerdict::menusEvicted) {
    noteRejectedLength(pair, verdict, length);
  }
  if (verdict == SeparatorLayoutVerdict::underfold && answerUnderfold(pair, length, measurement)) return;

  const auto decision = Policy::nextCollapseRecovery({
      .verdict = verdict,
      .length = length,
      .phase = collapseRecoveryPhase_,
      .knownGoodMin = lengths_.perAppLengths().knownGoodMin(screen),
      .sessionDidStep = collapseSessionDidStep_ || !budgets_.mayStepDown(pair),
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
      ++budgets_[pair].stepDowns;
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
      lengths_.forgetLength(pair);
      if (!cliff_.beginCliffSearch(CliffSearch::Start::forced) && !cliff_.cliffSearchInFlight() &&
          !cliff_.cliffSearchOwed()) {
        stopEjectedRecovery(pair);
      }
      return;
    case Kind::noticeMenus:
      presentMenusNotice(pair);
      // The app's menus need the room: its icons stay shown rather than fight them.
      host_.dropToNormalExpandedShelf();
      return;
    case Kind::noticeEjected:
      budgets_[pair].ejectedNoticeShown = true;
      stopEjectedRecovery(pair);
      return;
  }
}

void CollapseRecovery::applyRecoveredLength(const PerAppKey& pair, double length, double rejected) {
  lengths_.recordLength(pair, length);
  MenuBarLog::log(LogLine("collapse recovery apply").add("length", length).add("rejected", rejected));
  host_.reapplyVisibility();
}

void CollapseRecovery::stopEjectedRecovery(const PerAppKey& pair) {
  lengths_.forgetLength(pair);
  collapseRecoveryPhase_ = Phase::capped;
  host_.stayExpandedBecauseFoldingFailed(StayExpandedReason::ejected, RepairOffer::collapseAgain);
}

void CollapseRecovery::presentMenusNotice(const PerAppKey& pair) {
  auto& budget = budgets_[pair];
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
