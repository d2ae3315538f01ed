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
  searchUnlessRemembered(PerAppKey(attempt.screenKey, attempt.frontmostBundleID));
}

bool CliffSearch::remembers(const PerAppKey& pair) const {
  const auto& lengths = lengths_.perAppLengths();
  return lengths_.cliffRecordForCurrentScreens() || lengths.length(pair) || lengths.knownGoodMin(pair.screen());
}

bool CliffSearch::collapseLengthUnmeasured() const {
  return !remembers(PerAppKey(screens_.collapseScreenKey(), chooser_.frontmostBundleID()));
}

void CliffSearch::searchUnlessRemembered(const PerAppKey& pair) {
  if (run_.has_value() || bar_.presentation != MenuBarPresentation::collapsed) return;
  if (remembers(pair) && !cliffSearchOwed_) return;
  beginCliffSearch(pendingStart());
}

bool CliffSearch::beginCliffSearch(Start start) {
  mainThread_.check();
  const bool force = start == Start::forced;
  if (force) cliffSearchForced_ = true;
  auto floor = std::exchange(collapseSearchFloor_, std::nullopt);
  if (run_.has_value() || tally_.giveUps >= Policy::cliffGiveUpLimit) return false;
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
  run_ = Run{.search = Policy::CollapseLengthSearch::starting(high, floor),
             .screenKey = screens_.screenConfigKey(),
             .bundleID = chooser_.frontmostBundleID()};
  const auto generation = ++cliffGeneration_;
  ++tally_.searchesStarted;

  items_.setSeparatorTitle("");
  items_.setSeparatorLength(Policy::cliffBaselineLength);
  // A long always-hidden separator would push the app's menus aside while the baseline and the
  // menus' end are read, and would be what the probes' verdicts measure on narrow screens.
  items_.setAlwaysHiddenSeparatorLength(Policy::cliffBaselineLength);
  MenuBarLog::log(LogLine("search begin")
                      .integer("low", run_->search.low)
                      .integer("high", run_->search.high)
                      .integer("readBack", items_.separatorLength())
                      .add("screen", run_->screenKey.text()));
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, bindWeak(weak(), &CliffSearch::readCliffBaseline, generation));
  return true;
}

// --- the baseline --------------------------------------------------------------------------------------

void CliffSearch::readCliffBaseline(unsigned long long generation) {
  if (generation != cliffGeneration_ || !run_) return;
  auto measurement = items_.measureSeparator(Policy::cliffBaselineLength);
  if (measurement.failure) {
    retryCliffBaseline(generation, *measurement.failure);
    return;
  }
  if (!measurement.usable) {
    retryCliffBaseline(generation, unusableReading(measurement));
    return;
  }
  run_->baselineEdge = measurement.arrowFacingEdge;
  run_->baselineLeading = measurement.leadingEdge;
  run_->baselineToggle = measurement.toggleAnchor;
  if (measurement.toggleAnchor) run_->pinnedGap = *measurement.toggleAnchor - measurement.arrowFacingEdge;
  listener_.cliffBaselineRead(measurement);
  MenuBarLog::log(LogLine("search baseline")
                      .add("edge", measurement.arrowFacingEdge)
                      .add("leading", measurement.leadingEdge)
                      .add("toggle", measurement.toggleAnchor)
                      .add("gap", run_->pinnedGap));
  tightenCliffCeiling(measurement.arrowFacingEdge);
  aimAtMenus(measurement.arrowFacingEdge);
  probeCliff(generation);
}

void CliffSearch::retryCliffBaseline(unsigned long long generation, SeparatorReadFailure reason) {
  ++run_->unreadRetries;
  MenuBarLog::log(
      LogLine("search baseline retry").add("reason", rawValue(reason)).add("retry", run_->unreadRetries));
  if (run_->unreadRetries > kCliffBaselineRetryLimit) {
    giveUpCliffSearch(baselineUnreadable(reason), std::nullopt);
    return;
  }
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, bindWeak(weak(), &CliffSearch::readCliffBaseline, generation));
}

void CliffSearch::tightenCliffCeiling(double edge) {
  if (!run_) return;
  auto screen = screens_.statusItemScreen();
  const double width = screens_.collapseScreenWidth();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  const double ceiling = Policy::collapseProbeCeiling(
      {.screenWidth = width, .arrowFacingEdge = edge, .screenMinX = screenMinX, .sizing = screens_.sizing()});
  if (ceiling >= run_->search.high) return;
  run_->search.high = std::max(run_->search.low, ceiling);
  MenuBarLog::log(LogLine("ceiling")
                      .integer("high", run_->search.high)
                      .add("edge", edge)
                      .add("screenMinX", screenMinX)
                      .add("screenW", width));
}

