// The cliff search and the collapse-length cache: which length a collapse uses, how the
// longest length the system still lays out is found, and what is remembered across launches.

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Log.h"
#include "statusbar/FoldPlaceholderController.h"
#include "statusbar/StatusBarController.h"
#include "visibility/FoldPolicy.h"
#include "visibility/ScreenKeys.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using Policy::CollapseLengthCache;
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

std::vector<Rect> frames(const std::vector<platform::ScreenInfo>& screens) {
  std::vector<Rect> out;
  for (const auto& screen : screens) out.push_back(screen.frame);
  return out;
}

std::string integerText(double value) { return numberText(std::floor(value)); }

}  // namespace

// --- keys and screens ------------------------------------------------------------------------------

std::optional<platform::ScreenInfo> StatusBarController::statusItemScreen() const {
  auto screens = platform_.screens().screens();
  if (screens.empty()) return std::nullopt;
  if (auto toggle = statusItem_ ? statusItem_->buttonFrameOnScreen() : std::nullopt) {
    for (const auto& screen : screens) {
      if (screen.frame.containsX(toggle->midX())) return screen;
    }
  }
  // The bar with the status items is the primary screen's.
  return screens.front();
}

std::string StatusBarController::screenConfigKey() const {
  return ::tarvolo::screenConfigKey(frames(platform_.screens().screens()));
}

std::string StatusBarController::collapseScreenKey() const {
  auto screen = statusItemScreen();
  return ::tarvolo::collapseScreenKey(screen ? std::optional<Rect>(screen->frame) : std::nullopt,
                                      frames(platform_.screens().screens()));
}

std::vector<std::string> StatusBarController::connectedScreenKeys() const {
  return ::tarvolo::connectedScreenKeys(frames(platform_.screens().screens()));
}

double StatusBarController::collapseScreenWidth() const {
  auto screen = statusItemScreen();
  return screen ? screen->frame.width : widestScreenWidth();
}

std::optional<CliffRecord> StatusBarController::cliffRecordForCurrentScreens() const {
  if (!cliffCache_ || cliffCache_->screenKey != screenConfigKey()) return std::nullopt;
  return cliffCache_;
}

std::string StatusBarController::collapsePairKey(const std::optional<std::string>& bundleID) const {
  return CollapseLengthCache::key(collapseScreenKey(), bundleID.value_or(""));
}

double StatusBarController::collapseLowerBound() const {
  if (auto record = cliffRecordForCurrentScreens()) return record->length;
  return Policy::collapseUnmeasuredLength(widestScreenWidth());
}

double StatusBarController::collapseLength(const std::optional<std::string>& bundleID) const {
  const std::string screen = collapseScreenKey();
  const std::string bundle = bundleID.value_or("");
  const std::string key = CollapseLengthCache::key(screen, bundle);
  const double width = collapseScreenWidth();
  double length = perAppLengths_.lengthForCollapse(screen, bundle, collapseLowerBound());

  auto tail = collapseFoldTailByPair_.find(key);
  length = Policy::rememberedFoldTail({
      .preferredLength = length,
      .storedTail = tail == collapseFoldTailByPair_.end() ? std::nullopt : std::optional<double>(tail->second),
      .tailRejected = collapseFoldTailRejected_.count(key) > 0,
      .menuLimited = collapseMenuLimitedKeys_.count(key) > 0,
      .screenWidth = width,
  });

  auto bad = badUpperBoundByApp_.find(key);
  if (bad != badUpperBoundByApp_.end()) {
    auto at = badUpperBoundRecordedAt_.find(key);
    bool retry = Policy::shouldRetryCollapsedLength({
        .length = length,
        .badUpperBound = bad->second,
        .badUpperBoundRecordedAt = at == badUpperBoundRecordedAt_.end() ? std::nullopt
                                                                        : std::optional<double>(at->second),
        .now = platform_.clock().now(),
    });
    if (!retry) {
      auto below = Policy::lengthAfterBadUpperBound({
          .current = length,
          .badUpperBound = bad->second,
          .knownGoodMax = perAppLengths_.knownGoodMax(screen, bundle),
      });
      if (below) length = *below;
    }
  }
  return std::min(length, Policy::collapseTailCeiling(width));
}

