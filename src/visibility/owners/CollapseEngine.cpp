#include "visibility/owners/CollapseEngine.h"

#include <algorithm>

#include "base/Log.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

namespace {
// The short separator's far edge and the always-hidden separator's right edge may differ by this
// and still stand in order.
constexpr double kOrderTolerance = 1;
}  // namespace

CollapseEngine::CollapseEngine(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      host_(dependencies.host),
      screens_(dependencies.platform.screens(), dependencies.platform.system(), dependencies.items),
      lengths_(dependencies.platform.defaults(), screens_),
      fold_({.platform = platform_, .items = items_, .screens = screens_, .lengths = lengths_, .host = host_}),
      chooser_({.platform = platform_, .screens = screens_, .lengths = lengths_, .fold = fold_, .budgets = budgets_}),
      shelf_({.platform = platform_,
              .items = items_,
              .screens = screens_,
              .chooser = chooser_,
              .bar = bar_,
              .hiddenPlaceholder = hiddenPlaceholder_,
              .host = host_}),
      cliff_({.platform = platform_,
              .items = items_,
              .screens = screens_,
              .lengths = lengths_,
              .fold = fold_,
              .chooser = chooser_,
              .bar = bar_,
              .host = host_,
              .listener = *this}),
      recovery_({.platform = platform_,
                 .items = items_,
                 .screens = screens_,
                 .lengths = lengths_,
                 .fold = fold_,
                 .budgets = budgets_,
                 .cliff = cliff_,
                 .localization = dependencies.localization,
                 .host = host_}),
      verifier_({.platform = platform_,
                 .items = items_,
                 .screens = screens_,
                 .lengths = lengths_,
                 .fold = fold_,
                 .shelf = shelf_,
                 .budgets = budgets_,
                 .cliff = cliff_,
                 .recovery = recovery_,
                 .bar = bar_,
                 .host = host_}),
      gaps_({.platform = platform_,
             .workspaceCenter = dependencies.workspaceCenter,
             .items = items_,
             .screens = screens_,
             .lengths = lengths_,
             .fold = fold_,
             .shelf = shelf_,
             .cliff = cliff_,
             .verifier = verifier_,
             .bar = bar_,
             .host = host_}) {}

// --- start-up and screens ------------------------------------------------------------------------------

void CollapseEngine::restorePersistedLengths() {
  lengths_.restoreCliffCache();
  fold_.restoreFoldTails();
  shelf_.restoreRememberedLengths();
}

void CollapseEngine::logLaunchState() {
  auto screen = screens_.statusItemScreen();
  MenuBarLog::log(LogLine("launch")
                      .add("screen", screens_.screenConfigKey().text())
                      .add("notch", screen ? screen->notchWidth() : 0)
                      .add("screens", platform_.screens().screens().size())
                      .add("os", platform_.system().osMajorVersion()));
  auto gap = lengths_.perAppLengths().knownGoodGap(screens_.collapseScreenKey());
  auto record = lengths_.cliffRecordForCurrentScreens();
  MenuBarLog::log(LogLine("launch gap")
                      .add("knownGood", gap)
                      .add("cliff", record ? std::optional<double>(record->length) : std::nullopt)
                      .add("cliffGap", record ? std::optional<double>(record->gap) : std::nullopt));
  MenuBarLog::log(LogLine("launch").add("frontmost", spellingOf(chooser_.frontmostBundleID())));
}

void CollapseEngine::pruneCollapseLengthsToConnectedScreens() {
  auto keeping = screens_.connectedScreenKeys();
  budgets_.pruneCollapseBudgets(keeping);
  const bool lengthsPruned = lengths_.pruneToScreens(keeping);
  const bool tailsPruned = fold_.pruneToScreens(keeping);
  if (shelf_.pruneToScreens(keeping)) shelf_.persistRememberedLengths();
  if (!lengthsPruned && !tailsPruned) return;
  MenuBarLog::log(LogLine("collapse lengths pruned").add("screens", screens_.screenConfigKey().text()));
  lengths_.persistPerAppLengths();
  fold_.persistFoldTails();
}

void CollapseEngine::screenParametersChanged() {
  pruneCollapseLengthsToConnectedScreens();
  verifier_.forgetCollapseReference();
  shelf_.forgetDividerDistance();
  cliff_.abortIfScreensChanged();
  host_.scheduleApply();
  if (bar_.presentation == MenuBarPresentation::collapsed) cliff_.searchAfterScreenChange();
}

// --- collapsing ----------------------------------------------------------------------------------------

void CollapseEngine::noteApplied(std::optional<double> normalLength, std::optional<double> hiddenLength) {
  bar_.lastAppliedNormalLength = normalLength;
  bar_.lastAppliedHiddenLength = hiddenLength;
}

CollapseAttempt CollapseEngine::beginCollapse(CollapseReason reason) {
  const auto frontmost = chooser_.frontmostBundleID();
  const CollapseAttempt attempt{.reason = reason,
                                .frontmostBundleID = frontmost,
                                .screenKey = screens_.collapseScreenKey(),
                                .length = chooser_.collapseLength(frontmost),
                                .generation = ++attemptGeneration_};
  if (Policy::collapseResetsMenusNotice(reason)) budgets_.resetCollapseNotices();
  verifier_.cancelCollapseRebaseline();
  MenuBarLog::log(LogLine("collapse")
                      .add("reason", rawValue(reason))
                      .add("length", attempt.length)
                      .add("frontmost", spellingOf(attempt.frontmostBundleID))
                      .add("screen", attempt.screenKey.text()));
  verifier_.captureCollapseReferenceIfShort();
  shelf_.captureDividerDistanceIfShort();
  return attempt;
}

void CollapseEngine::collapsed(const CollapseAttempt& attempt) {
  lengths_.recordCollapseLength(attempt.length, attempt.frontmostBundleID, CollapseLengthStore::Proof::pending,
                                std::nullopt);
  recovery_.beginCollapseRecovery(attempt);
  verifier_.resetUnreadRetries();
  cliff_.startCliffSearchIfNeeded(attempt);
}

void CollapseEngine::clearCollapseBudget(const std::optional<BundleID>& bundleID) {
  budgets_.clearCollapseBudget(bundleID);
  fold_.forgetRejectedTails(bundleID);
}

void CollapseEngine::applyFoldPlaceholder(MenuBarPresentation presentation, double normalSeparatorLength) {
  if (!fold_.foldPlaceholder()) return;
  std::optional<double> placeholderLength;
  if (presentation == MenuBarPresentation::collapsed) {
    placeholderLength = fold_.foldPlaceholderCollapsedLength(normalSeparatorLength, verifier_.collapseReference(),
                                                             verifier_.lastHiddenMaxX());
  }
  fold_.applyFoldPlaceholder(presentation, placeholderLength);
}

void CollapseEngine::installHiddenPlaceholder(const std::string& hiddenAutosaveName) {
  hiddenPlaceholder_ = std::make_unique<HiddenPlaceholder>(platform_, hiddenAutosaveName);
  hiddenPlaceholder_->install();
  if (!hiddenPlaceholder_->isInstalled()) hiddenPlaceholder_.reset();
}

void CollapseEngine::applyHiddenPlaceholder(MenuBarPresentation presentation, double hiddenSeparatorLength) {
  if (!hiddenPlaceholder_) return;
  auto edge = shelf_.arrowFacingEdge();
  auto screen = screens_.statusItemScreen();
  double length = 0;
  if (presentation == MenuBarPresentation::shelfExpanded && edge && screen) {
    length = HiddenPlaceholderPolicy::shelfLength({
        .hiddenLeadingEdge = *edge - hiddenSeparatorLength,
        .screenMinX = screen->frame.minX(),
        .menusRight = platform_.workspace().applicationMenusMaxX(),
        .cap = screens_.searchUpperBound(),
    });
  }
  hiddenPlaceholder_->apply(length);
}

// --- what the search reports ---------------------------------------------------------------------------

void CollapseEngine::cliffSearchBegan() { verifier_.cancelCollapsedCliffVerify(); }

void CollapseEngine::cliffBaselineRead(const SeparatorMeasurement& measurement) {
  // The baseline is the freshest short reading there is: later verifications judge against it.
  verifier_.adoptReference(measurement, Policy::cliffBaselineLength);
  shelf_.captureDividerDistanceIfShort();
  // The short separator shows the own items' order even while the other one is long.
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  if (measurement.separatorLeftOfToggle && hidden && hidden->maxX() <= measurement.leadingEdge + kOrderTolerance) {
    host_.noteAlwaysVisibleAnchorReady();
    host_.publishFoldingEffective();
  }
  // With the separator short the placeholder's place can be judged as on an expanded bar.
  fold_.checkFoldPlaceholder(MenuBarPresentation::shelfExpanded, items_.separatorFrame(), hidden);
}

bool CollapseEngine::cliffSearchIsCorrective() const { return recovery_.collapseRecoverySearch(); }

}  // namespace tarvolo
