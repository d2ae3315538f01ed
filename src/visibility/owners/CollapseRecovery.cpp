#include "visibility/owners/CollapseRecovery.h"

#include <algorithm>

#include "base/Log.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::CollapseLengthCache;
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
      cliff_(dependencies.cliff),
      host_(dependencies.host) {}

void CollapseRecovery::beginCollapseRecovery(const std::optional<std::string>& bundleID, bool allowOneStep) {
  collapseRecoveryPhase_ = Phase::observing;
  collapseSessionDidStep_ = !allowOneStep;
  collapseSessionDidSearch_ = false;
  collapseRecoveryTrigger_ = bundleID;
  collapseRecoverySearch_ = false;
}

bool CollapseRecovery::mayStepDown(const std::optional<std::string>& bundleID) const {
  auto budget = collapseBudgets_.find(screens_.collapsePairKey(bundleID));
  return budget == collapseBudgets_.end() || budget->second.stepDowns < Policy::menuEvictionStepLimit;
}

void CollapseRecovery::stopCollapseRecovery() {
  if (collapseRecoveryPhase_ != Phase::observing) {
    MenuBarLog::log(LogLine("collapse recovery done").add("phase", rawValue(collapseRecoveryPhase_)));
  }
  collapseRecoveryPhase_ = Phase::observing;
  collapseRecoverySearch_ = false;
}

// --- budgets -------------------------------------------------------------------------------------------

std::optional<CollapseBudget::BadUpperBound> CollapseRecovery::badUpperBound(const std::string& pairKey) const {
  auto budget = collapseBudgets_.find(pairKey);
  if (budget == collapseBudgets_.end()) return std::nullopt;
  return budget->second.badUpperBound;
}

void CollapseRecovery::tidyBudget(std::map<std::string, CollapseBudget>::iterator budget) {
  if (budget != collapseBudgets_.end() && budget->second.isEmpty()) collapseBudgets_.erase(budget);
}

void CollapseRecovery::noteLaidOut(const std::string& pairKey) {
  auto budget = collapseBudgets_.find(pairKey);
  if (budget == collapseBudgets_.end()) return;
  budget->second.stepDowns = 0;
  tidyBudget(budget);
}

void CollapseRecovery::clearCollapseBudget(const std::string& bundleID) {
  std::erase_if(collapseBudgets_,
                [&bundleID](const auto& entry) { return CollapseLengthCache::bundlePart(entry.first) == bundleID; });
}

void CollapseRecovery::pruneCollapseBudgets(const std::vector<std::string>& keeping) {
  std::erase_if(collapseBudgets_, [&keeping](const auto& entry) {
    auto screen = CollapseLengthCache::screenPart(entry.first);
    return std::find(keeping.begin(), keeping.end(), screen) == keeping.end();
  });
}

void CollapseRecovery::resetCollapseNotices() {
  for (auto& [key, budget] : collapseBudgets_) {
    budget.menusNoticeShown = false;
    budget.ejectedNoticeShown = false;
  }
  std::erase_if(collapseBudgets_, [](const auto& entry) { return entry.second.isEmpty(); });
}

// --- recovering ----------------------------------------------------------------------------------------

void CollapseRecovery::noteRejectedLength(const std::string& pairKey, SeparatorLayoutVerdict verdict,
                                          double length) {
  fold_.revertCollapseFoldTailIfRejected(pairKey, length);
  auto known = badUpperBound(pairKey);
  auto existing = known ? std::optional<double>(known->length) : std::nullopt;
  auto noted = Policy::notedBadUpperBound(existing, length);
  if (noted && (!existing || *noted != *existing)) {
    collapseBudgets_[pairKey].badUpperBound =
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
  const auto bundle = collapseRecoveryTrigger_;
  const std::string screen = screens_.collapseScreenKey();
  const std::string key = screens_.collapsePairKey(bundle);

  if (verdict == SeparatorLayoutVerdict::ejected || verdict == SeparatorLayoutVerdict::menusEvicted) {
    noteRejectedLength(key, verdict, length);
  }
  if (verdict == SeparatorLayoutVerdict::underfold && answerUnderfold(key, length, measurement)) return;

  const auto decision = Policy::nextCollapseRecovery({
      .verdict = verdict,
      .length = length,
      .phase = collapseRecoveryPhase_,
      .knownGoodMin = lengths_.perAppLengths().knownGoodMin(screen),
      .sessionDidStep = collapseSessionDidStep_ || !mayStepDown(bundle),
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
      ++collapseBudgets_[key].stepDowns;
      applyRecoveredLength(key, *decision.action.length, length);
      return;
    case Kind::applyKnownGood:
      if (decision.phase == Phase::searched) collapseSessionDidSearch_ = true;
      applyRecoveredLength(key, *decision.action.length, length);
      return;
    case Kind::hold:
      host_.publishFoldingEffective();
      return;
    case Kind::search:
      collapseSessionDidSearch_ = true;
      collapseRecoverySearch_ = true;
      // The pair's length failed: the search finds a new one, from a floor known to work.
      cliff_.setCollapseSearchFloor(Policy::usableKnownGoodMin(lengths_.perAppLengths().knownGoodMin(screen), length));
      lengths_.forgetLength(screen, bundle.value_or(""));
      if (!cliff_.beginCliffSearch(true) && !cliff_.cliffSearchInFlight() && !cliff_.cliffSearchOwed()) {
        stopEjectedRecovery(key);
      }
      return;
    case Kind::noticeMenus:
      presentMenusNotice(key);
      // The app's menus need the room: its icons stay shown rather than fight them.
      host_.dropToNormalExpandedShelf();
      return;
    case Kind::noticeEjected:
      collapseBudgets_[key].ejectedNoticeShown = true;
      stopEjectedRecovery(key);
      return;
  }
}

void CollapseRecovery::applyRecoveredLength(const std::string& pairKey, double length, double rejected) {
  lengths_.recordLength(CollapseLengthCache::screenPart(pairKey),
                        CollapseLengthCache::bundlePart(pairKey).value_or(""), length);
  MenuBarLog::log(LogLine("collapse recovery apply").add("length", length).add("rejected", rejected));
  host_.reapplyVisibility();
}

void CollapseRecovery::stopEjectedRecovery(const std::string& pairKey) {
  lengths_.forgetLength(CollapseLengthCache::screenPart(pairKey),
                        CollapseLengthCache::bundlePart(pairKey).value_or(""));
  collapseRecoveryPhase_ = Phase::capped;
  host_.stayExpandedBecauseFoldingFailed(StayExpandedReason::ejected, true);
}

void CollapseRecovery::presentMenusNotice(const std::string& pairKey) {
  auto& budget = collapseBudgets_[pairKey];
  if (budget.menusNoticeShown) return;
  budget.menusNoticeShown = true;
  MenuBarLog::log(LogLine("collapse notice").add("kind", kMenusNoticeKind).add("message", kMenusNoticeMessage));
  platform_.userInterface().presentNotice(platform::NoticeRequest{
      .message = host_.localizedText(kMenusNoticeMessage),
      .actionTitle = std::nullopt,
      .kind = kMenusNoticeKind,
  });
}

}  // namespace tarvolo
