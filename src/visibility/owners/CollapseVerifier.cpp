#include "visibility/owners/CollapseVerifier.h"

#include "base/Log.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

namespace {
constexpr double kPinTolerance = Policy::collapsePinTolerance;
// Unreadable verifications of one collapse before it is left as it stands.
constexpr int kVerifyUnreadRetryLimit = 3;
constexpr double kRebaselineDelay = 0.5;
}  // namespace

CollapseVerifier::CollapseVerifier(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      screens_(dependencies.screens),
      lengths_(dependencies.lengths),
      fold_(dependencies.fold),
      shelf_(dependencies.shelf),
      budgets_(dependencies.budgets),
      cliff_(dependencies.cliff),
      recovery_(dependencies.recovery),
      bar_(dependencies.bar),
      host_(dependencies.host),
      collapseVerifyWork_(dependencies.platform.mainQueue()),
      collapseRebaselineWork_(dependencies.platform.mainQueue()) {}

// --- the reference -------------------------------------------------------------------------------------

void CollapseVerifier::captureCollapseReferenceIfShort() {
  if (cliff_.cliffSearchInFlight()) return;
  const double current = items_.separatorLength();
  if (current > Policy::shortDividerWidthLimit) return;
  auto m = items_.measureSeparator(current);
  if (m.failure || !m.usable || m.buttonWidth <= 0 || m.buttonWidth > Policy::shortDividerWidthLimit) return;
  adoptReference(m, current);
}

void CollapseVerifier::adoptReference(const SeparatorMeasurement& measurement, double length) {
  collapseReference_ = SeparatorReference{.arrowFacingEdge = measurement.arrowFacingEdge,
                                          .leadingEdge = measurement.leadingEdge,
                                          .toggleAnchor = measurement.toggleAnchor,
                                          .length = length};
}

void CollapseVerifier::forgetCollapseReference() {
  collapseReference_.reset();
  shelf_.forgetReference();
}

// --- verification --------------------------------------------------------------------------------------

void CollapseVerifier::scheduleCollapsedCliffVerify() {
  mainThread_.check();
  const auto generation = ++collapseVerifyGeneration_;
  collapseVerifyUnreadRetries_ = 0;
  collapseVerifyWork_.schedule(Policy::collapseVerifyDelay,
                               bindWeak(weak(), &CollapseVerifier::verifyCollapseLayout, generation));
}

CollapseVerifier::SeparatorLayoutVerdict CollapseVerifier::collapseVerdict(const SeparatorMeasurement& m,
                                                                           double requestedLength,
                                                                           std::optional<double>& observedGap) const {
  if (m.toggleAnchor) observedGap = *m.toggleAnchor - m.arrowFacingEdge;
  if (m.failure) return SeparatorLayoutVerdict::unread;
  if (collapseReference_) {
    return Policy::classifySeparatorLayout({
        .baselineArrowFacingEdge = collapseReference_->arrowFacingEdge,
        .probedArrowFacingEdge = m.arrowFacingEdge,
        .windowWidth = m.windowWidth,
        .buttonWidth = m.buttonWidth,
        .requestedLength = requestedLength,
        .pinTolerance = kPinTolerance,
        .baselineLeadingEdge = collapseReference_->leadingEdge,
        .probedLeadingEdge = m.leadingEdge,
        .baselineLength = collapseReference_->length,
        .baselineToggleAnchor = collapseReference_->toggleAnchor,
        .probedToggleAnchor = m.toggleAnchor,
    });
  }
  // While a rebaseline is pending the remembered gap may belong to other icons.
  std::optional<double> knownGap;
  if (!collapseRebaselineWork_.isScheduled()) {
    knownGap = lengths_.perAppLengths().knownGoodGap(screens_.collapseScreenKey());
    // The search's own reading also knows a gap of 0 (no always-visible icons), which the
    // verified gaps leave out: in the screen record, or apart when the search stopped at the menus.
    auto record = lengths_.cliffRecordForCurrentScreens();
    if (!knownGap && record && record->gap >= 0) knownGap = record->gap;
    if (!knownGap) knownGap = lengths_.perAppLengths().searchGap(screens_.collapseScreenKey());
  }
  if (knownGap && observedGap) {
    return Policy::collapseGapVerdict({
        .knownGoodGap = *knownGap,
        .observedGap = *observedGap,
        .requestedLength = requestedLength,
        .pinTolerance = kPinTolerance,
        .windowWidth = m.windowWidth,
        .buttonWidth = m.buttonWidth,
    });
  }
  return Policy::verdictWhenGapUnknown(Policy::ShortReference::none, Policy::GapKnowledge::unknown).value_or(SeparatorLayoutVerdict::unknown);
}

void CollapseVerifier::verifyCollapseLayout(unsigned long long generation) {
  if (generation != collapseVerifyGeneration_) return;
  auto applied = bar_.lastAppliedNormalLength;
  if (bar_.presentation != MenuBarPresentation::collapsed || cliff_.cliffSearchInFlight() || !applied) return;
  const double length = *applied;
  auto m = items_.measureSeparator(length);
  std::optional<double> observedGap;
  const auto raw = collapseVerdict(m, length, observedGap);

  auto hidden = items_.alwaysHiddenSeparatorFrame();
  auto screen = screens_.statusItemScreen();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  const double menusRight =
      Policy::menusRightForFold(hidden ? std::optional<double>(hidden->maxX()) : std::nullopt, screenMinX);
  const double leading = fold_.foldLeadingEdge(m);
  const auto verdict = Policy::verdictAccountingForFold(raw, leading, menusRight);
  if (hidden && verdict != SeparatorLayoutVerdict::unread) lastHiddenMaxX_ = hidden->maxX();
  lastCollapseVerdict_ = verdict;
  LogLine line("collapse verify");
  line.add("length", length)
      .add("verdict", rawValue(verdict))
      .add("raw", rawValue(raw))
      .add("edge", m.arrowFacingEdge)
      .add("leading", leading)
      .add("menusRight", menusRight)
      .add("gap", observedGap)
      .add("reference", collapseReference_.has_value())
      .add("source", m.source);
  if (m.sharedHost) line.raw("verdict=shared-host ");
  MenuBarLog::log(line);
  if (fold_.checkFoldPlaceholder(MenuBarPresentation::collapsed, items_.separatorFrame(), hidden) &&
      fold_.foldPlaceholder()->placedBesideFold() == true) {
    // Now known to stand beside the fold: lengthen it, and judge the collapse with it.
    MenuBarLog::log("collapse verify deferred: fold placeholder placed");
    host_.reapplyVisibility();
    return;
  }

  // Laid out left of the toggle, even short of the fold: the own items stand in order.
  const bool layoutHolds = raw == SeparatorLayoutVerdict::laidOut || raw == SeparatorLayoutVerdict::shifted;
  if (layoutHolds && m.separatorLeftOfToggle) host_.noteAlwaysVisibleAnchorReady();

  switch (verdict) {
    case SeparatorLayoutVerdict::unread:
      if (++collapseVerifyUnreadRetries_ <= kVerifyUnreadRetryLimit) {
        collapseVerifyWork_.schedule(Policy::collapseVerifyDelay,
                                     bindWeak(weak(), &CollapseVerifier::verifyCollapseLayout, generation));
        return;
      }
      MenuBarLog::log(LogLine("collapse verify unread").add("attempts", collapseVerifyUnreadRetries_));
      return;
    case SeparatorLayoutVerdict::laidOut:
    case SeparatorLayoutVerdict::shifted:
      acceptVerifiedCollapse(length, verdict == SeparatorLayoutVerdict::laidOut ? observedGap : std::nullopt);
      return;
    case SeparatorLayoutVerdict::untracked:
    case SeparatorLayoutVerdict::unknown:
      host_.publishFoldingEffective();
      return;
    case SeparatorLayoutVerdict::ejected:
    case SeparatorLayoutVerdict::menusEvicted:
    case SeparatorLayoutVerdict::underfold:
      recovery_.nextCollapseRecoveryStep(verdict, length, m);
      return;
  }
}

void CollapseVerifier::acceptVerifiedCollapse(double length, std::optional<double> observedGap) {
  collapseVerifiedAt_ = platform_.clock().now();
  host_.noteAlwaysVisibleAnchorReady();
  // The length just judged is the one in force on the screen as it is now, for the collapse's app.
  const PerAppKey pair = recovery_.currentPair();
  const bool layoutA = observedGap && Policy::recordsVerifiedLayoutA(
                                           SeparatorLayoutVerdict::laidOut,
                                           collapseReference_ ? Policy::ShortReference::fresh : Policy::ShortReference::none);
  if (layoutA) {
    lengths_.recordCollapseLength(length, recovery_.collapseRecoveryTrigger(), CollapseLengthStore::Proof::verified,
                                  observedGap);
    fold_.rememberVerifiedCollapseFoldTail(pair);
    budgets_.noteLaidOut(pair);
  }
  cliff_.noteCollapseVerified(layoutA);
  recovery_.stopCollapseRecovery();
  host_.publishFoldingEffective();
}

// --- rebaseline ----------------------------------------------------------------------------------------

void CollapseVerifier::scheduleCollapseRebaseline() {
  mainThread_.check();
  collapseRebaselineWork_.schedule(kRebaselineDelay, bindWeak(weak(), &CollapseVerifier::rebaseline));
}

void CollapseVerifier::rebaseline() {
  if (bar_.presentation != MenuBarPresentation::collapsed || cliff_.cliffSearchInFlight()) return;
  // The always-visible zone may have changed width: its gap no longer proves anything.
  const ScreenKey screen = screens_.collapseScreenKey();
  if (!lengths_.perAppLengths().knownGoodGap(screen)) return;
  lengths_.forgetGap(screen);
  MenuBarLog::log(LogLine("collapse rebaseline gap forgotten").add("screen", screen.text()));
}

}  // namespace tarvolo