// --- persistence -------------------------------------------------------------------------------------

void StatusBarController::writeDefaults(const DefaultsWrites& writes) {
  auto& defaults = platform_.defaults();
  for (const auto& [key, value] : writes) {
    if (value) {
      defaults.set(key, *value);
    } else {
      defaults.remove(key);
    }
  }
}

void StatusBarController::restoreCliffCache() {
  auto& defaults = platform_.defaults();
  auto restored = decodeCollapseLengths([&defaults](const std::string& key) { return defaults.object(key); });
  cliffCache_ = restored.cliffRecord;
  perAppLengths_ = std::move(restored.perAppLengths);
  collapseMenuLimitedKeys_ = std::move(restored.menuLimitedKeys);
  collapseFoldTailByPair_ = std::move(restored.foldTailByPair);
  collapseFoldTailBaseByPair_ = std::move(restored.foldTailBaseByPair);
  // Tails that come back from the store covered the fold before.
  for (const auto& [key, tail] : collapseFoldTailByPair_) collapseFoldTailVerified_.insert(key);
}

void StatusBarController::persistCliffCache() { writeDefaults(encodeCliffRecord(cliffCache_)); }

void StatusBarController::persistPerAppLengths() {
  writeDefaults(encodePerAppLengths(perAppLengths_, collapseMenuLimitedKeys_));
}

void StatusBarController::persistFoldTails() {
  writeDefaults(encodeFoldTails(collapseFoldTailByPair_, collapseFoldTailBaseByPair_));
}

void StatusBarController::pruneCollapseLengthsToConnectedScreens() {
  auto keeping = connectedScreenKeys();
  PersistedCollapseLengths state{.cliffRecord = cliffCache_,
                                 .perAppLengths = perAppLengths_,
                                 .menuLimitedKeys = collapseMenuLimitedKeys_,
                                 .foldTailByPair = collapseFoldTailByPair_,
                                 .foldTailBaseByPair = collapseFoldTailBaseByPair_};
  PersistedCollapseLengths pruned = state;
  pruned.prune(keeping);
  pruneCollapseBudgets();
  if (pruned == state) return;
  perAppLengths_ = std::move(pruned.perAppLengths);
  collapseMenuLimitedKeys_ = std::move(pruned.menuLimitedKeys);
  collapseFoldTailByPair_ = std::move(pruned.foldTailByPair);
  collapseFoldTailBaseByPair_ = std::move(pruned.foldTailBaseByPair);
  MenuBarLog::log("collapse lengths pruned screens=" + screenConfigKey());
  persistPerAppLengths();
  persistFoldTails();
}

void StatusBarController::logLaunchState() {
  auto screens = platform_.screens().screens();
  auto screen = statusItemScreen();
  MenuBarLog::log("launch screen=" + screenConfigKey() + " notch=" + numberText(screen ? screen->notchWidth() : 0) +
                  " screens=" + std::to_string(screens.size()) + " os=" +
                  std::to_string(platform_.system().osMajorVersion()));
  auto gap = perAppLengths_.knownGoodGap(collapseScreenKey());
  auto record = cliffRecordForCurrentScreens();
  MenuBarLog::log("launch gap knownGood=" + (gap ? numberText(*gap) : std::string("none")) +
                  " cliff=" + (record ? numberText(record->length) : std::string("none")) +
                  " cliffGap=" + (record ? numberText(record->gap) : std::string("none")));
  MenuBarLog::log("launch frontmost=" + frontmostBundleID().value_or("none"));
}

