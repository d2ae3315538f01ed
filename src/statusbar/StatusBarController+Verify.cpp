// Measuring the separator and judging every collapse a moment after its length was applied.

#include <algorithm>
#include <cmath>

#include "base/Log.h"
#include "statusbar/FoldPlaceholderController.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::CollapseLengthCache;
using Policy::SeparatorLayoutVerdict;

namespace {

constexpr double kPinTolerance = Policy::collapsePinTolerance;
// Unreadable verifications of one collapse before it is left as it stands.
constexpr int kVerifyUnreadRetryLimit = 3;
// A window edge this far past the button's belongs to another item.
constexpr double kSharedHostSlack = 1;
constexpr double kOrderTolerance = 1;
constexpr double kRebaselineDelay = 0.5;

}  // namespace

StatusBarController::SeparatorMeasurement StatusBarController::measureSeparator(double requestedLength) const {
  SeparatorMeasurement m;
  if (!separatorStatusItem_) {
    m.failure = SeparatorReadFailure::noWindow;
    return m;
  }
  auto button = separatorStatusItem_->buttonFrameOnScreen();
  auto window = separatorStatusItem_->windowFrame();
  if (!button && !window) {
    m.failure = SeparatorReadFailure::noWindow;
    return m;
  }
  m.windowWidth = window ? window->width : 0;
  m.buttonWidth = button ? button->width : 0;
  m.sharedHost =
      window && button &&
      (window->minX() < button->minX() - kSharedHostSlack || window->maxX() > button->maxX() + kSharedHostSlack);
  // The button is the separator's own; a window may also hold its neighbours.
  const Rect& believed = button ? *button : *window;
  m.source = button ? "button" : "window";
  m.chosenWidth = believed.width;
  m.arrowFacingEdge = believed.maxX();
  m.leadingEdge = believed.minX();
  if (auto toggle = statusItem_ ? statusItem_->buttonFrameOnScreen() : std::nullopt) {
    m.toggleAnchor = toggle->minX();
    m.orderKnown = true;
    m.separatorLeftOfToggle = believed.maxX() <= toggle->minX() + kOrderTolerance;
  }
  m.usable = Policy::measurementIsFresh(m.windowWidth, m.buttonWidth, requestedLength);
  if (m.sharedHost && !button) MenuBarLog::log("measure separator verdict=shared-host ");
  return m;
}

void StatusBarController::captureCollapseReferenceIfShort() {
  if (cliffProbeInFlight_ || !separatorStatusItem_) return;
  const double current = separatorStatusItem_->length();
  if (current > Policy::shortDividerWidthLimit) return;
  auto m = measureSeparator(current);
  if (m.failure || !m.usable || m.buttonWidth <= 0 || m.buttonWidth > Policy::shortDividerWidthLimit) return;
  collapseReference_ = CollapseReference{.arrowFacingEdge = m.arrowFacingEdge,
                                         .leadingEdge = m.leadingEdge,
                                         .toggleAnchor = m.toggleAnchor,
                                         .length = current};
}

void StatusBarController::captureDividerDistanceIfShort() {
  // Only two short separators give a distance, which rules out a probe's reading.
  if (!separatorStatusItem_ || !alwaysHiddenSeparatorStatusItem_) return;
  auto fold = separatorStatusItem_->buttonFrameOnScreen();
  auto hidden = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
  if (!fold || !hidden) return;
  auto distance = Policy::shortDividerDistance({.foldMaxX = fold->maxX(),
                                                .hiddenMaxX = hidden->maxX(),
                                                .foldWidth = fold->width,
                                                .hiddenWidth = hidden->width});
  if (!distance) return;
  dividerDistance_ = distance;
  shelfHiddenReference_ = CollapseReference{.arrowFacingEdge = hidden->maxX(),
                                            .leadingEdge = hidden->minX(),
                                            .toggleAnchor = fold->minX(),
                                            .length = hidden->width};
}