// Before macOS 27 the bracket spans the whole room left of the separator; where the menus' end is
// known, the first two probes land either side of it, close enough that their verdicts settle
// the search. From macOS 27 the system lays out up to its half-screen limit, which the ceiling
// already keeps under: the ceiling goes first and usually settles the search alone.
void CliffSearch::aimAtMenus(double edge) {
  if (!run_) return;
  auto& search = run_->search;
  if (screens_.sizing() != Policy::PublicCollapseSizing::legacy) {
    search.opening = search.high;
    MenuBarLog::log(LogLine("search aim").integer("ceiling", search.high));
    return;
  }
  auto menusRight = platform_.workspace().applicationMenusMaxX();
  if (!menusRight || *menusRight >= edge) return;
  search.menusMeetLength = edge - *menusRight;
  search.aimMargin = search.precision / 2;
  MenuBarLog::log(LogLine("search aim").integer("meet", *search.menusMeetLength).add("menusRight", *menusRight));
}

// --- probing -------------------------------------------------------------------------------------------

void CliffSearch::probeCliff(unsigned long long generation) {
  if (generation != cliffGeneration_ || !run_) return;
  if (run_->search.isFinished()) {
    finishCliffSearch(run_->search.low);
    return;
  }
  if (++run_->probes > Policy::cliffProbeLimit) {
    finishCliffSearch(run_->search.low);
    return;
  }
  ++tally_.probesMade;
  const double probe = *run_->search.nextProbe();
  items_.setSeparatorTitle("");
  items_.setSeparatorLength(probe);
  MenuBarLog::log(LogLine("probe set")
                      .integer("requested", probe)
                      .integer("readBack", items_.separatorLength())
                      .integer("low", run_->search.low)
                      .integer("high", run_->search.high));
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay,
                          bindWeak(weak(), &CliffSearch::readCliffProbe, generation, probe));
}