void StatusBarController::seedPinnedGapIfMissing() {
  const std::string screen = collapseScreenKey();
  if (perAppLengths_.knownGoodGap(screen)) return;
  auto record = cliffRecordForCurrentScreens();
  if (!record || record->gap <= 0) return;
  perAppLengths_.recordGap(screen, record->gap);
  MenuBarLog::log("gap seeded pinned=" + numberText(record->gap) + " screen=" + screen);
  persistPerAppLengths();
}

std::string StatusBarController::ownFramesSummary() const {
  auto describe = [](const char* name, const std::unique_ptr<platform::StatusItem>& item) {
    auto frame = item ? item->buttonFrameOnScreen() : std::nullopt;
    return std::string(name) + "=" + (frame ? numberText(frame->minX()) + ".." + numberText(frame->maxX()) : "unread");
  };
  std::string summary = describe("toggle", statusItem_) + " " + describe("separator", separatorStatusItem_) + " " +
                        describe("hidden", alwaysHiddenSeparatorStatusItem_);
  if (foldPlaceholder_) summary += " " + foldPlaceholder_->frameSummary();
  return summary;
}

// --- the search ----------------------------------------------------------------------------------------

std::optional<std::string> StatusBarController::calibrationBlockedReason() const {
  if (menuTrackingCount_ > 0) return std::string("menu-open");
  if (platform_.events().pressedMouseButtons() != 0) return std::string("mouse-down");
  if (!separatorStatusItem_ || !statusItem_) return std::string("no-items");
  return std::nullopt;
}

void StatusBarController::startCliffSearchIfNeeded() {
  if (cliffProbeInFlight_ || currentPresentation() != MenuBarPresentation::collapsed) return;
  const std::string screen = collapseScreenKey();
  const std::string bundle = frontmostBundleID().value_or("");
  bool remembered = cliffRecordForCurrentScreens() || perAppLengths_.length(screen, bundle) ||
                    perAppLengths_.knownGoodMin(screen);
  if (remembered && !cliffSearchOwed_) return;
  beginCliffSearch(cliffSearchForced_);
}

bool StatusBarController::beginCliffSearch(bool force) {
  mainThread_.check();
  if (force) cliffSearchForced_ = true;
  auto floor = std::exchange(collapseSearchFloor_, std::nullopt);
  if (cliffProbeInFlight_ || cliffGiveUps_ >= Policy::cliffGiveUpLimit) return false;
  if (!force && cliffRecordForCurrentScreens()) return false;
  if (currentPresentation() != MenuBarPresentation::collapsed) {
    cliffSearchOwed_ = Policy::cliffSearchOwedAfterInterruption(cliffRecordForCurrentScreens().has_value(),
                                                                cliffGiveUps_, Policy::cliffGiveUpLimit);
    return false;
  }
  if (auto reason = calibrationBlockedReason()) {
    collapseSearchFloor_ = floor;
    cliffSearchOwed_ = true;
    if (reason != lastCliffDeferral_) {
      MenuBarLog::log("cliff defer reason=" + *reason);
      lastCliffDeferral_ = reason;
    }
    cliffDeferWork_.schedule(kCliffDeferDelay, [weak = weak()] {
      if (auto* self = weak.get()) self->beginCliffSearch(self->cliffSearchForced_);
    });
    return false;
  }
  lastCliffDeferral_.reset();
  cliffSearchOwed_ = false;
  cliffSearchForced_ = false;
  cliffDeferWork_.cancel();
  collapseVerifyWork_.cancel();

  const double high = Policy::collapseSearchUpperBound(collapseScreenWidth());
  cliffSearch_ = Policy::CollapseLengthSearch::starting(high, floor);
  cliffScreenKeyPending_ = screenConfigKey();
  cliffSearchBundle_ = frontmostBundleID();
  cliffBaselineEdge_.reset();
  cliffBaselineLeading_.reset();
  cliffBaselineToggle_.reset();
  cliffPinnedGap_.reset();
  cliffUnreadRetries_ = 0;
  cliffProbeCount_ = 0;
  const auto generation = ++cliffGeneration_;
  cliffProbeInFlight_ = true;
  ++cliffSearchesStarted_;

  separatorStatusItem_->setTitle("");
  separatorStatusItem_->setLength(Policy::cliffBaselineLength);
  MenuBarLog::log("search begin low=" + integerText(cliffSearch_->low) + " high=" + integerText(cliffSearch_->high) +
                  " readBack=" + integerText(separatorStatusItem_->length()) + " screen=" + *cliffScreenKeyPending_);
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, [weak = weak(), generation] {
    if (auto* self = weak.get()) self->readCliffBaseline(generation);
  });
  return true;
}