void StatusBarController::forgetCollapseReference() {
  collapseReference_.reset();
  shelfHiddenReference_.reset();
}

void StatusBarController::scheduleCollapsedCliffVerify() {
  const auto generation = ++collapseVerifyGeneration_;
  collapseVerifyUnreadRetries_ = 0;
  collapseVerifyWork_.schedule(Policy::collapseVerifyDelay, [weak = weak(), generation] {
    if (auto* self = weak.get()) self->verifyCollapseLayout(generation);
  });
}

SeparatorLayoutVerdict StatusBarController::collapseVerdict(const SeparatorMeasurement& m, double requestedLength,
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
    knownGap = perAppLengths_.knownGoodGap(collapseScreenKey());
    // The search's own reading also knows a gap of 0 (no always-visible icons), which the
    // verified gaps leave out.
    auto record = cliffRecordForCurrentScreens();
    if (!knownGap && record && record->gap >= 0) knownGap = record->gap;
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
  return Policy::verdictWhenGapUnknown(false, false).value_or(SeparatorLayoutVerdict::unknown);
}

double StatusBarController::foldLeadingEdge(const SeparatorMeasurement& m) const {
  if (!foldPlaceholder_ || foldPlaceholder_->placedBesideFold() != true) return m.leadingEdge;
  auto placeholder = foldPlaceholder_->frame();
  // The lengthened placeholder continues the separator towards the menus.
  if (!placeholder || placeholder->maxX() > m.leadingEdge + FoldPlaceholderPolicy::adjacencyTolerance) {
    return m.leadingEdge;
  }
  return std::min(m.leadingEdge, placeholder->minX());
}

void StatusBarController::verifyCollapseLayout(unsigned long long generation) {
  if (generation != collapseVerifyGeneration_) return;
  if (currentPresentation() != MenuBarPresentation::collapsed || cliffProbeInFlight_ || !lastAppliedNormal_) return;
  const double length = *lastAppliedNormal_;
  auto m = measureSeparator(length);
  std::optional<double> observedGap;
  const auto raw = collapseVerdict(m, length, observedGap);

  auto hidden = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
  auto screen = statusItemScreen();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  const double menusRight =
      Policy::menusRightForFold(hidden ? std::optional<double>(hidden->maxX()) : std::nullopt, screenMinX);
  const double leading = foldLeadingEdge(m);
  const auto verdict = Policy::verdictAccountingForFold(raw, leading, menusRight);
  if (hidden && verdict != SeparatorLayoutVerdict::unread) lastHiddenMaxX_ = hidden->maxX();
  lastCollapseVerdict_ = verdict;
  MenuBarLog::log("collapse verify length=" + numberText(length) + " verdict=" + std::string(rawValue(verdict)) +
                  " raw=" + std::string(rawValue(raw)) + " edge=" + numberText(m.arrowFacingEdge) +
                  " leading=" + numberText(leading) + " menusRight=" + numberText(menusRight) +
                  " gap=" + (observedGap ? numberText(*observedGap) : std::string("none")) +
                  " reference=" + boolText(collapseReference_.has_value()) + " source=" + m.source +
                  (m.sharedHost ? " verdict=shared-host " : ""));
  if (foldPlaceholder_ &&
      foldPlaceholder_->check(MenuBarPresentation::collapsed, separatorStatusItem_->buttonFrameOnScreen(), hidden) &&
      foldPlaceholder_->placedBesideFold() == true) {
    // Now known to stand beside the fold: lengthen it, and judge the collapse with it.
    MenuBarLog::log("collapse verify deferred: fold placeholder placed");
    applyVisibilityNow();
    return;
  }

  // Laid out left of the toggle, even short of the fold: the own items stand in order.
  const bool layoutHolds = raw == SeparatorLayoutVerdict::laidOut || raw == SeparatorLayoutVerdict::shifted;
  if (layoutHolds && m.separatorLeftOfToggle) alwaysVisibleAnchorReady = true;

  switch (verdict) {
    case SeparatorLayoutVerdict::unread:
      if (++collapseVerifyUnreadRetries_ <= kVerifyUnreadRetryLimit) {
        collapseVerifyWork_.schedule(Policy::collapseVerifyDelay, [weak = weak(), generation] {
          if (auto* self = weak.get()) self->verifyCollapseLayout(generation);
        });
        return;
      }
      MenuBarLog::log("collapse verify unread attempts=" + std::to_string(collapseVerifyUnreadRetries_));
      return;
    case SeparatorLayoutVerdict::laidOut:
    case SeparatorLayoutVerdict::shifted:
      acceptVerifiedCollapse(length, verdict == SeparatorLayoutVerdict::laidOut ? observedGap : std::nullopt);
      return;
    case SeparatorLayoutVerdict::untracked:
    case SeparatorLayoutVerdict::unknown:
      publishFoldingEffective();
      return;
    case SeparatorLayoutVerdict::ejected:
    case SeparatorLayoutVerdict::menusEvicted:
    case SeparatorLayoutVerdict::underfold:
      nextCollapseRecoveryStep(verdict, length, m);
      return;
  }
}

