#include "visibility/owners/CliffSearch.h"

#include <algorithm>
#include <utility>

#include "base/Log.h"
#include "visibility/CollapseVerdicts.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::SeparatorLayoutVerdict;

namespace {

// Unreadable baselines a search tolerates before giving up.
constexpr int kCliffBaselineRetryLimit = 5;
// Unreadable probe readings a search tolerates in all before giving up: enough for one late
// frame per probe across the widest screens' searches.
constexpr int kCliffUnreadRetryLimit = 12;
constexpr double kCliffDeferDelay = 0.5;
constexpr double kCliffRetryCampaignDelay = 1;
constexpr double kScreenChangeSearchDelay = 0.2;
constexpr double kPinTolerance = Policy::collapsePinTolerance;

SeparatorReadFailure unusableReading(const SeparatorMeasurement& measurement) {
  return measurement.sharedHost ? SeparatorReadFailure::sharedHost : SeparatorReadFailure::unread;
}

}  // namespace

CliffSearch::CliffSearch(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      screens_(dependencies.screens),
      lengths_(dependencies.lengths),
      fold_(dependencies.fold),
      chooser_(dependencies.chooser),
      bar_(dependencies.bar),
      host_(dependencies.host),
      listener_(dependencies.listener),
      cliffStepWork_(dependencies.platform.mainQueue()),
      cliffDeferWork_(dependencies.platform.mainQueue()),
      cliffRetryWork_(dependencies.platform.mainQueue()) {}

// --- starting ------------------------------------------------------------------------------------------

std::optional<std::string> CliffSearch::calibrationBlockedReason() const {
  if (bar_.menuTracking) return std::string("menu-open");
  if (platform_.events().pressedMouseButtons() != 0) return std::string("mouse-down");
  if (!items_.canMeasure()) return std::string("no-items");
  return std::nullopt;
}

void CliffSearch::startCliffSearchIfNeeded(const CollapseAttempt& attempt) {
  searchUnlessRemembered({.screen = attempt.screenKey, .bundleID = attempt.frontmostBundleID});
}

void CliffSearch::searchUnlessRemembered(const CollapsePair& pair) {
  if (cliffProbeInFlight_ || bar_.presentation != MenuBarPresentation::collapsed) return;
  const std::string bundle = pair.bundleID.value_or("");
  const auto& lengths = lengths_.perAppLengths();
  bool remembered = lengths_.cliffRecordForCurrentScreens() || lengths.length(pair.screen, bundle) ||
                    lengths.knownGoodMin(pair.screen);
  if (remembered && !cliffSearchOwed_) return;
  beginCliffSearch(pendingStart());
}

bool CliffSearch::beginCliffSearch(Start start) {
  mainThread_.check();
  const bool force = start == Start::forced;
  if (force) cliffSearchForced_ = true;
  auto floor = std::exchange(collapseSearchFloor_, std::nullopt);
  if (cliffProbeInFlight_ || cliffGiveUps_ >= Policy::cliffGiveUpLimit) return false;
  if (!force && lengths_.cliffRecordForCurrentScreens()) return false;
  if (bar_.presentation != MenuBarPresentation::collapsed) {
    oweSearchAfterInterruption();
    return false;
  }
  if (auto reason = calibrationBlockedReason()) {
    collapseSearchFloor_ = floor;
    cliffSearchOwed_ = true;
    if (reason != lastCliffDeferral_) {
      MenuBarLog::log(LogLine("cliff defer").add("reason", *reason));
      lastCliffDeferral_ = reason;
    }
    // A forced search stays forced across the wait.
    cliffDeferWork_.schedule(kCliffDeferDelay, bindWeak(weak(), [](CliffSearch& self) {
                               self.beginCliffSearch(self.pendingStart());
                             }));
    return false;
  }
  lastCliffDeferral_.reset();
  cliffSearchOwed_ = false;
  cliffSearchForced_ = false;
  cliffDeferWork_.cancel();
  listener_.cliffSearchBegan();

  const double high = screens_.searchUpperBound();
  cliffSearch_ = Policy::CollapseLengthSearch::starting(high, floor);
  cliffScreenKeyPending_ = screens_.screenConfigKey();
  cliffSearchBundle_ = chooser_.frontmostBundleID();
  cliffBaselineEdge_.reset();
  cliffBaselineLeading_.reset();
  cliffBaselineToggle_.reset();
  cliffPinnedGap_.reset();
  cliffUnreadRetries_ = 0;
  cliffProbeCount_ = 0;
  const auto generation = ++cliffGeneration_;
  cliffProbeInFlight_ = true;
  ++cliffSearchesStarted_;

  items_.setSeparatorTitle("");
  items_.setSeparatorLength(Policy::cliffBaselineLength);
  MenuBarLog::log(LogLine("search begin")
                      .integer("low", cliffSearch_->low)
                      .integer("high", cliffSearch_->high)
                      .integer("readBack", items_.separatorLength())
                      .add("screen", *cliffScreenKeyPending_));
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, bindWeak(weak(), &CliffSearch::readCliffBaseline, generation));
  return true;
}