void StatusBarController::readCliffBaseline(unsigned long long generation) {
  if (generation != cliffGeneration_ || !cliffProbeInFlight_) return;
  auto measurement = measureSeparator(Policy::cliffBaselineLength);
  if (measurement.failure) {
    retryCliffBaseline(generation, *measurement.failure);
    return;
  }
  if (!measurement.usable) {
    retryCliffBaseline(generation, measurement.sharedHost ? SeparatorReadFailure::sharedHost
                                                          : SeparatorReadFailure::unread);
    return;
  }
  cliffBaselineEdge_ = measurement.arrowFacingEdge;
  cliffBaselineLeading_ = measurement.leadingEdge;
  cliffBaselineToggle_ = measurement.toggleAnchor;
  if (measurement.toggleAnchor) cliffPinnedGap_ = *measurement.toggleAnchor - measurement.arrowFacingEdge;
  // The baseline is the freshest short reading there is: later verifications judge against it.
  collapseReference_ = CollapseReference{.arrowFacingEdge = measurement.arrowFacingEdge,
                                         .leadingEdge = measurement.leadingEdge,
                                         .toggleAnchor = measurement.toggleAnchor,
                                         .length = Policy::cliffBaselineLength};
  captureDividerDistanceIfShort();
  // The short separator shows the own items' order even while the other one is long.
  auto hidden = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
  if (measurement.separatorLeftOfToggle && hidden && hidden->maxX() <= measurement.leadingEdge + 1) {
    alwaysVisibleAnchorReady = true;
    publishFoldingEffective();
  }
  if (foldPlaceholder_) {
    // With the separator short the placeholder's place can be judged as on an expanded bar.
    foldPlaceholder_->check(MenuBarPresentation::shelfExpanded, separatorStatusItem_->buttonFrameOnScreen(), hidden);
  }
  MenuBarLog::log("search baseline edge=" + numberText(measurement.arrowFacingEdge) +
                  " leading=" + numberText(measurement.leadingEdge) +
                  " toggle=" + (measurement.toggleAnchor ? numberText(*measurement.toggleAnchor) : "none") +
                  " gap=" + (cliffPinnedGap_ ? numberText(*cliffPinnedGap_) : "none"));
  tightenCliffCeiling(measurement.arrowFacingEdge);
  probeCliff(generation);
}

void StatusBarController::retryCliffBaseline(unsigned long long generation, SeparatorReadFailure reason) {
  ++cliffUnreadRetries_;
  MenuBarLog::log("search baseline retry reason=" + std::string(rawValue(reason)) +
                  " retry=" + std::to_string(cliffUnreadRetries_));
  if (cliffUnreadRetries_ > kCliffBaselineRetryLimit) {
    giveUpCliffSearch(baselineUnreadable(reason), std::nullopt);
    return;
  }
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, [weak = weak(), generation] {
    if (auto* self = weak.get()) self->readCliffBaseline(generation);
  });
}