void CliffSearch::readCliffProbe(unsigned long long generation, double probe) {
  if (generation != cliffGeneration_ || !run_) return;
  auto measurement = items_.measureSeparator(probe);
  if (measurement.failure) {
    retryCliffProbe(generation, probe, *measurement.failure);
    return;
  }
  auto verdict = Policy::classifySeparatorLayout({
      .baselineArrowFacingEdge = run_->baselineEdge.value_or(measurement.arrowFacingEdge),
      .probedArrowFacingEdge = measurement.arrowFacingEdge,
      .windowWidth = measurement.windowWidth,
      .buttonWidth = measurement.buttonWidth,
      .requestedLength = probe,
      .pinTolerance = kPinTolerance,
      .baselineLeadingEdge = run_->baselineLeading,
      .probedLeadingEdge = measurement.leadingEdge,
      .baselineLength = Policy::cliffBaselineLength,
      .baselineToggleAnchor = run_->baselineToggle,
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
  run_->search = run_->search.advancing(verdict, probe);
  if (verdict == SeparatorLayoutVerdict::laidOut || verdict == SeparatorLayoutVerdict::shifted) {
    tightenCliffCeiling(measurement.arrowFacingEdge);
  }
  probeCliff(generation);
}

void CliffSearch::retryCliffProbe(unsigned long long generation, double probe, SeparatorReadFailure reason) {
  ++run_->unreadRetries;
  MenuBarLog::log(LogLine("probe retry")
                      .integer("requested", probe)
                      .add("reason", rawValue(reason))
                      .add("retry", run_->unreadRetries));
  if (run_->unreadRetries > kCliffUnreadRetryLimit) {
    giveUpCliffSearch(probeUnreadable(reason), std::nullopt);
    return;
  }
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay,
                          bindWeak(weak(), &CliffSearch::readCliffProbe, generation, probe));
}

// --- ending --------------------------------------------------------------------------------------------

void CliffSearch::finishCliffSearch(double length) {
  if (!run_) return;
  const Run run = *run_;
  const auto& search = run.search;
  if (!Policy::collapseLengthHidesIcons(length)) {
    giveUpCliffSearch(StayExpandedReason::settledAtFloor, std::nullopt);
    return;
  }
  const double result = std::max(length, Policy::collapseSearchLowerBound);
  const ScreenKey& screenKey = run.screenKey;
  const bool menuLimited = search.isMenuLimited();
  lengths_.settleScreenCliff({.screenKey = screenKey, .length = result, .gap = run.pinnedGap.value_or(-1)},
                             menuLimited);
  if (menuLimited && run.pinnedGap && screens_.sizing() == Policy::PublicCollapseSizing::legacy) {
    lengths_.recordSearchGap(*run.pinnedGap);
  }
  lastEjectionCapped_.reset();
  if (search.hitEjection) lastEjectionCapped_ = std::make_pair(screens_.collapseScreenKey(), result);
  if (run.bundleID) {
    lengths_.settleAppLength({.bundleID = *run.bundleID,
                              .length = result,
                              .menuLimited = menuLimited,
                              .hitEjection = search.hitEjection});
  }
  MenuBarLog::log(LogLine("collapse app")
                      .integer("length", result)
                      .add("frontmost", spellingOf(run.bundleID))
                      .add("menuLimited", menuLimited));
  MenuBarLog::log(LogLine("cliff settled")
                      .integer("length", result)
                      .add("gap", run.pinnedGap.value_or(-1))
                      .add("screen", screenKey.text())
                      .add("corrective", listener_.cliffSearchIsCorrective())
                      .add("probes", run.probes));
  cliffSearchGaveUp_ = false;
  cliffAwaitingVerification_ = true;
  abortCliffSearch();
  host_.reapplyVisibility();
}

void CliffSearch::giveUpCliffSearch(StayExpandedReason reason, std::optional<double> applyLength) {
  ++tally_.giveUps;
  cliffSearchGaveUp_ = true;
  double fallback = applyLength.value_or(chooser_.lengthForFrontmost());
  MenuBarLog::log(LogLine("cliff gave up")
                      .add("reason", rawValue(reason))
                      .add("attempts", run_->probes)
                      .add("giveUps", tally_.giveUps)
                      .integer("fallback", fallback)
                      .raw(fold_.ownFramesSummary()));
  abortCliffSearch();
  host_.reapplyVisibility();
  host_.stayExpandedBecauseFoldingFailed(reason, RepairOffer::collapseAgain);
  scheduleCliffRetryIfNeeded();
}

void CliffSearch::abortCliffSearch() {
  const bool wasSearching = run_.has_value();
  run_.reset();
  cliffStepWork_.cancel();
  ++cliffGeneration_;
  if (wasSearching) items_.setSeparatorTitle("");
}

void CliffSearch::oweSearchAfterInterruption() {
  cliffSearchOwed_ = Policy::cliffSearchOwedAfterInterruption(lengths_.cliffRecordForCurrentScreens().has_value(),
                                                              tally_.giveUps, Policy::cliffGiveUpLimit);
}

void CliffSearch::abortForExpandedBar() {
  if (!run_) return;
  MenuBarLog::log("cliff abort reason=expanded");
  abortCliffSearch();
  oweSearchAfterInterruption();
}

void CliffSearch::abortIfScreensChanged() {
  const ScreenKey screens = screens_.screenConfigKey();
  if (!run_ || run_->screenKey == screens) return;
  MenuBarLog::log(
      LogLine("cliff abort").add("reason", "screens").add("from", run_->screenKey.text()).add("to", screens.text()));
  abortCliffSearch();
  oweSearchAfterInterruption();
}

void CliffSearch::searchAfterScreenChange() {
  cliffDeferWork_.schedule(kScreenChangeSearchDelay, bindWeak(weak(), [](CliffSearch& self) {
                             self.searchUnlessRemembered(PerAppKey(self.screens_.collapseScreenKey(),
                                                                   self.chooser_.frontmostBundleID()));
                           }));
}

void CliffSearch::noteCollapseVerified(bool verifiedLayoutA) {
  if (!cliffAwaitingVerification_) return;
  tally_.giveUps = Policy::cliffGiveUpsAfterSearch(tally_.giveUps, verifiedLayoutA);
  cliffAwaitingVerification_ = false;
}

std::optional<double> CliffSearch::searchedEjectionCap(const ScreenKey& screen) const {
  if (!lastEjectionCapped_ || lastEjectionCapped_->first != screen) return std::nullopt;
  return lastEjectionCapped_->second;
}

// --- retry campaigns -----------------------------------------------------------------------------------

void CliffSearch::scheduleCliffRetryIfNeeded() {
  if (tally_.giveUps < Policy::cliffGiveUpLimit || tally_.campaigns >= Policy::cliffCampaignLimit) return;
  const int campaign = ++tally_.campaigns;
  MenuBarLog::log(LogLine("cliff retry").add("campaign", campaign));
  cliffRetryWork_.schedule(kCliffRetryCampaignDelay, bindWeak(weak(), &CliffSearch::retryCampaign, campaign));
}

void CliffSearch::retryCampaign(int campaign) {
  if (tally_.campaigns != campaign) return;
  if (lengths_.cliffRecordForCurrentScreens() || run_.has_value()) return;
  // Out of order, a collapse would only be withheld again.
  if (items_.ownItemsInOrder() == false) return;
  tally_.giveUps = 0;
  cliffSearchGaveUp_ = false;
  host_.collapseBar(CollapseReason::cliffRetry);
}

}  // namespace tarvolo