// --- the baseline --------------------------------------------------------------------------------------

void CliffSearch::readCliffBaseline(unsigned long long generation) {
  if (generation != cliffGeneration_ || !cliffProbeInFlight_) return;
  auto measurement = items_.measureSeparator(Policy::cliffBaselineLength);
  if (measurement.failure) {
    retryCliffBaseline(generation, *measurement.failure);
    return;
  }
  if (!measurement.usable) {
    retryCliffBaseline(generation, unusableReading(measurement));
    return;
  }
  cliffBaselineEdge_ = measurement.arrowFacingEdge;
  cliffBaselineLeading_ = measurement.leadingEdge;
  cliffBaselineToggle_ = measurement.toggleAnchor;
  if (measurement.toggleAnchor) cliffPinnedGap_ = *measurement.toggleAnchor - measurement.arrowFacingEdge;
  listener_.cliffBaselineRead(measurement);
  MenuBarLog::log(LogLine("search baseline")
                      .add("edge", measurement.arrowFacingEdge)
                      .add("leading", measurement.leadingEdge)
                      .add("toggle", measurement.toggleAnchor)
                      .add("gap", cliffPinnedGap_));
  tightenCliffCeiling(measurement.arrowFacingEdge);
  aimAtMenus(measurement.arrowFacingEdge);
  probeCliff(generation);
}

void CliffSearch::retryCliffBaseline(unsigned long long generation, SeparatorReadFailure reason) {
  ++cliffUnreadRetries_;
  MenuBarLog::log(
      LogLine("search baseline retry").add("reason", rawValue(reason)).add("retry", cliffUnreadRetries_));
  if (cliffUnreadRetries_ > kCliffBaselineRetryLimit) {
    giveUpCliffSearch(baselineUnreadable(reason), std::nullopt);
    return;
  }
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, bindWeak(weak(), &CliffSearch::readCliffBaseline, generation));
}

void CliffSearch::tightenCliffCeiling(double edge) {
  if (!cliffSearch_) return;
  auto screen = screens_.statusItemScreen();
  const double width = screens_.collapseScreenWidth();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  const double ceiling = Policy::collapseProbeCeiling(
      {.screenWidth = width, .arrowFacingEdge = edge, .screenMinX = screenMinX, .sizing = screens_.sizing()});
  if (ceiling >= cliffSearch_->high) return;
  cliffSearch_->high = std::max(cliffSearch_->low, ceiling);
  MenuBarLog::log(LogLine("ceiling")
                      .integer("high", cliffSearch_->high)
                      .add("edge", edge)
                      .add("screenMinX", screenMinX)
                      .add("screenW", width));
}

// Before macOS 27 the bracket spans the whole room left of the separator; where the menus' end is
// known, the first probes aim at it so the wide bracket costs no extra probes.
void CliffSearch::aimAtMenus(double edge) {
  if (!cliffSearch_ || screens_.sizing() != Policy::PublicCollapseSizing::legacy) return;
  auto menusRight = platform_.workspace().applicationMenusMaxX();
  if (!menusRight || *menusRight >= edge) return;
  cliffSearch_->menusMeetLength = edge - *menusRight;
  MenuBarLog::log(LogLine("search aim").integer("meet", *cliffSearch_->menusMeetLength).add("menusRight", *menusRight));
}

// --- probing -------------------------------------------------------------------------------------------

