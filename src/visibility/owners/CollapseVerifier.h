#pragma once

#include <optional>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "visibility/CollapseVerdicts.h"
#include "visibility/owners/CliffSearch.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseBudgets.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseRecovery.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/SeparatorItems.h"
#include "visibility/owners/ShelfHiddenLength.h"

namespace tarvolo {

// Judges every collapse a moment after its length was applied: against the reading of the
// separator taken while it was short, or against the gap a verified collapse left on this
// screen. A length that holds is remembered; a rejected one goes to recovery. Main thread only.
class CollapseVerifier {
 public:
  using SeparatorLayoutVerdict = MenuBarVisibilityPolicy::SeparatorLayoutVerdict;

  struct Dependencies {
    platform::Platform& platform;
    const SeparatorItems& items;
    const CollapseScreens& screens;
    CollapseLengthStore& lengths;
    FoldTails& fold;
    ShelfHiddenLength& shelf;
    CollapseBudgets& budgets;
    CliffSearch& cliff;
    CollapseRecovery& recovery;
    const PresentedBar& bar;
    CollapseHost& host;
  };

  explicit CollapseVerifier(Dependencies dependencies);
  CollapseVerifier(const CollapseVerifier&) = delete;
  CollapseVerifier& operator=(const CollapseVerifier&) = delete;

  // --- the reference
  void captureCollapseReferenceIfShort();
  // The search's baseline, read with the separator at `length`, becomes the reference.
  void adoptReference(const SeparatorMeasurement& measurement, double length);
  // Both separators' references: they were read with other icons beside them.
  void forgetCollapseReference();
  const std::optional<SeparatorReference>& collapseReference() const { return collapseReference_; }

  // --- verification
  void scheduleCollapsedCliffVerify();
  void cancelCollapsedCliffVerify() { collapseVerifyWork_.cancel(); }
  void resetUnreadRetries() { collapseVerifyUnreadRetries_ = 0; }
  // After icons came or went: the remembered gap is forgotten unless a collapse starts first.
  void scheduleCollapseRebaseline();
  void cancelCollapseRebaseline() { collapseRebaselineWork_.cancel(); }

  std::optional<SeparatorLayoutVerdict> lastCollapseVerdict() const { return lastCollapseVerdict_; }
  // When the last collapse was judged laid out, in clock seconds.
  std::optional<double> collapseVerifiedAt() const { return collapseVerifiedAt_; }
  // The always-hidden separator's right edge at the last readable verification.
  std::optional<double> lastHiddenMaxX() const { return lastHiddenMaxX_; }

 private:
  void verifyCollapseLayout(unsigned long long generation);
  SeparatorLayoutVerdict collapseVerdict(const SeparatorMeasurement& measurement, double requestedLength,
                                         std::optional<double>& observedGap) const;
  void acceptVerifiedCollapse(double length, std::optional<double> observedGap);
  void rebaseline();
  WeakHandle<CollapseVerifier> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  const SeparatorItems& items_;
  const CollapseScreens& screens_;
  CollapseLengthStore& lengths_;
  FoldTails& fold_;
  ShelfHiddenLength& shelf_;
  CollapseBudgets& budgets_;
  CliffSearch& cliff_;
  CollapseRecovery& recovery_;
  const PresentedBar& bar_;
  CollapseHost& host_;

  MainThreadChecker mainThread_;
  std::optional<SeparatorReference> collapseReference_;
  unsigned long long collapseVerifyGeneration_ = 0;
  int collapseVerifyUnreadRetries_ = 0;
  std::optional<SeparatorLayoutVerdict> lastCollapseVerdict_;
  std::optional<double> collapseVerifiedAt_;
  std::optional<double> lastHiddenMaxX_;
  WorkItem collapseVerifyWork_;
  WorkItem collapseRebaselineWork_;

  WeakHandleFactory<CollapseVerifier> weakFactory_{this};
};

}  // namespace tarvolo
