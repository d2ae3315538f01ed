#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "visibility/CollapseRecoveryPolicy.h"
#include "visibility/owners/CliffSearch.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseBudgets.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

class LocalizationManager;

// Brings a collapse the system rejected back to a working length without looping: one step
// down or one search per collapse, a length known to be good, and a notice when nothing works.
// Main thread only.
class CollapseRecovery {
 public:
  using Phase = MenuBarVisibilityPolicy::CollapseRecoveryPhase;

  struct Dependencies {
    platform::Platform& platform;
    const SeparatorItems& items;
    const CollapseScreens& screens;
    CollapseLengthStore& lengths;
    FoldTails& fold;
    CollapseBudgets& budgets;
    CliffSearch& cliff;
    const LocalizationManager& localization;
    CollapseHost& host;
  };

  explicit CollapseRecovery(Dependencies dependencies);
  CollapseRecovery(const CollapseRecovery&) = delete;
  CollapseRecovery& operator=(const CollapseRecovery&) = delete;

  // A new collapse gets a fresh session of one search and, while its pair of screen and app has
  // step downs left, one step down.
  void beginCollapseRecovery(const CollapseAttempt& attempt);
  // The verification judged the collapse rejected (ejected, into the menus, or short of the fold).
  void nextCollapseRecoveryStep(MenuBarVisibilityPolicy::SeparatorLayoutVerdict verdict, double length,
                                const SeparatorMeasurement& measurement);
  void stopCollapseRecovery();

  // The collapse being recovered: the last one made with the own separators.
  const std::optional<CollapseAttempt>& attempt() const { return attempt_; }
  // The app that collapse was made for; none before the first one.
  std::optional<BundleID> collapseRecoveryTrigger() const;
  // The pair a verification or a recovery step files under now: the screen holding the own items
  // as it is now, and the app of the collapse.
  PerAppKey currentPair() const;
  bool collapseRecoverySearch() const { return collapseRecoverySearch_; }
  Phase collapseRecoveryPhase() const { return collapseRecoveryPhase_; }

 private:
  void noteRejectedLength(const PerAppKey& pair, MenuBarVisibilityPolicy::SeparatorLayoutVerdict verdict,
                          double length);
  // True when the underfold was answered by a tail or held; false when it should search.
  bool answerUnderfold(const PerAppKey& pair, double length, const SeparatorMeasurement& measurement);
  // Whether `length` is as long as the system lets the separator get on this screen.
  bool atEjectionCap(const ScreenKey& screen, double length);
  void applyRecoveredLength(const PerAppKey& pair, double length, double rejected);
  void stopEjectedRecovery(const PerAppKey& pair);
  void presentMenusNotice(const PerAppKey& pair);

  platform::Platform& platform_;
  const SeparatorItems& items_;
  const CollapseScreens& screens_;
  CollapseLengthStore& lengths_;
  FoldTails& fold_;
  CollapseBudgets& budgets_;
  CliffSearch& cliff_;
  const LocalizationManager& localization_;
  CollapseHost& host_;

  Phase collapseRecoveryPhase_ = Phase::observing;
  bool collapseSessionDidStep_ = false;
  bool collapseSessionDidSearch_ = false;
  std::optional<CollapseAttempt> attempt_;
  bool collapseRecoverySearch_ = false;
};

}  // namespace tarvolo
