#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/NotificationCenter.h"
#include "platform/Platform.h"
#include "visibility/owners/HiddenPlaceholder.h"
#include "visibility/owners/CliffSearch.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseRecovery.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/CollapseVerifier.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/MenuBarGapWatcher.h"
#include "visibility/owners/SeparatorItems.h"
#include "visibility/owners/ShelfHiddenLength.h"

namespace tarvolo {

// The collapse-length engine: builds its owners in the order each needs the others, and runs
// the few procedures that span several of them. It holds no state of its own. Main thread only.
//
//   lengths ← fold ← shelf ← cliff search ← recovery ← verifier ← gap watcher
//
// Each owner reaches only those before it; the search reports to the later ones through
// CliffSearchListener, which this class implements.
class CollapseEngine final : private CliffSearchListener {
 public:
  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& workspaceCenter;
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

  // The length a collapse uses now with `bundleID` frontmost: the remembered one, lengthened
  // by a fold tail, kept below a length that failed, and under the screen's ceiling.
  double collapseLength(const std::optional<std::string>& bundleID) const;
  void beginCollapseRecovery(const std::optional<std::string>& bundleID, bool allowOneStep);
  // An app launched or quit: its budgets and refused tails start over.
  void clearCollapseBudget(const std::string& bundleID);
  // The placeholder's length for the presentation just applied, with the normal separator at
  // `normalSeparatorLength`.
  void applyFoldPlaceholder(MenuBarPresentation presentation, double normalSeparatorLength);
  // The item that continues the always-hidden separator, created left of it.
  void installHiddenPlaceholder(const std::string& hiddenAutosaveName);
  void applyHiddenPlaceholder(MenuBarPresentation presentation, double hiddenSeparatorLength);
  const HiddenPlaceholder* hiddenPlaceholder() const { return hiddenPlaceholder_.get(); }

  const CollapseScreens& screens() const { return screens_; }
  CollapseLengthStore& lengths() { return lengths_; }
  const CollapseLengthStore& lengths() const { return lengths_; }
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

  CollapseScreens screens_;
  CollapseLengthStore lengths_;
  FoldTails fold_;
  ShelfHiddenLength shelf_;
  CliffSearch cliff_;
  CollapseRecovery recovery_;
  CollapseVerifier verifier_;
  MenuBarGapWatcher gaps_;
  std::unique_ptr<HiddenPlaceholder> hiddenPlaceholder_;
};

}  // namespace tarvolo