void CliffSearch::probeCliff(unsigned long long generation) {
  if (generation != cliffGeneration_ || !cliffProbeInFlight_ || !cliffSearch_) return;
  if (cliffSearch_->isFinished()) {
    finishCliffSearch(cliffSearch_->low);
    return;
  }
  if (++cliffProbeCount_ > Policy::cliffProbeLimit) {
    finishCliffSearch(cliffSearch_->low);
    return;
  }
  ++cliffProbesMade_;
  const double probe = *cliffSearch_->nextProbe();
  items_.setSeparatorTitle("");
  items_.setSeparatorLength(probe);
  MenuBarLog::log(LogLine("probe set")
                      .integer("requested", probe)
                      .integer("readBack", items_.separatorLength())
                      .integer("low", cliffSearch_->low)
                      .integer("high", cliffSearch_->high));
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay,
                          bindWeak(weak(), &CliffSearch::readCliffProbe, generation, probe));
}

void CliffSearch::readCliffProbe(unsigned long long generation, double probe) {
  if (generation != cliffGeneration_ || !cliffProbeInFlight_ || !cliffSearch_) return;
  auto measurement = items_.measureSeparator(probe);
  if (measurement.failure) {
    retryCliffProbe(generation, probe, *measurement.failure);
    return;
  }
  auto verdict = Policy::classifySeparatorLayout({
      .baselineArrowFacingEdge = cliffBaselineEdge_.value_or(measurement.arrowFacingEdge),
      .probedArrowFacingEdge = measurement.arrowFacingEdge,
      .windowWidth = measurement.windowWidth,
      .buttonWidth = measurement.buttonWidth,
      .requestedLength = probe,
      .pinTolerance = kPinTolerance,
      .baselineLeadingEdge = cliffBaselineLeading_,
      .probedLeadingEdge = measurement.leadingEdge,
      .baselineLength = Policy::cliffBaselineLength,
      .baselineToggleAnchor = cliffBaselineToggle_,
      .probedToggleAnchor = measurement.toggleAnchor,
  });
  if (verdict == SeparatorLayoutVerdict::unread) {
    retryCliffProbe(generation, probe, unusableReading(measurement));
    return;
  }
  MenuBarLog::log(LogLine("probe read")
                      .integer("requested", probe)
                      .add("verdict", rawValue(verdict))
                      .add("edge", measurement.arrowFacingEdge)
                      .add("leading", measurement.leadingEdge)
                      .add("source", measurement.source));
  cliffSearch_ = cliffSearch_->advancing(verdict, probe);
  if (verdict == SeparatorLayoutVerdict::laidOut || verdict == SeparatorLayoutVerdict::shifted) {
    tightenCliffCeiling(measurement.arrowFacingEdge);
  }
  probeCliff(generation);
}

void CliffSearch::retryCliffProbe(unsigned long long generation, double probe, SeparatorReadFailure reason) {
  ++cliffUnreadRetries_;
  MenuBarLog::log(LogLine("probe retry")
                      .integer("requested", probe)
                      .add("reason", rawValue(reason))
                      .add("retry", cliffUnreadRetries_));
  if (cliffUnreadRetries_ > kCliffUnreadRetryLimit) {
    giveUpCliffSearch(probeUnreadable(reason), std::nullopt);
    return;
  }
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay,
                          bindWeak(weak(), &CliffSearch::readCliffProbe, generation, probe));
}

// --- ending --------------------------------------------------------------------------------------------

void CliffSearch::finishCliffSearch(double length) {
  if (!cliffSearch_) return;
  const auto search = *cliffSearch_;
  if (!Policy::collapseLengthHidesIcons(length)) {
    giveUpCliffSearch(StayExpandedReason::settledAtFloor, std::nullopt);
    return;
  }
  const double result = std::max(length, Policy::collapseSearchLowerBound);
  const std::string screenKey = cliffScreenKeyPending_.value_or(screens_.screenConfigKey());
  const bool menuLimited = search.isMenuLimited();
  lengths_.settleScreenCliff({.screenKey = screenKey, .length = result, .gap = cliffPinnedGap_.value_or(-1)},
                             menuLimited);
  if (menuLimited && cliffPinnedGap_ && screens_.sizing() == Policy::PublicCollapseSizing::legacy) {
    lengths_.recordSearchGap(*cliffPinnedGap_);
  }
  if (cliffSearchBundle_) {
    lengths_.settleAppLength({.bundleID = *cliffSearchBundle_,
                              .length = result,
                              .menuLimited = menuLimited,
                              .hitEjection = search.hitEjection});
  }
  MenuBarLog::log(LogLine("collapse app")
                      .integer("length", result)
                      .add("frontmost", cliffSearchBundle_)
                      .add("menuLimited", menuLimited));
  MenuBarLog::log(LogLine("cliff settled")
                      .integer("length", result)
                      .add("gap", cliffPinnedGap_.value_or(-1))
                      .add("screen", screenKey)
                      .add("corrective", listener_.cliffSearchIsCorrective())
                      .add("probes", cliffProbeCount_));
  cliffSearchGaveUp_ = false;
  cliffAwaitingVerification_ = true;
  abortCliffSearch();
  host_.reapplyVisibility();
}