void StatusBarController::acceptVerifiedCollapse(double length, std::optional<double> observedGap) {
  collapseVerifiedAt_ = platform_.clock().now();
  alwaysVisibleAnchorReady = true;
  const auto bundle = collapseRecoveryTrigger_;
  const std::string key = collapsePairKey(bundle);
  const bool layoutA = observedGap && Policy::recordsVerifiedLayoutA(SeparatorLayoutVerdict::laidOut,
                                                                    collapseReference_.has_value());
  if (layoutA) {
    recordCollapseLength(length, bundle, true, observedGap);
    rememberVerifiedCollapseFoldTail(key);
    collapseStepDownsByPair_.erase(key);
  }
  if (cliffAwaitingVerification_) {
    cliffGiveUps_ = Policy::cliffGiveUpsAfterSearch(cliffGiveUps_, layoutA);
    cliffAwaitingVerification_ = false;
  }
  stopCollapseRecovery();
  publishFoldingEffective();
}

void StatusBarController::recordCollapseLength(double length, const std::optional<std::string>& bundleID,
                                               bool knownGood, std::optional<double> pinnedGap) {
  const std::string screen = collapseScreenKey();
  if (!knownGood) {
    // Only a verified length is remembered; this one is judged 0.4 s from now.
    MenuBarLog::log("collapse length pending length=" + numberText(length) +
                    " frontmost=" + bundleID.value_or("none") + " screen=" + screen);
    return;
  }
  perAppLengths_.record({.screen = screen, .bundleID = bundleID.value_or(""), .length = length, .knownGood = true});
  if (pinnedGap) perAppLengths_.recordGap(screen, *pinnedGap);
  MenuBarLog::log("collapse length verified length=" + numberText(length) + " frontmost=" +
                  bundleID.value_or("none") + " gap=" + (pinnedGap ? numberText(*pinnedGap) : std::string("none")));
  persistPerAppLengths();
}

void StatusBarController::scheduleCollapseRebaseline() {
  collapseRebaselineWork_.schedule(kRebaselineDelay, [weak = weak()] {
    auto* self = weak.get();
    if (!self || self->currentPresentation() != MenuBarPresentation::collapsed || self->cliffProbeInFlight_) return;
    // The always-visible zone may have changed width: its gap no longer proves anything.
    const std::string screen = self->collapseScreenKey();
    if (self->perAppLengths_.knownGoodGap(screen)) {
      self->perAppLengths_.forgetGap(screen);
      self->persistPerAppLengths();
      MenuBarLog::log("collapse rebaseline gap forgotten screen=" + screen);
    }
  });
}

}  // namespace tarvolo