void StatusBarController::tightenCliffCeiling(double edge) {
  if (!cliffSearch_) return;
  auto screen = statusItemScreen();
  const double width = collapseScreenWidth();
  const double screenMinX = screen ? screen->frame.minX() : 0;
  const double ceiling = Policy::collapseProbeCeiling(width, edge, screenMinX);
  if (ceiling >= cliffSearch_->high) return;
  cliffSearch_->high = std::max(cliffSearch_->low, ceiling);
  MenuBarLog::log("ceiling high=" + integerText(cliffSearch_->high) + " edge=" + numberText(edge) +
                  " screenMinX=" + numberText(screenMinX) + " screenW=" + numberText(width));
}

void StatusBarController::probeCliff(unsigned long long generation) {
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
  separatorStatusItem_->setTitle("");
  separatorStatusItem_->setLength(probe);
  MenuBarLog::log("probe set requested=" + integerText(probe) +
                  " readBack=" + integerText(separatorStatusItem_->length()) +
                  " low=" + integerText(cliffSearch_->low) + " high=" + integerText(cliffSearch_->high));
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, [weak = weak(), generation, probe] {
    if (auto* self = weak.get()) self->readCliffProbe(generation, probe);
  });
}

void StatusBarController::readCliffProbe(unsigned long long generation, double probe) {
  if (generation != cliffGeneration_ || !cliffProbeInFlight_ || !cliffSearch_) return;
  auto measurement = measureSeparator(probe);
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
    retryCliffProbe(generation, probe,
                    measurement.sharedHost ? SeparatorReadFailure::sharedHost : SeparatorReadFailure::unread);
    return;
  }
  MenuBarLog::log("probe read requested=" + integerText(probe) + " verdict=" + std::string(rawValue(verdict)) +
                  " edge=" + numberText(measurement.arrowFacingEdge) +
                  " leading=" + numberText(measurement.leadingEdge) + " source=" + measurement.source);
  cliffSearch_ = cliffSearch_->advancing(verdict, probe);
  if (verdict == SeparatorLayoutVerdict::laidOut || verdict == SeparatorLayoutVerdict::shifted) {
    tightenCliffCeiling(measurement.arrowFacingEdge);
  }
  probeCliff(generation);
}

void StatusBarController::retryCliffProbe(unsigned long long generation, double probe, SeparatorReadFailure reason) {
  ++cliffUnreadRetries_;
  MenuBarLog::log("probe retry requested=" + integerText(probe) + " reason=" + std::string(rawValue(reason)) +
                  " retry=" + std::to_string(cliffUnreadRetries_));
  if (cliffUnreadRetries_ > kCliffUnreadRetryLimit) {
    giveUpCliffSearch(probeUnreadable(reason), std::nullopt);
    return;
  }
  cliffStepWork_.schedule(Policy::cliffProbeSettleDelay, [weak = weak(), generation, probe] {
    if (auto* self = weak.get()) self->readCliffProbe(generation, probe);
  });
}

void StatusBarController::finishCliffSearch(double length) {
  if (!cliffSearch_) return;
  const auto search = *cliffSearch_;
  if (!Policy::collapseLengthHidesIcons(length)) {
    giveUpCliffSearch(StayExpandedReason::settledAtFloor, std::nullopt);
    return;
  }
  const double result = std::max(length, Policy::collapseSearchLowerBound);
  const std::string screenKey = cliffScreenKeyPending_.value_or(screenConfigKey());
  const bool menuLimited = search.isMenuLimited();
  const CliffRecord settled{.screenKey = screenKey, .length = result, .gap = cliffPinnedGap_.value_or(-1)};
  auto record = Policy::screenCliffAfterSearch(cliffCache_, settled, menuLimited);
  if (record != cliffCache_) {
    cliffCache_ = record;
    seedPinnedGapIfMissing();
    persistCliffCache();
  }

  if (cliffSearchBundle_) {
    const std::string key = CollapseLengthCache::key(collapseScreenKey(), *cliffSearchBundle_);
    if (menuLimited) collapseMenuLimitedKeys_.insert(key);
    if (search.hitEjection) collapseMenuLimitedKeys_.erase(key);
    perAppLengths_.record({.screen = collapseScreenKey(), .bundleID = *cliffSearchBundle_, .length = result});
    persistPerAppLengths();
  }
  MenuBarLog::log("collapse app length=" + integerText(result) + " frontmost=" + cliffSearchBundle_.value_or("none") +
                  " menuLimited=" + boolText(menuLimited));
  MenuBarLog::log("cliff settled length=" + integerText(result) + " gap=" + numberText(cliffPinnedGap_.value_or(-1)) +
                  " screen=" + screenKey + " corrective=" + boolText(collapseRecoverySearch_) +
                  " probes=" + std::to_string(cliffProbeCount_));
  cliffSearchGaveUp_ = false;
  cliffAwaitingVerification_ = true;
  abortCliffSearch();
  applyVisibilityNow();
}

