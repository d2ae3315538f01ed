#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/NotificationCenter.h"
#include "platform/Platform.h"
#include "visibility/owners/CliffSearch.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseBudgets.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthChooser.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseRecovery.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/CollapseVerifier.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/HiddenPlaceholder.h"
#include "visibility/owners/MenuBarGapWatcher.h"
#include "visibility/owners/SeparatorItems.h"
#include "visibility/owners/ShelfHiddenLength.h"

namespace tarvolo {

class LocalizationManager;

// The collapse-length engine: builds its owners in the order each needs the others, and runs
// the few procedures that span several of them. Its own state is what the state machine told it
// of the bar, and the count of collapse attempts. Main thread only.
//
//   lengths ← budgets ← fold ← chooser ← shelf ← cliff search ← recovery ← verifier ← gap watcher
//
// Each owner reaches only those before it; the search reports to the later ones through
// CliffSearchListener, which this class implements. Requests for the state machine go through
// CollapseHost.
class CollapseEngine final : private CliffSearchListener {
 public:
  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& workspaceCenter;
    const LocalizationManager& localization;
    SeparatorItems& items;
    CollapseHost& host;
  };

  explicit CollapseEngine(Dependencies dependencies);
  CollapseEngine(const CollapseEngine&) = delete;
  CollapseEngine& operator=(const CollapseEngine&) = delete;

  // The caches of the search and the fold tails, as the last run left them.
  void restorePersistedLengths();
  // The screens, the remembered gap and cliff, and the frontmost app, once at launch.
  void logLaunchState();
  void pruneCollapseLengthsToConnectedScreens();
  void screenParametersChanged();

  // --- what the state machine tells the engine
  void notePresentation(MenuBarPresentation presentation) { bar_.presentation = presentation; }
  void noteApplied(std::optional<double> normalLength, std::optional<double> hiddenLength);
  void noteMenuTracking(bool tracking) { bar_.menuTracking = tracking; }
  const PresentedBar& presentedBar() const { return bar_; }

  // --- one collapse
  // The bar is about to collapse for `reason`: makes the attempt (the frontmost app, the screen
  // and the length, read once), resets the notices a collapse the user asked for may show
  // again, traces the attempt and reads the short separators once more.
  CollapseAttempt beginCollapse(CollapseReason reason);
  // The bar collapsed with the own separators: the attempt's length is traced until verified,
  // the recovery starts a session for it, and a search runs unless a length is remembered.
  void collapsed(const CollapseAttempt& attempt);

  // The length a collapse uses now with `bundleID` frontmost.
  double collapseLength(const std::optional<BundleID>& bundleID) const {
    return chooser_.collapseLength(bundleID);
  }
  // An app launched or quit: its budgets and refused tails start over.
  void clearCollapseBudget(const std::optional<BundleID>& bundleID);
  // The placeholder's length for the presentation just applied, with the normal separator at
  // `normalSeparatorLength`.
  void applyFoldPlaceholder(MenuBarPresentation presentation, double normalSeparatorLength);
  // The item that continues the always-hidden separator, created left of it.
  void installHiddenPlaceholder(const std::string& hiddenAutosaveName);
  void applyHiddenPlaceholder(MenuBarPresentation presentation, double hiddenSeparatorLength);
  const HiddenPlaceholder* hiddenPlaceholder() const { return hiddenPlaceholder_.get(); }
  // Attempts made this run.
  unsigned long long collapseAttempts() const { return attemptGeneration_; }

  const CollapseScreens& screens() const { return screens_; }
  const CollapseLengthChooser& chooser() const { return chooser_; }
  CollapseLengthStore& lengths() { return lengths_; }
  const CollapseLengthStore& lengths() const { return lengths_; }
  const CollapseBudgets& budgets() const { return budgets_; }
  FoldTails& fold() { return fold_; }
  const FoldTails& fold() const { return fold_; }
  ShelfHiddenLength& shelf() { return shelf_; }
  const ShelfHiddenLength& shelf() const { return shelf_; }
  CliffSearch& cliff() { return cliff_; }
  const CliffSearch& cliff() const { return cliff_; }
  CollapseRecovery& recovery() { return recovery_; }
  const CollapseRecovery& recovery() const { return recovery_; }
  CollapseVerifier& verifier() { return verifier_; }
  const CollapseVerifier& verifier() const { return verifier_; }
  MenuBarGapWatcher& gaps() { return gaps_; }
  const MenuBarGapWatcher& gaps() const { return gaps_; }

 private:
  // CliffSearchListener
  void cliffSearchBegan() override;
  void cliffBaselineRead(const SeparatorMeasurement& measurement) override;
  bool cliffSearchIsCorrective() const override;

  platform::Platform& platform_;
  SeparatorItems& items_;
  CollapseHost& host_;
  PresentedBar bar_;
  unsigned long long attemptGeneration_ = 0;

  CollapseScreens screens_;
  CollapseLengthStore lengths_;
  CollapseBudgets budgets_;
  FoldTails fold_;
  CollapseLengthChooser chooser_;
  ShelfHiddenLength shelf_;
  CliffSearch cliff_;
  CollapseRecovery recovery_;
  CollapseVerifier verifier_;
  MenuBarGapWatcher gaps_;
  std::unique_ptr<HiddenPlaceholder> hiddenPlaceholder_;
};

}  // namespace tarvolo