void CliffSearch::giveUpCliffSearch(StayExpandedReason reason, std::optional<double> applyLength) {
  ++cliffGiveUps_;
  cliffSearchGaveUp_ = true;
  double fallback = applyLength.value_or(chooser_.lengthForFrontmost());
  MenuBarLog::log(LogLine("cliff gave up")
                      .add("reason", rawValue(reason))
                      .add("attempts", cliffProbeCount_)
                      .add("giveUps", cliffGiveUps_)
                      .integer("fallback", fallback)
                      .raw(fold_.ownFramesSummary()));
  abortCliffSearch();
  host_.reapplyVisibility();
  host_.stayExpandedBecauseFoldingFailed(reason, RepairOffer::collapseAgain);
  scheduleCliffRetryIfNeeded();
}

void CliffSearch::abortCliffSearch() {
  const bool wasSearching = cliffProbeInFlight_;
  cliffSearch_.reset();
  cliffProbeInFlight_ = false;
  cliffScreenKeyPending_.reset();
  cliffStepWork_.cancel();
  ++cliffGeneration_;
  if (wasSearching) items_.setSeparatorTitle("");
}

void CliffSearch::oweSearchAfterInterruption() {
  cliffSearchOwed_ = Policy::cliffSearchOwedAfterInterruption(lengths_.cliffRecordForCurrentScreens().has_value(),
                                                              cliffGiveUps_, Policy::cliffGiveUpLimit);
}

void CliffSearch::abortForExpandedBar() {
  if (!cliffProbeInFlight_) return;
  MenuBarLog::log("cliff abort reason=expanded");
  abortCliffSearch();
  oweSearchAfterInterruption();
}

void CliffSearch::abortIfScreensChanged() {
  const std::string screens = screens_.screenConfigKey();
  if (!cliffProbeInFlight_ || cliffScreenKeyPending_ == screens) return;
  MenuBarLog::log(
      LogLine("cliff abort").add("reason", "screens").add("from", cliffScreenKeyPending_).add("to", screens));
  abortCliffSearch();
  oweSearchAfterInterruption();
}

void CliffSearch::searchAfterScreenChange() {
  cliffDeferWork_.schedule(kScreenChangeSearchDelay, bindWeak(weak(), [](CliffSearch& self) {
                             self.searchUnlessRemembered(
                                 {.screen = self.screens_.collapseScreenKey(), .bundleID = self.chooser_.frontmostBundleID()});
                           }));
}

void CliffSearch::noteCollapseVerified(bool verifiedLayoutA) {
  if (!cliffAwaitingVerification_) return;
  cliffGiveUps_ = Policy::cliffGiveUpsAfterSearch(cliffGiveUps_, verifiedLayoutA);
  cliffAwaitingVerification_ = false;
}

// --- retry campaigns -----------------------------------------------------------------------------------

void CliffSearch::scheduleCliffRetryIfNeeded() {
  if (cliffGiveUps_ < Policy::cliffGiveUpLimit || cliffCampaigns_ >= Policy::cliffCampaignLimit) return;
  const int campaign = ++cliffCampaigns_;
  MenuBarLog::log(LogLine("cliff retry").add("campaign", campaign));
  cliffRetryWork_.schedule(kCliffRetryCampaignDelay, bindWeak(weak(), &CliffSearch::retryCampaign, campaign));
}

void CliffSearch::retryCampaign(int campaign) {
  if (cliffCampaigns_ != campaign) return;
  if (lengths_.cliffRecordForCurrentScreens() || cliffProbeInFlight_) return;
  // Out of order, a collapse would only be withheld again.
  if (items_.ownItemsInOrder() == false) return;
  cliffGiveUps_ = 0;
  cliffSearchGaveUp_ = false;
  host_.collapseBar(CollapseReason::cliffRetry);
}

}  // namespace tarvolo