void StatusBarController::giveUpCliffSearch(StayExpandedReason reason, std::optional<double> applyLength) {
  ++cliffGiveUps_;
  cliffSearchGaveUp_ = true;
  double fallback = applyLength.value_or(collapseLength(frontmostBundleID()));
  MenuBarLog::log("cliff gave up reason=" + std::string(rawValue(reason)) +
                  " attempts=" + std::to_string(cliffProbeCount_) +
                  " giveUps=" + std::to_string(cliffGiveUps_) + " fallback=" + integerText(fallback) + " " +
                  ownFramesSummary());
  abortCliffSearch();
  applyVisibilityNow();
  stayExpandedBecauseFoldingFailed(reason, true);
  scheduleCliffRetryIfNeeded();
}

void StatusBarController::abortCliffSearch() {
  const bool wasSearching = cliffProbeInFlight_;
  cliffSearch_.reset();
  cliffProbeInFlight_ = false;
  cliffScreenKeyPending_.reset();
  cliffStepWork_.cancel();
  ++cliffGeneration_;
  if (wasSearching && separatorStatusItem_) separatorStatusItem_->setTitle("");
}

void StatusBarController::scheduleCliffRetryIfNeeded() {
  if (cliffGiveUps_ < Policy::cliffGiveUpLimit || cliffCampaigns_ >= Policy::cliffCampaignLimit) return;
  const int campaign = ++cliffCampaigns_;
  MenuBarLog::log("cliff retry campaign=" + std::to_string(campaign));
  cliffRetryWork_.schedule(kCliffRetryCampaignDelay, [weak = weak(), campaign] {
    auto* self = weak.get();
    if (!self || self->cliffCampaigns_ != campaign) return;
    if (self->cliffRecordForCurrentScreens() || self->cliffProbeInFlight_) return;
    if (self->readAlwaysVisibleAnchor() == false) return;
    self->cliffGiveUps_ = 0;
    self->cliffSearchGaveUp_ = false;
    self->collapseBar(CollapseReason::cliffRetry);
  });
}

void StatusBarController::screenParametersChanged() {
  pruneCollapseLengthsToConnectedScreens();
  forgetCollapseReference();
  dividerDistance_.reset();
  if (cliffProbeInFlight_ && cliffScreenKeyPending_ != screenConfigKey()) {
    MenuBarLog::log("cliff abort reason=screens from=" + cliffScreenKeyPending_.value_or("none") +
                    " to=" + screenConfigKey());
    abortCliffSearch();
    cliffSearchOwed_ = Policy::cliffSearchOwedAfterInterruption(cliffRecordForCurrentScreens().has_value(),
                                                                cliffGiveUps_, Policy::cliffGiveUpLimit);
  }
  scheduleApply();
  // A collapsed bar on a new arrangement needs its own cliff; look once the apply has run.
  if (currentPresentation() == MenuBarPresentation::collapsed) {
    cliffDeferWork_.schedule(kScreenChangeSearchDelay, [weak = weak()] {
      if (auto* self = weak.get()) self->startCliffSearchIfNeeded();
    });
  }
}

}  // namespace tarvolo
